"""What a machine may refuse to a test: namespaces, mounts, tracing, another user, memory.

A test asks here before it uses one of them. Where the machine refuses, the test is skipped with the reason.
"""

import functools
import os
import pwd
import shutil
import subprocess
import unittest

MEMORY = "/dev/shm"
ROOMY = 512 * 1024 * 1024


def mounting():
    """Returns the command under which a program may mount file systems that only itself and its children see."""
    command, reason = _mounting()
    if command is None:
        raise unittest.SkipTest(f"this machine lets nobody mount a file system: {reason}")
    return command


def may_mount():
    return _mounting()[0] is not None


def require_tracing(*tracer):
    """tracer: a command that traces another one."""
    reason = _refusal(*tracer, "true")
    if reason:
        raise unittest.SkipTest(f"this machine lets nobody trace a process: {reason}")


def require_user(name):
    """Asks for the right to start programs as another user."""
    account = pwd.getpwnam(name)
    reason = _refusal("true", user=account.pw_uid, group=account.pw_gid, extra_groups=())
    if reason:
        raise unittest.SkipTest(f"this machine lets no program run as {name}: {reason}")


def memory_folder():
    """A folder in memory with room for the sites of the tests; None, for the system's temporary folder, without."""
    roomy = os.access(MEMORY, os.W_OK | os.X_OK) and shutil.disk_usage(MEMORY).free > ROOMY
    return MEMORY if roomy else None


@functools.cache
def _mounting():
    """(command, "") or (None, why the machine refuses). Root may need no user namespace."""
    reasons = []
    for command in (("unshare", "--user", "--map-root-user", "--mount"), ("unshare", "--mount")):
        reason = _refusal(*command, "mount", "-t", "tmpfs", "none", "/tmp")
        if not reason:
            return command, ""
        reasons.append(reason)
    return None, reasons[0]


@functools.cache
def _refusal_of(command, identity):
    try:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60,
                              check=False, **dict(identity))
    except OSError as error:
        return str(error)
    return "" if done.returncode == 0 else (done.stderr.strip() or f"exit status {done.returncode}").splitlines()[-1]


def _refusal(*command, **identity):
    """Why a command does not succeed; empty when it does."""
    return _refusal_of(command, tuple(identity.items()))
