"""Looks at the pages that Doxygen has made of documents, for what it does not warn of.

    check_api_pages.py DIRECTORY

Links between pages that lead nowhere, and text that a page swallowed: Doxygen's own commands are still
in it then.
"""

import re
import sys
from pathlib import Path

LINK = re.compile(r'(?:href|src|data)="([^"#]*)(?:#([^"]*))?"')
NAME = re.compile(r'(?:id|name)="([^"]*)"')


def main(directory):
    texts = {page.name: page.read_text(encoding="utf-8", errors="replace")
             for page in directory.glob("*.html")}
    pages = [name for name in texts if name.startswith("md_")] + ["index.html"]
    errors = []
    for name in sorted(pages):
        if "@code" in texts[name] or "@section" in texts[name]:
            errors.append(f"{name} has swallowed text")
        for file, heading in LINK.findall(texts[name]):
            linked = file or name
            if "://" in file or file.startswith("javascript:"):
                continue
            if not (directory / linked).exists():
                errors.append(f"{name} links to {file}, which is not there")
            elif heading and linked in texts and heading not in NAME.findall(texts[linked]):
                errors.append(f"{name} links to {linked}, which has no {heading}")
    for error in errors:
        print(error)
    return 1 if errors or len(pages) < 2 else 0


sys.exit(main(Path(sys.argv[1])))
