#!/usr/bin/env python3
"""What a compiler is told first of all, by each public header: in C++17 mode, that it needs
C++20; for a 32-bit or a big-endian machine, that the library is not for that.

usage: check_language.py COMPILER REPOSITORY HEADER...
"""
import subprocess
import sys


LANGUAGE = "foundation/TVK/LanguageCheck.h"


def first_error(compiler, repository, header, *options):
    result = subprocess.run(
        [compiler, *options, "-fsyntax-only", "-I", "API/Inc", "-I", "foundation", "-I", ".",
         "-x", "c++", header], cwd=repository, capture_output=True, text=True)
    errors = [line for line in result.stderr.splitlines() if "error" in line]
    return errors[0] if errors else "no error"


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    compiler, repository, headers = sys.argv[1], sys.argv[2], sys.argv[3:]
    told = {header: first_error(compiler, repository, header, "-std=c++17")
            for header in headers}
    wrong = {header: error for header, error in told.items() if "need C++20" not in error}
    for header, error in wrong.items():
        print(f"{header}: {error}")
    print(f"{len(told)} headers, {len(wrong)} do not say that they need C++20")
    # Every header includes this one, which includes nothing: no library of that machine is
    # needed.
    target = subprocess.run([compiler, "-dumpmachine"], capture_output=True, text=True).stdout
    machines = {**({"64-bit": ["-m32"]} if target.startswith("x86_64") else {}),
                "little-endian": ["-U__BYTE_ORDER__", "-D__BYTE_ORDER__=__ORDER_BIG_ENDIAN__"]}
    for word, options in machines.items():
        error = first_error(compiler, repository, LANGUAGE, "-std=c++20", *options)
        print(f"{' '.join(options)}: {error}")
        wrong |= {} if f"needs a {word} machine" in error else {word: error}
    sys.exit(bool(wrong))


if __name__ == "__main__":
    main()
