#!/usr/bin/env python3
"""Prints a page of the guide as Doxygen wants it; named in the Doxyfile.

Headings get anchors (the page's name and the heading's; the first of equal ones), links with
a fragment go to these, a header is linked by its name, and what the site does not hold is no
link.
"""
import pathlib
import re
import sys


def anchor(page, heading):
    words = re.sub(r"[^a-z0-9 -]", "", heading.lower()).replace(" ", "-")
    return f"{page.lower()}-{words}"


def target(page, text, link):
    path, _, fragment = link.removeprefix("../").partition("#")
    name = pathlib.PurePath(path)
    if "://" in link or (name.suffix in (".md", ".png") and not fragment):
        return f"[{text}]({name.name if name.suffix == '.png' else link})"
    if fragment:
        return f"[{text}](@ref {anchor(name.stem or page, fragment)})"
    if name.suffix == ".h":
        return f"[{text}](@ref {name.name})"
    return text


def main():
    path = pathlib.Path(sys.argv[1])
    seen = set()

    def with_anchor(match):
        name = anchor(path.stem, match[1])
        if name in seen:
            return match[0]
        seen.add(name)
        return f"{match[0]} {{#{name}}}"

    text = re.sub(r"^##+ (.*)$", with_anchor, path.read_text("utf-8"), flags=re.M)
    sys.stdout.write(re.sub(r"\[([^\]]*)\]\(([^)\s]+)\)",
                            lambda match: target(path.stem, match[1], match[2]), text))


main()
