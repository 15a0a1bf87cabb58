"""Follows every link between the project's documents: to a file that is there, and to a heading of it.

    check_links.py SOURCE_DIR
"""

import re
import sys
from pathlib import Path

SOURCE_DIR = Path(sys.argv[1]).resolve()
sys.path.insert(0, str(SOURCE_DIR / "cmake"))
sys.dont_write_bytecode = True

from api_page import anchor, lines_of  # noqa: E402
from check_blocks import documents  # noqa: E402

LINK = re.compile(r"\]\(([^) ]*)\)")


def headings_of(document):
    return {anchor(line.lstrip("#")) for line, is_code in lines_of(document)
            if not is_code and line.startswith("#")}


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
    print("\n".join(errors + [f"{links} links, {len(errors)} errors"]))
    return 1 if errors or links == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
