#!/usr/bin/python3
"""The help's page of limits states the numbers of common/Limits.h, and all of them."""

import ast
import operator
import re
import sys

import tree

HEADER = "src/common/Limits.h"
PAGE = "docs/help/limits.html"
CONSTANT = re.compile(r"^inline constexpr [\w:]+ (\w+) =\s*([^;]+);", re.MULTILINE)
MARKED = re.compile(r'(?:(\d+) MiB \()?<span id="(\w+)">([^<]*)</span>')
OPERATORS = {ast.Mult: operator.mul, ast.Div: operator.floordiv, ast.Add: operator.add, ast.Sub: operator.sub}


def value_of(node, known):
    if isinstance(node, ast.Constant):
        return node.value
    if isinstance(node, ast.Name):
        return known[node.id]
    return OPERATORS[type(node.op)](value_of(node.left, known), value_of(node.right, known))


def limits_of(header):
    """The numbers of the header by their names. It uses decimal numbers, constants above and + - * / only."""
    limits = {}
    for name, expression in CONSTANT.findall(header):
        plain = re.sub(r"std::\w+\{([^}]*)\}", r"\1", expression).replace("'", "")
        limits[name] = value_of(ast.parse(plain, mode="eval").body, limits)
    return limits


def faults_in(header, page):
    """header, page: their texts. On the page, <span id="NAME"> holds the number of that name."""
    limits = limits_of(header)
    marked = MARKED.findall(page)
    faults = [f"{PAGE}: {name} is missing" for name in limits if name not in {name for _, name, _ in marked}]
    for mebibytes, name, text in marked:
        if name not in limits:
            faults.append(f"{HEADER}: {name} is missing")
        elif text != f"{limits[name]:,}":
            faults.append(f"{PAGE}: {name} is {text}, should be {limits[name]:,}")
        elif mebibytes and int(mebibytes) << 20 != limits[name]:
            faults.append(f"{PAGE}: {name} is no {mebibytes} MiB")
    return faults


def main():
    return tree.report(faults_in(*((tree.ROOT / path).read_text(encoding="utf-8") for path in (HEADER, PAGE))))


if __name__ == "__main__":
    sys.exit(main())
