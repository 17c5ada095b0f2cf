#!/usr/bin/env python3
"""A compiler in C++17 mode is told by each public header, first of all, that it needs C++20.

usage: check_language.py COMPILER REPOSITORY HEADER...
"""
import subprocess
import sys


def first_error(compiler, repository, header):
    result = subprocess.run(
        [compiler, "-std=c++17", "-fsyntax-only", "-I", "API/Inc", "-I", "foundation", "-I", ".",
         "-x", "c++", header], cwd=repository, capture_output=True, text=True)
    errors = [line for line in result.stderr.splitlines() if "error" in line]
    return errors[0] if errors else "no error"


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    compiler, repository, headers = sys.argv[1], sys.argv[2], sys.argv[3:]
    told = {header: first_error(compiler, repository, header) for header in headers}
    wrong = {header: error for header, error in told.items() if "need C++20" not in error}
    for header, error in wrong.items():
        print(f"{header}: {error}")
    print(f"{len(told)} headers, {len(wrong)} do not say that they need C++20")
    sys.exit(bool(wrong))


if __name__ == "__main__":
    main()
