#!/usr/bin/env python3
"""Checks that includes run down the layers only.

usage: check_includes.py REPOSITORY

A file belongs to the first row of the table that its path matches. It may include files
of a lower layer, of its own group, and of the groups that its row allows besides.
"""
import pathlib
import re
import sys

# (pattern of the path, layer, group, further groups that it may include)
TABLE = [
    (r"foundation/", 0, "foundation", ()),
    (r"image/", 1, "image", ()),
    (r"Src/Image\.", 1, "diagnostics", ("image",)),
    (r"API/Inc/DP/", 2, "api", ()),
    (r"Src/Kinds\.cpp", 6, "top", ()),
    (r"Src/(ClassIDs|KeyOrder|DescriptorObjects|ImageKind|DescriptorComputer|DescriptorDataCache"
     r"|DescriptorStopwatch|Kinds)\.", 3, "core", ()),
    (r"Src/Lapack/", 4, "lapack", ()),
    (r"Src/ColourPyramid/(ColourPyramidData|ReduceByTwo)\.", 4, "colour data", ()),
    (r"Src/APT/(APTTracker|APTCorner|APTImagePyramid|APTLevelDescent|APTPatchAlignment|APTReferenceVerification"
     r"|APTMotion|APTPatch|APTTrackerParams)", 4, "apt engine", ("lapack", "colour data")),
    (r"Src/KLT/KLTFramePyramids", 4, "klt engine", ("pyramid",)),
    (r"Src/KLT/", 4, "klt engine", ()),
    (r"External/graphcut/", 4, "graphcut engine", ()),
    (r"Src/Pyramid/", 5, "pyramid", ()),
    (r"Src/ColourPyramid/", 5, "colour pyramid", ()),
    (r"Src/KLT", 5, "klt", ("pyramid",)),
    (r"Src/APT/", 5, "apt", ()),
    (r"Src/RegionTracker/", 5, "region tracker", ("apt",)),
    (r"Src/(DescriptorFactory|DescriptorComputerMgr|DescriptorDataCacheMgr|TrackerImpl)\.",
     6, "top", ()),
    (r"Src/\w+/", 5, "of its folder", ()),  # any other folder is a kind's
]
FOLDERS = ["foundation", "image", "API/Inc", "Src", "External"]
SEARCH = ["", "foundation", "API/Inc", "Src", "External/graphcut", "External"]


def row_of(path):
    for pattern, layer, group, allowed in TABLE:
        match = re.match(pattern, path)
        if match:
            return layer, match.group() if group == "of its folder" else group, allowed
    return None


def resolve(root, including, name):
    candidates = [including.parent / name] + [root / folder / name for folder in SEARCH]
    for candidate in candidates:
        if candidate.is_file():
            return candidate.resolve().relative_to(root).as_posix()
    return None


def breaches(root):
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".h", ".cpp", ".inl"):
                continue
            mine = path.relative_to(root).as_posix()
            row = row_of(mine)
            if row is None:
                yield f"{mine}: belongs to no layer"
                continue
            for name in re.findall(r'^#include "([^"]+)"', path.read_text("utf-8"), re.M):
                target = resolve(root, path, name)
                if target is None:
                    yield f"{mine}: includes {name}, which is nowhere"
                    continue
                other = row_of(target)
                if other is None:
                    yield f"{mine}: includes {target}, which belongs to no layer"
                elif not (other[0] < row[0] or other[1] == row[1] or other[1] in row[2]):
                    yield f"{mine}: layer {row[0]} ({row[1]}) includes {target}, " \
                          f"layer {other[0]} ({other[1]})"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    found = list(breaches(pathlib.Path(sys.argv[1]).resolve()))
    print("\n".join(found) if found else "includes run down the layers")
    sys.exit(bool(found))


if __name__ == "__main__":
    main()
