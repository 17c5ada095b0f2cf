#!/usr/bin/env python3
"""Compares the functions that a shared library shows with a list, name by name.

usage: check_exports.py LIBRARY LIST

The list holds one mangled name a line; lines that begin with # are comments.
"""
import subprocess
import sys


def shown_by_dll(library):
    """The table of names, as objdump prints it: `[ordinal] name` (newer: with the address)."""
    output = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", library], check=True,
                            capture_output=True, text=True).stdout
    table = output.partition("[Ordinal/Name Pointer]")[2].partition("\n\n")[0]
    return {line.split()[-1] for line in table.splitlines() if line.lstrip().startswith("[")}


def shown_symbols(library):
    if library.endswith(".dll"):
        return shown_by_dll(library)
    output = subprocess.run(["nm", "-D", "--defined-only", library], check=True,
                            capture_output=True, text=True).stdout
    return {line.split()[-1].split("@")[0] for line in output.splitlines() if line.strip()}


def listed_symbols(path):
    with open(path, encoding="utf-8") as lines:
        return {line.strip() for line in lines if line.strip() and not line.startswith("#")}


def demangled(names):
    text = "\n".join(sorted(names))
    return subprocess.run(["c++filt"], input=text, check=True, capture_output=True,
                          text=True).stdout


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    shown, listed = shown_symbols(sys.argv[1]), listed_symbols(sys.argv[2])
    if shown - listed:
        print("shown, but not in the list:\n" + demangled(shown - listed))
    if listed - shown:
        print("in the list, but not shown:\n" + demangled(listed - shown))
    print(f"{len(shown)} symbols shown, {len(listed)} listed")
    sys.exit(shown != listed)


if __name__ == "__main__":
    main()
