"""What the tests of hostile input share: runs of the program that are watched for what they open, cost and log."""

import os
import pathlib
import re
import signal
import subprocess
import threading
import time

from crash_support import CrashTest
from capabilities import require_tracing
from support import Site

# What a run may cost at most, whatever it is fed. A program that is built to watch itself needs more.
MEGABYTES = 256
SECONDS = 10
INSTRUMENTED_FACTOR = 6

# What every program of the system opens; naming one of these in a file gains nothing.
SYSTEM = ("/usr/", "/lib", "/proc/self/", "/dev/null", "/dev/urandom", "/etc/ld.so.cache", "/etc/ld.so.preload",
          "/etc/localtime", "/etc/ssl/", "/sys/devices/system/cpu", "/sys/fs/cgroup", "/proc/sys/vm/",
          "/proc/meminfo", "/proc/stat", "/proc/cpuinfo")
CALLS = ("open,openat,openat2,creat,rename,renameat,renameat2,unlink,unlinkat,link,linkat,symlink,symlinkat,"
         "mkdir,mkdirat,truncate,chmod,fchmodat,connect,execve")
PATH_OF_CALL = re.compile(r'"((?:[^"\\]|\\.)*)"')


def is_instrumented(program):
    """Whether the program is built to watch its own memory."""
    return b"__asan_init" in pathlib.Path(program).read_bytes()


class Run:
    """What one watched run did."""

    def __init__(self, status, seconds, megabytes, printed, trace):
        self.status = status
        self.seconds = seconds
        self.megabytes = megabytes
        self.printed = printed
        self.trace = trace


class HostileTest(CrashTest):
    """Its runs may cost only so much, open only files of the site, and log only readable lines."""

    @classmethod
    def setUpClass(cls):
        require_tracing("strace", "-o", "/dev/null")

    def make_site(self, *arguments, **options):
        """Makes a site from which nothing of the one before is left."""
        self.site = Site(self.folder / "site")
        return super().make_site(*arguments, **options)

    def watched(self, *switches, limit=SECONDS, port=None):
        """Runs the program under a tracer. Fails when it takes too much time or memory, or opens what it may not.

        port: the only port that it may connect to.
        """
        trace = self.folder / "trace"
        under = ("strace", "-f", "-qq", "-s", "4096", "-e", f"trace={CALLS}", "-e", "signal=none",
                 "-o", str(trace))
        factor = INSTRUMENTED_FACTOR if is_instrumented(self.site.program) else 1
        began = time.monotonic()
        process = self.site.start(*switches, under=under)
        ended = threading.Timer(limit * factor, self.end_group, [process])
        ended.start()
        printed = process.stdout.read() + process.stderr.read()
        _, status, usage = os.wait4(process.pid, 0)
        ended.cancel()
        process.returncode = os.waitstatus_to_exitcode(status)
        process.stdout.close()
        process.stderr.close()
        run = Run(process.returncode, time.monotonic() - began, usage.ru_maxrss / 1024, printed,
                  trace.read_text(encoding="utf-8", errors="surrogateescape"))
        self.assertLess(run.seconds, limit * factor, "seconds")
        self.assertLessEqual(run.megabytes, MEGABYTES * factor, "megabytes")
        self.assert_opens_its_own_alone(run, port)
        return run

    @staticmethod
    def end_group(process):
        """Kills the tracer and what it traces."""
        children = subprocess.run(["ps", "--ppid", str(process.pid), "-o", "pid="], capture_output=True,
                                  text=True, check=False).stdout.split()
        for pid in [*map(int, children), process.pid]:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass

    def assert_opens_its_own_alone(self, run, port=None):
        """Fails when a run opened a file beside the site's and the system's, or connected to another port."""
        program = pathlib.Path(self.site.program).resolve().parent.parent
        own = (str(self.site.root) + "/", str(program) + "/")
        seen = 0
        for line in run.trace.splitlines():
            call = line.split(None, 1)[1]
            if call.startswith(("<...", "+++")):
                continue
            if call.startswith("connect("):
                self.assertIn(f"htons({port})", call)
                continue
            for path in PATH_OF_CALL.findall(call.split(" = ")[0] if not call.startswith("execve") else ""):
                seen += 1
                whole = os.path.normpath(os.path.join(self.site.root, path))
                self.assertTrue((whole + "/").startswith((*own, *SYSTEM)), line)
        self.assertGreater(seen, 0, "the tracer saw nothing")

    def errors_about(self, log, name):
        """Returns the "[Error]:" lines that name a file."""
        return [line for line in log if line.startswith("[Error]:") and name in line]

    def assert_readable(self, log):
        """No line holds a control character or is too long to read."""
        for line in log:
            self.assertEqual([], [c for c in line if ord(c) < 32 or 127 <= ord(c) < 160], line)
            self.assertLess(len(line), 5000)
