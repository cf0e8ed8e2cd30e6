"""What the tests of losses share: sites on a file system in memory, where a state costs milliseconds, and the
tracer that stops the program at each call that changes a file."""

import os
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "system"))
from support import RoadTest  # noqa: E402

MEMORY = "/dev/shm"
BUILD = pathlib.Path(os.environ.get("FIELDPOST_BUILD", HERE.parent.parent / "build"))
CALL_TRACER = str(BUILD / "tests" / "call_tracer")

# How the tracer ends.
KILLED = 137
ENDED_BEFORE = 100


class LossTest(RoadTest):
    """As RoadTest, on a file system in memory."""

    scratch = MEMORY
