"""Prints a document of the project as Doxygen has to read it, for its API pages.

Doxygen gives headings no names that links could use, and names of headings hold for all pages at
once: each gets its name with the document's in front. Links to what becomes no page, folders above
all, become plain text. The text of a link has to stand in one line.
"""

import itertools
import re
import sys
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
HEADING = re.compile(r"^##+ (.*)$", re.MULTILINE)
LINK = re.compile(r"(?<!!)\[([^]`]*)\]\(([^) ]*)\)")


def anchor(heading):
    """What a link to that heading says behind the #."""
    words = re.sub(r"[^\w\- ]", "", heading.lower())
    return words.strip().replace(" ", "-")


def lines_of(document):
    """The lines of a document, each with whether it belongs to a block of code."""
    is_code = False
    for line in document.read_text(encoding="utf-8").split("\n"):
        is_fence = line.startswith("```")
        yield line, is_code or is_fence or line.startswith("    ")
        is_code = is_code != is_fence


def label(document, name):
    page = document.resolve().relative_to(PROJECT).with_suffix("")
    return f"{anchor(' '.join(page.parts))}-{name}"


def page(document):
    """The page in pieces, in turn prose and code."""
    known = set()

    def named_heading(match):
        name = anchor(match.group(1))
        if name in known:
            return match.group(0)
        known.add(name)
        return f"{match.group(0)} {{#{label(document, name)}}}"

    def link(match):
        text, target = match.groups()
        file, _, name = target.partition("#")
        # The lines that follow keep their numbers.
        moved = "\n" * text.count("\n")
        text = " ".join(text.split())
        if name and "://" not in target:
            target = f"#{label(document.parent / file if file else document, name)}"
        becomes_page = "://" in target or name or file.endswith((".md", ".svg"))
        return (f"[{text}]({target})" if becomes_page else text) + moved

    for is_code, lines in itertools.groupby(lines_of(document), lambda line: line[1]):
        text = "\n".join(line for line, _ in lines)
        yield text if is_code else HEADING.sub(named_heading, LINK.sub(link, text))


if __name__ == "__main__":
    print("\n".join(page(Path(sys.argv[1]))))
