#!/usr/bin/env python3
"""Holds the libraries to the mathematical functions that they are known to call.

usage: check_math.py LIBRARY...

Each function of the C library that rounds as it likes has to be proven harmless where it is
called: Docs/Numerics.md has the table, the test `rounding_test` the proof.
"""
import subprocess
import sys

# One right answer each: the C standard, or IEEE 754, leaves no choice.
EXACT = {"ceil", "ceilf", "floor", "floorf", "trunc", "truncf", "rint", "rintf", "fmod",
         "ldexp", "ldexpf", "scalbn", "frexp", "nextafter", "nextafterf", "sqrt", "sqrtf",
         "lround", "lroundf", "round", "roundf", "fmax", "fmaxf", "fmin", "fminf"}
PROVEN = {"erf", "erfc", "exp", "log", "pow"}
IN_LAPACK = {"log", "logf", "log10", "pow"}  # limits and sizes of blocks


def symbols(path, which):
    output = subprocess.run(["nm", "-D", which, path], check=True, capture_output=True,
                            text=True).stdout
    return {line.split()[-1].split("@")[0] for line in output.splitlines() if line.strip()}


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    listing = subprocess.run(["/sbin/ldconfig", "-p"], capture_output=True, text=True).stdout
    paths = [line.split()[-1] for line in listing.splitlines() if "libm.so.6" in line]
    if not paths:
        sys.exit("no libm.so.6 is known here")
    every = symbols(paths[0], "--defined-only")
    unknown = set()
    for library in sys.argv[1:]:
        unknown |= (symbols(library, "--undefined-only") & every) - EXACT - PROVEN - IN_LAPACK
    for name in sorted(unknown):
        print(f"{name}: rounds as the C library likes, and no proof is known for it")
    sys.exit(bool(unknown))


if __name__ == "__main__":
    main()
