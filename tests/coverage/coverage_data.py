"""What clang's counters say of one source file: from the JSON of `llvm-cov export` and the source's text."""

import dataclasses
import re

# A line that no test can bring about says so, and why, in a comment: "// no test: the library never fails here".
MARKER = re.compile(r"// no test:[ \t]*(.*)")


@dataclasses.dataclass(frozen=True)
class Segment:
    """From this place on a region with this count holds, up to the next segment."""
    line: int
    column: int
    count: int
    counted: bool
    entry: bool
    gap: bool


@dataclasses.dataclass(frozen=True)
class Outcome:
    """One outcome of one condition."""
    line: int
    column: int
    condition: str
    value: bool
    taken: bool

    def __str__(self):
        return f"never {'true' if self.value else 'false'}: {self.condition}"


@dataclasses.dataclass
class FileCoverage:
    name: str
    text: list  # the source's lines
    lines: dict  # line number -> how often it was passed
    outcomes: list
    faults: list = dataclasses.field(default_factory=list)  # markers that say nothing or hide nothing

    def missed_lines(self):
        return sorted(number for number, count in self.lines.items() if count == 0)

    def missed_outcomes(self):
        return [outcome for outcome in self.outcomes if not outcome.taken]


def line_counts(segments):
    """Line number -> count, for each line that holds code: the highest count of the regions that reach into it."""
    starts = {}
    for segment in segments:
        starts.setdefault(segment.line, []).append(segment)
    counts = {}
    before = None
    for number in range(segments[0].line, segments[-1].line + 1) if segments else []:
        here = starts.get(number, [])
        count = count_of_line(before, here)
        if count is not None:
            counts[number] = count
        before = here[-1] if here else before
    return counts


def count_of_line(before, here):
    """None for a line without code; `before` is the segment that holds at its begin, `here` those that start in it."""
    entries = [segment.count for segment in here if segment.entry and segment.counted and not segment.gap]
    skipped = bool(here) and here[0].entry and not here[0].counted
    held = [before.count] if before is not None and before.counted else []
    if skipped or not (held or entries):
        return None
    return max(held + entries)


def is_passed(segments, begin, end):
    """Whether the code of a condition between two places was passed."""
    # A macro at its begin brings the count of what is around it, so the whole of the condition is asked.
    at_begin = [segment.count for segment in segments if (segment.line, segment.column) <= begin]
    inside = [segment.count for segment in segments if begin < (segment.line, segment.column) < end]
    return min(at_begin[-1:] + inside, default=0) > 0


def source_between(text, begin_line, begin_column, end_line, end_column):
    """The source between two places, in one line. Columns count bytes, from 1."""
    if begin_line == end_line:
        return text[begin_line - 1].encode()[begin_column - 1:end_column - 1].decode(errors="replace")
    first = text[begin_line - 1].encode()[begin_column - 1:].decode(errors="replace")
    between = text[begin_line:end_line - 1]
    last = text[end_line - 1].encode()[:end_column - 1].decode(errors="replace")
    return " ".join(part.strip() for part in [first, *between, last])


def outcomes_of(branches, segments, text):
    """Both outcomes of each condition, instances of one template taken together; constants have none."""
    counts = {}
    for branch in branches:
        place = tuple(branch[:4])
        true, false = counts.get(place, (0, 0))
        counts[place] = (true + branch[4], false + branch[5])
    found = []
    for place, (true, false) in sorted(counts.items()):
        constant = true == false == 0 and is_passed(segments, place[:2], place[2:])
        if constant:
            continue
        condition = source_between(text, *place)
        found.append(Outcome(place[0], place[1], condition, True, true > 0))
        found.append(Outcome(place[0], place[1], condition, False, false > 0))
    return found


def without_marked(coverage):
    """Takes out what the source marks, and finds fault with a marker that gives no reason or stands at tested code."""
    marked = {number: match[1].strip() for number, line in enumerate(coverage.text, 1) if (match := MARKER.search(line))}
    for number, reason in marked.items():
        missed = coverage.lines.get(number) == 0 or any(o.line == number for o in coverage.missed_outcomes())
        if not reason:
            coverage.faults.append(f"{coverage.name}:{number}: the marker gives no reason")
        if not missed:
            coverage.faults.append(f"{coverage.name}:{number}: marked as without test, but tests pass here")
    coverage.lines = {number: count for number, count in coverage.lines.items() if number not in marked}
    coverage.outcomes = [outcome for outcome in coverage.outcomes if outcome.line not in marked]
    return coverage


def file_coverage(name, exported, source):
    """`exported` is one entry of the export's list of files, `source` the file's text."""
    segments = [Segment(*fields) for fields in exported["segments"]]
    text = source.split("\n")
    outcomes = outcomes_of(exported.get("branches", []), segments, text)
    return without_marked(FileCoverage(name, text, line_counts(segments), outcomes))
