"""Asks of every code block in the project's documents which test holds it to account.

    check_blocks.py SOURCE_DIR BUILD_DIR

A C++ block has to stand, word for word, in a source file that this build compiles for its tests. Every
other block (shell, CMake, output, pictures) has to stand in blocks.txt, which names the test that runs
it or compares it. A name of a test that does not exist, and a line for a block that does not exist, are
errors as well.
"""

import json
import re
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
FOLDERS = ("bench", "diagnostics", "docs", "examples", "fuzz", "reference_platform", "tessaril",
           "tests", "tools")


def documents(source_dir):
    found = list(source_dir.glob("*.md"))
    for folder in FOLDERS:
        found += (source_dir / folder).rglob("*.md")
    return sorted(found)


def blocks_of(document):
    """Language ("" for none, "indented" for the other way to write a block), line number, text."""
    lines = document.read_text(encoding="utf-8").split("\n")
    i = 0
    is_in_list = False
    while i < len(lines):
        line = lines[i]
        if line.startswith("```"):
            end = i + 1
            while end < len(lines) and not lines[end].startswith("```"):
                end += 1
            yield line[3:].strip(), i + 1, "\n".join(lines[i + 1:end]) + "\n"
            i = end
        elif line.startswith("    ") and not is_in_list and (i == 0 or not lines[i - 1].strip()):
            end = i
            while end < len(lines) and (lines[end].startswith("    ") or not lines[end].strip()):
                end += 1
            yield "indented", i + 1, "\n".join(text[4:] for text in lines[i:end]).rstrip() + "\n"
            i = end - 1
        elif line.strip():
            is_in_list = bool(re.match(r"\s*([-*]|\d+\.) ", line)) or (is_in_list and line[0] == " ")
        i += 1


def compiled_sources(source_dir, build_dir):
    """The texts of all sources that are compiled for the tests, whether written or generated."""
    commands = json.loads((build_dir / "compile_commands.json").read_text(encoding="utf-8"))
    files = {(Path(command["directory"]) / command["file"]).resolve() for command in commands}
    tests = (source_dir / "tests", build_dir / "tests")
    return [
        file.read_text(encoding="utf-8")
        for file in sorted(files)
        if file.exists() and any(file.is_relative_to(folder) for folder in tests)
    ]


def known_tests(source_dir, build_dir):
    """Names of tests: those that CMake adds, and those that test programs hold."""
    names = set()
    for file in build_dir.rglob("CTestTestfile.cmake"):
        text = file.read_text(encoding="utf-8")
        names.update(re.findall(r"^add_test\(\[=*\[([^]]*)\]", text, re.MULTILINE))
        names.update(re.findall(r'^add_test\("?([^\s"\[]+)', text, re.MULTILINE))
    for file in (source_dir / "tests").rglob("*.cpp"):
        text = file.read_text(encoding="utf-8")
        names.update(".".join(name) for name in re.findall(r"^TEST(?:_F|_P)?\((\w+),\s*(\w+)\)", text,
                                                           re.MULTILINE))
    return names


def allowed_blocks():
    """From blocks.txt: document and first line of a block, and what it says of the block."""
    allowed = {}
    for line in (HERE / "blocks.txt").read_text(encoding="utf-8").split("\n"):
        if line and not line.startswith("#"):
            document, first_line, account = (part.strip() for part in line.split("|"))
            allowed[document, first_line] = account
    return allowed


def objection_to(account, source_dir, tests):
    kind, _, rest = account.partition(" ")
    if kind == "test":
        missing = [name for name in rest.split() if name not in tests]
        return f"there is no test {missing[0]}" if missing else None
    if kind == "check":
        script, _, command = rest.partition(" ")
        file = source_dir / script
        if not file.exists() or command not in file.read_text(encoding="utf-8"):
            return f"{script} does not run {command}"
        return None
    if kind in ("picture", "by-hand") and rest:
        return None
    return f'"{account}" names no test, no check and no reason'


def main():
    source_dir, build_dir = (Path(argument).resolve() for argument in sys.argv[1:3])
    sources = compiled_sources(source_dir, build_dir)
    tests = known_tests(source_dir, build_dir)
    allowed = allowed_blocks()
    errors = []
    used = set()
    compiled = accounted = 0
    for document in documents(source_dir):
        name = str(document.relative_to(source_dir))
        for language, line, text in blocks_of(document):
            if language in ("cpp", "c++"):
                if any(text in source for source in sources):
                    compiled += 1
                else:
                    errors.append(f"{name}:{line}: no test compiles this C++ block")
                continue
            first_line = " ".join(text.split("\n", 1)[0].split())
            account = allowed.get((name, first_line))
            if account is None:
                errors.append(f"{name}:{line}: blocks.txt has no line for this block: {first_line}")
                continue
            accounted += 1
            used.add((name, first_line))
            objection = objection_to(account, source_dir, tests)
            if objection:
                errors.append(f"{name}:{line}: {objection}")
    errors += [f"blocks.txt: there is no such block: {document} | {first_line}"
               for document, first_line in allowed.keys() - used]
    for error in errors:
        print(error)
    print(f"{compiled} C++ blocks are compiled, {accounted} other blocks accounted for, "
          f"{len(errors)} errors")
    return 1 if errors or compiled == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
