#!/usr/bin/env python3
"""Checks that binaries were built and linked as an attacker likes them least.

usage: check_hardening.py FILE ...

For each: all relocations are done on loading and read-only from then on, no stack that can
be executed, a position of its own choice in memory, stack protectors, and the checked forms
of the C library's formatted output, as GCC has it. On x86-64 every function that a library
shows begins with a mark for indirect jumps.
"""
import re
import subprocess
import sys

MARK = "endbr64"
UNCHECKED = {"printf", "fprintf", "vfprintf", "sprintf", "vsprintf", "snprintf", "vsnprintf"}


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def faults(path):
    dynamic = output_of("readelf", "-dW", path)
    segments = output_of("readelf", "-lW", path)
    code = output_of("objdump", "-d", "--no-show-raw-insn", path)
    called = calls_of_ours(code)
    header = output_of("readelf", "-hW", path)
    if not re.search(r"\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*\bNOW\b", dynamic):
        yield "binds lazily (-z now)"
    if "GNU_RELRO" not in segments:
        yield "keeps its relocations writable (-z relro)"
    stack = re.search(r"GNU_STACK.*?(\S+)\s+0x\S+$", segments, re.M)
    if not stack or "E" in stack.group(1):
        yield "has an executable stack"
    if not re.search(r"Type:\s+DYN", header):
        yield "is loaded at a fixed address"
    if "__stack_chk_fail" not in called:
        yield "has no stack protector"
    for name in sorted(called & UNCHECKED):
        yield f"calls {name} and not its checked form (_FORTIFY_SOURCE)"
    if "X86-64" in header:
        yield from (f"{name} begins without {MARK}" for name in unmarked(path, code))


def calls_of_ours(code):
    """What C++ functions call; LAPACK's are Fortran, and were hardened by others or not."""
    called, ours = set(), False
    for line in code.splitlines():
        if head := re.match(r"\w+ <([^>]+)>:$", line):
            ours = head.group(1).startswith("_Z")
        elif ours and (call := re.search(r"\b(?:call|jmp|bl?)\s.*<(\w+)@plt>", line)):
            called.add(call.group(1))
    return called


def unmarked(path, code):
    """Functions of the dynamic table whose first instruction is another one."""
    shown = {line.split()[-1].split("@")[0]
             for line in output_of("nm", "-D", "--defined-only", path).splitlines()
             if line.split()[-2] in "TWi"}
    for name, first in re.findall(r"^\w+ <([^>]+)>:\n\s*\w+:\s+(\S+)", code, re.M):
        if name in shown and first != MARK:
            yield name


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    paths = [path for path in sys.argv[1:] if path]
    found = [f"{path}: {fault}" for path in paths for fault in faults(path)]
    print("\n".join(found) if found else "hardened: " + " ".join(paths))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
