"""The modules of src/modules.txt: what each may include, and which folders see Qt."""

import re

import tree

LINE = re.compile(r"^([a-z]+):((?: [a-z]+)*)$")


def read(text):
    """Returns {module: modules that it may include}, lowest module first."""
    found = (LINE.match(line) for line in text.splitlines())
    return {match[1]: set(match[2].split()) for match in found if match}


ALLOWED = read((tree.ROOT / "src" / "modules.txt").read_text(encoding="utf-8"))


def is_form(path):
    """Whether a source, given below src/ with "/", belongs to the windows."""
    return "/forms/" in path
