"""Building blocks of hostile XML files."""

import os

HEAD = b'<?xml version="1.0"?>\n'
ENTRY = b'<FAULTLOG NR="1"><CONDATE>20040305</CONDATE><MODEIND>A</MODEIND></FAULTLOG>'


def whole(inside=b"", doctype=b"", head=HEAD, root=b"FLFILE", product=b"4711"):
    """Returns a faultlogger file with everything that it must have, and something more."""
    name = root.split()[0]
    return (head + doctype + b"<" + root + b"><PRODCODE>" + product + b"</PRODCODE>" + ENTRY + inside +
            b"</" + name + b">")


def doctype(*declarations):
    return b"<!DOCTYPE FLFILE [" + b"".join(declarations) + b"]>\n"


def laughs(first, levels, times):
    """Returns entities each of which expands to many times the one before it."""
    result = b'<!ENTITY e0 "%s">' % first
    for level in range(1, levels + 1):
        result += b'<!ENTITY e%d "%s">' % (level, b"&e%d;" % (level - 1) * times)
    return result


def numbered(pattern, count):
    return b"".join(pattern % {b"n": n} for n in range(count))


def parameter_bomb():
    parts = [b'<!ENTITY % p0 "<!-- aaaaaaaaaaaaaaaaaaaaaaaaaaaaaa -->">']
    parts += [b'<!ENTITY %% p%d "%s">' % (n, b"&#37;p%d;\n" % (n - 1) * 20) for n in range(1, 10)]
    return doctype(*parts, b"%p9;")


ATTRIBUTES = numbered(b' a%(n)d=""', 100_000)


def pipe(path):
    os.mkfifo(path)
