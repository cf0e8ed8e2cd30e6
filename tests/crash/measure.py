#!/usr/bin/python3
"""Runs a program and writes its peak memory, in megabytes, to a file.

    measure.py FILE COMMAND...

A process inherits the peak of the process that starts it, so that a large test cannot measure a small program itself.
"""

import os
import sys

pid = os.posix_spawn(sys.argv[2], sys.argv[2:], os.environ)
_, status, usage = os.wait4(pid, 0)
with open(sys.argv[1], "w", encoding="utf-8") as file:
    file.write(str(usage.ru_maxrss / 1024))
sys.exit(os.waitstatus_to_exitcode(status) & 0xFF)
