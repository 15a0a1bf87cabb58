"""Follows every link between the project's documents: to a file that is there, and to a heading of it.
Files that are named in a text, as `tests/docs/check_links.py` or `ApplyGraph.h`, have to be there as well.

    check_links.py SOURCE_DIR
"""

import re
import sys
from pathlib import Path

SOURCE_DIR = Path(sys.argv[1]).resolve()
sys.path.insert(0, str(SOURCE_DIR / "cmake"))
sys.dont_write_bytecode = True

from api_page import anchor, lines_of  # noqa: E402
from check_blocks import FOLDERS, documents  # noqa: E402

LINK = re.compile(r"\]\(([^) ]*)\)")
NAMED_FILE = re.compile(r"`([\w./-]+\.(?:h|cpp|cmake|md|py|svg))`")
# Parts of the build tree, and of projects that a text tells the reader to make.
NOT_OURS = re.compile(r"^build/|NAME")


FILE_NAMES = {file.name for folder in FOLDERS for file in (SOURCE_DIR / folder).rglob("*.*")}


def headings_of(document):
    return {anchor(line.lstrip("#")) for line, is_code in lines_of(document)
            if not is_code and line.startswith("#")}


def is_there(file, document):
    if "/" in file:
        return (SOURCE_DIR / file).exists() or (document.parent / file).exists()
    return file in FILE_NAMES


def main():
    links = 0
    errors = []
    for document in documents(SOURCE_DIR):
        for number, (line, is_code) in enumerate(lines_of(document), 1):
            for target in [] if is_code else LINK.findall(line):
                if "://" in target:
                    continue
                links += 1
                file, _, name = target.partition("#")
                linked = (document.parent / file).resolve() if file else document
                where = f"{document.relative_to(SOURCE_DIR)}:{number}: "
                if not linked.exists():
                    errors.append(f"{where}there is no {file}")
                elif name and name not in headings_of(linked):
                    errors.append(f"{where}{file or 'this document'} has no heading {name}")
            for file in [] if is_code else NAMED_FILE.findall(line):
                links += 1
                if not NOT_OURS.search(file) and not is_there(file, document):
                    errors.append(f"{document.relative_to(SOURCE_DIR)}:{number}: there is no {file}")
    print("\n".join(errors + [f"{links} links and names, {len(errors)} errors"]))
    return 1 if errors or links == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
