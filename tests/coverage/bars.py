"""The coverage that the core must reach, and what falls short of it."""

import fnmatch

# Percent of lines and percent of branches; a branch is one outcome, true or false, of one condition in the source.
CORE = (98, 90)
# Code that moves, merges, marks or sends: lines of each file, and branches of all these files together.
CRITICAL = (100, 95)

CRITICAL_FILES = [
    "archive/ArchiveDeletion.*",
    "common/SealedFields.*",
    "faultlog/*",
    "outbox/AttachmentPackaging.*",
    "outbox/DocumentCollection.*",
    "outbox/DocumentMarking.*",
    "outbox/DocumentMode.*",
    "outbox/SendJournal.*",
    "outbox/SendLoop.*",
    "outbox/SentMarking.*",
    "outbox/WaitingDocument.*",
    "outbox/ZipArchive.*",
    "platform/FileSystem*",
    "ppc/PPCAttachments.*",
    "ppc/PpcDocuments.*",
    "smtp/CurlConnection.*",
    "smtp/MailCheck.*",
    "smtp/Smtp*",
]

# Files below src/ that are not core: the windows, and the entry points of the programs.
NOT_CORE = ["*/forms/*", "*/main.cpp"]


def matches(name, patterns):
    return any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)


def shortfalls(files, sources):
    """Returns one line for each bar that is missed. `files` maps the name of each measured file, below src/, to its
    summary by llvm-cov; `sources` names those that must have been measured."""
    found = [f"{name}: not in any test program" for name in sorted(set(sources) - set(files))]
    found += [f"{pattern}: no such critical file" for pattern in CRITICAL_FILES
              if not any(matches(name, [pattern]) for name in files)]
    critical = {name: summary for name, summary in files.items() if matches(name, CRITICAL_FILES)}
    found += below("core", "lines", files.values(), CORE[0]) + below("core", "branches", files.values(), CORE[1])
    for name, summary in sorted(critical.items()):
        found += below(name, "lines", [summary], CRITICAL[0])
    return found + below("critical files", "branches", critical.values(), CRITICAL[1])


def below(name, kind, summaries, bar):
    covered, count = (sum(summary[kind][key] for summary in summaries) for key in ("covered", "count"))
    if 100 * covered >= bar * count:
        return []
    return [f"{name}: {covered} of {count} {kind} are covered, at least {bar} % are required"]
