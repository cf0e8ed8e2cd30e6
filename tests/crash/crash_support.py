"""What the crash tests share: sites in memory, and the tracer of the calls that change files."""

import os
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "system"))
from support import SystemTest  # noqa: E402  (makes tests/tools importable)
from capabilities import memory_folder, require_tracing  # noqa: E402

MEMORY = memory_folder()
BUILD = pathlib.Path(os.environ.get("FIELDPOST_BUILD", HERE.parent.parent / "build"))
CALL_TRACER = str(BUILD / "tests" / "call_tracer")

# How the tracer ends.
KILLED = 137
ENDED_BEFORE = 100


def require_call_tracer():
    """Skips the test where the machine lets nobody trace a process."""
    require_tracing(CALL_TRACER, "--count", "/dev/null", "--")


class CrashTest(SystemTest):
    """Its sites lie in memory, where a run of the program costs milliseconds."""

    scratch = MEMORY
