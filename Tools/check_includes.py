#!/usr/bin/env python3
"""Checks that every file includes only what its module may see.

usage: check_includes.py REPOSITORY TABLE

TABLE is what the build writes of its modules (cmake/Targets.cmake, `dp_add_module`): a line
`name|modules that it uses|its files`, lists parted by semicolons. A header belongs to the
module of the source beside it that has its name, or to the one that lists it, by name or by
pattern. A module sees its own files, those of the modules that it uses, and of those that
they use; what it does not include it may not claim to use.
"""
import collections
import fnmatch
import pathlib
import re
import sys

FOLDERS = ["foundation", "image", "API/Inc", "Src", "External"]
SUFFIXES = {".h", ".cpp", ".inc", ".inl"}
SEARCH = ["", "foundation", "API/Inc", "Src"]


def stem(path):
    return path.rsplit(".", 1)[0]


class Modules:
    def __init__(self, table):
        self.uses, self.files = {}, {}
        for line in table.read_text("utf-8").splitlines():
            name, uses, files = line.split("|")
            self.uses[name] = set(filter(None, uses.split(";")))
            self.files[name] = list(filter(None, files.split(";")))

    def owners(self, path):
        for test in (lambda file: file == path,
                     lambda file: file.endswith(".cpp") and stem(file) == stem(path),
                     lambda file: "*" in file and fnmatch.fnmatchcase(path, file)):
            found = [name for name, files in self.files.items() if any(map(test, files))]
            if found:
                return found
        return []

    def seen_by(self, name):
        seen, left = set(), [name, "foundation"]  # which is everybody's
        while left:
            module = left.pop()
            if module not in seen:
                seen.add(module)
                left += self.uses[module]
        return seen


def included(root, path):
    """The names that a file includes in quotes, each with the file that is found, or None."""
    for name in re.findall(r'^\s*#\s*include "([^"]+)"', path.read_text("utf-8"), re.M):
        candidates = [path.parent / name] + [root / folder / name for folder in SEARCH]
        found = next((file for file in candidates if file.is_file()), None)
        yield name, found and found.resolve().relative_to(root).as_posix()


def breaches(root, modules):
    owner, used = {}, collections.defaultdict(set)
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in SUFFIXES:
                name = path.relative_to(root).as_posix()
                owners = modules.owners(name)
                if len(owners) == 1:
                    owner[name] = owners[0]
                else:
                    yield f"{name}: belongs to {' and '.join(owners) or 'no module'}"
    for file, module in owner.items():
        for name, target in included(root, root / file):
            other = owner.get(target)
            if other is None:
                yield f"{file}: includes {name}, which belongs to no module"
                continue
            used[module].add(other)
            if other not in modules.seen_by(module):
                yield f"{file}: includes {target}, but {module} does not use {other}"
    for module, uses in modules.uses.items():
        for claimed in sorted(uses - used[module]):
            yield f"{module}: says that it uses {claimed}, and includes nothing of it"


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    found = list(breaches(pathlib.Path(sys.argv[1]).resolve(),
                          Modules(pathlib.Path(sys.argv[2]))))
    print("\n".join(found) if found else "every file includes what its module may see")
    sys.exit(bool(found))


if __name__ == "__main__":
    main()
