"""What the tests of losses share: sites on a file system in memory, where a state costs milliseconds."""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "road"))
from support import RoadTest  # noqa: E402

MEMORY = "/dev/shm"


class LossTest(RoadTest):
    """As RoadTest, on a file system in memory."""

    scratch = MEMORY
