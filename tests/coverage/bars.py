"""What coverage is asked for, and of which code."""

# Percent of lines and percent of branches; a branch is one outcome, true or false, of one condition in the source.
CORE = (98, 90)
# Code that moves, merges, marks or sends. A file is asked for all its lines, and all these files together for branches.
CRITICAL = (100, 95)

CRITICAL_FILES = [
    "archive/ArchiveDeletion.*",
    "common/SealedFields.*",
    "faultlog/CombinedDocument.*",
    "faultlog/FaultloggerFile.*",
    "faultlog/FilingBatch.*",
    "faultlog/FilingJournal.*",
    "faultlog/LatestScan.*",
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
    "smtp/MailCheck.*",
    "smtp/Smtp*",
]

# Below src/, what is not core: the windows, and the starts of the programs.
NOT_CORE = ["*/forms/*", "*/main.cpp"]
