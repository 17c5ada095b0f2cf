#!/usr/bin/env python3
"""The public headers are standard C++20: a compiler that takes every extension for an error
compiles all of them together, and the programs that use them.

usage: check_pedantic.py REPOSITORY FILE... -- COMPILER...

A FILE is a header or a program, named from the repository.
"""
import pathlib
import subprocess
import sys

FLAGS = ["-std=c++20", "-pedantic-errors", "-Wall", "-Wextra", "-Werror", "-fsyntax-only"]
# What Clang takes from GNU and from later standards without a word.
CLANG = ["-Wgnu", "-Wc++2b-extensions", "-Wno-gnu-zero-variadic-macro-arguments"]
FOLDERS = ["API/Inc", "foundation", "Client/Inc", "."]


def errors(compiler, repository, source):
    extra = CLANG if "clang" in pathlib.Path(compiler).name else []
    result = subprocess.run(
        [compiler, *FLAGS, *extra, *(f"-I{folder}" for folder in FOLDERS), "-x", "c++", "-"],
        cwd=repository, input=source, capture_output=True, text=True)
    return result.stderr if result.returncode else ""


def main():
    if len(sys.argv) < 5 or "--" not in sys.argv:
        sys.exit(__doc__)
    split = sys.argv.index("--")
    repository, files, compilers = sys.argv[1], sys.argv[2:split], sys.argv[split + 1:]
    headers = [name for name in files if name.endswith(".h")]
    sources = {"all headers": "".join(f'#include "{name}"\n' for name in headers)}
    sources |= {name: f'#include "{name}"\n' for name in files if name not in headers}
    wrong = 0
    for compiler in compilers:
        for name, source in sources.items():
            if text := errors(compiler, repository, source):
                wrong += 1
                print(f"{compiler}, {name}:\n{text}")
        # It must be able to say no.
        if not errors(compiler, repository, "int f(int n) { int a[n]; return sizeof a; }\n"):
            wrong += 1
            print(f"{compiler}: passes an extension")
    print(f"{len(headers)} headers, {len(sources) - 1} programs, {len(compilers)} compilers")
    sys.exit(wrong != 0)


if __name__ == "__main__":
    main()
