#!/usr/bin/env python3
"""Checks that the C++ blocks of the client layer's pages stand in the examples.

usage: check_page.py REPOSITORY

The examples are built and run by other tests, so what the pages show compiles. A line that a
block leaves out is written as "...".
"""
import pathlib
import re
import sys

PAGES = ["README.md", "Docs/Client.md"]


def lines_of(text):
    return [line.strip() for line in text.splitlines() if line.strip()]


def stands_in(block, program):
    """Whether the lines of the block are lines of the program, in one run between "..."."""
    at = 0
    for part in "\n".join(block).split("..."):
        wanted = lines_of(part)
        if not wanted:
            continue
        for start in range(at, len(program) - len(wanted) + 1):
            if program[start:start + len(wanted)] == wanted:
                at = start + len(wanted)
                break
        else:
            return False
    return True


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    root = pathlib.Path(sys.argv[1])
    programs = [lines_of(path.read_text("utf-8"))
                for path in sorted((root / "Examples").glob("*.cpp"))]
    blocks = missing = 0
    for page in PAGES:
        text = (root / page).read_text("utf-8")
        for block in re.findall(r"^```cpp\n(.*?)^```", text, re.M | re.S):
            blocks += 1
            if not any(stands_in(block.splitlines(), program) for program in programs):
                missing += 1
                print(f"{page}: in no example:\n{block}")
    print(f"{blocks} blocks of code, {missing} of them in no example")
    sys.exit(missing > 0 or blocks < 4)


if __name__ == "__main__":
    main()
