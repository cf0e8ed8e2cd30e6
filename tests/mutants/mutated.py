"""A source that contains all its mutants."""

import bisect
import re


class Mutated:
    """The text of a source with its mutants, and the origin of each position of the text."""

    def __init__(self, source, edits, points):
        self.points = points
        pieces, at, length = [], 0, 0
        self.origins = []  # (offset in the text, offset in the source)
        for offset, _, taken, text in edits:
            pieces += [source[at:offset], text.encode()]
            self.origins += [(length, at), (length + offset - at, offset)]
            length += len(pieces[-2]) + len(pieces[-1])
            at = offset + taken
        self.origins.append((length, at))
        self.text = b"".join([*pieces, source[at:]])
        self.lines = [0] + [found.end() for found in re.finditer(rb"\n", self.text)]

    def at(self, line, column, dropped):
        """The remaining mutants of the innermost point around a position that the compiler reports, and whether the
        position is in inserted text."""
        offset = self.lines[line - 1] + column - 1
        order = bisect.bisect_right(self.origins, (offset, 1 << 60)) - 1
        at, origin = self.origins[order]
        inserted = order % 2 == 1
        origin += 0 if inserted else offset - at
        around = [one for one in self.points if one.begin <= origin <= one.end]
        on_line = [one for one in self.points if any(mutant.line == line for mutant in one.mutants)]
        for points in (around, on_line):
            for point in sorted(points, key=lambda one: one.end - one.begin):
                remaining = [one.key for one in point.mutants if one.key not in dropped]
                if remaining:
                    return remaining, inserted
        return [], False
