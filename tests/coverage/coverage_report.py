"""Tables, lists and judgement over the coverage of many files."""

import dataclasses
import fnmatch


@dataclasses.dataclass(frozen=True)
class Figures:
    lines: int = 0
    lines_passed: int = 0
    branches: int = 0
    branches_passed: int = 0

    def __add__(self, other):
        return Figures(*(a + b for a, b in zip(dataclasses.astuple(self), dataclasses.astuple(other))))

    def percent(self):
        return percent(self.lines_passed, self.lines), percent(self.branches_passed, self.branches)

    def __str__(self):
        lines, branches = self.percent()
        return (f"{self.lines_passed:6} of {self.lines:6} {shown(lines):>7}"
                f"{self.branches_passed:8} of {self.branches:6} {shown(branches):>7}")


def percent(part, whole):
    return 100.0 if whole == 0 else 100.0 * part / whole


def shown(value):
    """Cut, not rounded: 99.99 is not yet all."""
    return f"{int(value * 10) / 10:.1f} %"


def figures(files):
    total = Figures()
    for file in files:
        total += Figures(len(file.lines), len(file.lines) - len(file.missed_lines()),
                         len(file.outcomes), len(file.outcomes) - len(file.missed_outcomes()))
    return total


def matches(name, patterns):
    return any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)


def judge(files, bars, expected):
    """Every way in which these files miss the bars. `expected` are the sources of which something must be known."""
    faults = [fault for file in files for fault in file.faults]
    known = {file.name for file in files}
    faults += [f"{name}: no test program holds it" for name in sorted(set(expected) - known)]
    faults += [f"{pattern}: no such critical file" for pattern in bars.CRITICAL_FILES
               if not any(matches(name, [pattern]) for name in known)]
    faults += below(figures(files), bars.CORE, "core", "lines", "branches")
    critical = [file for file in files if matches(file.name, bars.CRITICAL_FILES)]
    for file in critical:
        faults += below(figures([file]), bars.CRITICAL, file.name, "lines")
    return faults + below(figures(critical), bars.CRITICAL, "critical files", "lines", "branches")


def below(total, bar, name, *kinds):
    reached = dict(zip(("lines", "branches"), total.percent()))
    asked = dict(zip(("lines", "branches"), bar))
    return [f"{name}: {shown(reached[kind])} of {kind}, asked for are {asked[kind]} %"
            for kind in kinds if reached[kind] < asked[kind]]


def table(files, bars):
    rows = [f"{'':36}{'lines':>16} {'':>8}{'branches':>17}"]
    for module in sorted({file.name.split("/")[0] for file in files}):
        rows.append(f"{module:36}{figures([f for f in files if f.name.startswith(module + '/')])}")
    rows += [f"{'core':36}{figures(files)}", "", "Code that moves, merges, marks or sends"]
    critical = [file for file in files if matches(file.name, bars.CRITICAL_FILES)]
    rows += [f"{file.name:36}{figures([file])}" for file in critical]
    return rows + [f"{'all of these':36}{figures(critical)}"]


def missed(files):
    """Each line and each outcome of a condition that no test passes, with its text."""
    rows = []
    for file in files:
        rows += [f"{file.name}:{number}: never passed: {file.text[number - 1].strip()}" for number in file.missed_lines()]
        rows += [f"{file.name}:{outcome.line}:{outcome.column}: {outcome}" for outcome in file.missed_outcomes()
                 if file.lines.get(outcome.line) != 0]
    return rows
