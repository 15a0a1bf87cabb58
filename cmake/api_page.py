"""Prints a document of the project as Doxygen has to read it, for its API pages.

Doxygen gives headings no names that links could use, and names of headings hold for all pages at
once: those that are linked within a document get a name with the document's in front. Links to what
becomes no page, folders above all, become plain text.
"""

import re
import sys
from pathlib import Path

HEADING = re.compile(r"^#+ (.*)$")
LINK = re.compile(r"(?<!!)\[([^]]*)\]\(([^) ]*)\)")


def anchor(heading):
    words = re.sub(r"[^\w\- ]", "", heading.lower())
    return words.strip().replace(" ", "-")


def main(document):
    lines = Path(document).read_text(encoding="utf-8").split("\n")
    project = Path(__file__).resolve().parent.parent
    page = Path(document).resolve().relative_to(project).with_suffix("")
    prefix = anchor(" ".join(page.parts))
    linked = set(re.findall(r"\]\(#([^)]*)\)", "\n".join(lines)))

    def link(match):
        text, target = match.groups()
        if target.startswith("#"):
            return f"[{text}](#{prefix}-{target[1:]})"
        becomes_page = "://" in target or target.partition("#")[0].endswith((".md", ".svg"))
        return match.group(0) if becomes_page else text

    is_code = False
    for line in lines:
        if line.startswith("```"):
            is_code = not is_code
        elif not is_code and not line.startswith("    "):
            line = LINK.sub(link, line)
            heading = HEADING.match(line)
            if heading and anchor(heading.group(1)) in linked:
                line += f" {{#{prefix}-{anchor(heading.group(1))}}}"
        print(line)


main(sys.argv[1])
