"""The call tracer: which calls it counts, and that it kills or fails the one that it is told to."""

import base64
import errno
import json
import os
import pathlib
import signal
import socket
import subprocess
import threading
import unittest

from crash_support import CALL_TRACER, ENDED_BEFORE, KILLED, CrashTest, require_call_tracer

PROLOGUE = """
import os, sys
folder = sys.argv[1]
os.chdir(folder)
def make(name, text=b"old"):
    file = os.open(name, os.O_WRONLY | os.O_CREAT, 0o600)
    os.write(file, text)
    os.close(file)
"""

# What a program does, and the calls that are recorded: some fields of each.
CALLS = {
    "nothing": ("os.read(os.open('/etc/passwd', os.O_RDONLY), 10)", []),
    "a new file": ("make('a')", [
        {"call": "create", "path": "a", "mode": 0o600, "truncated": False, "existed": False},
        {"call": "write", "path": "a", "offset": 0, "data": b"old"},
        {"call": "close", "path": "a"}]),
    "emptied": ("open('there', 'wb', 0)", [
        {"call": "create", "path": "there", "mode": 0o644, "truncated": True, "existed": True},
        {"call": "close", "path": "there"}]),
    "at the end": ("f = os.open('there', os.O_WRONLY | os.O_APPEND); os.write(f, b'more')", [
        {"call": "create", "path": "there", "existed": True, "truncated": False},
        {"call": "write", "path": "there", "offset": 6, "data": b"more"}]),
    "here and there": ("f = os.open('there', os.O_RDWR); os.write(f, b'1'); os.write(f, b'2');"
                       "os.pwrite(f, b'45', 3); os.writev(f, [b'a', b'bc'])", [
        {"call": "create"},
        {"call": "write", "offset": 0, "data": b"1"}, {"call": "write", "offset": 1, "data": b"2"},
        {"call": "write", "offset": 3, "data": b"45"}, {"call": "write", "offset": 2, "data": b"abc"}]),
    "cut and grown": ("f = os.open('there', os.O_RDWR); os.ftruncate(f, 2); os.posix_fallocate(f, 0, 9);"
                      "os.truncate('there', 1)", [
        {"call": "create"}, {"call": "truncate", "path": "there", "size": 2},
        {"call": "truncate", "size": 9}, {"call": "truncate", "path": "there", "size": 1}]),
    "copied by the system": ("f = os.open('there', os.O_RDONLY); g = os.open('copy', os.O_RDWR | os.O_CREAT);"
                             "os.sendfile(g, f, 0, 3); os.copy_file_range(f, g, 2, 1)", [
        {"call": "create", "path": "copy"}, {"call": "write", "path": "copy", "offset": 0, "data": b"the"},
        {"call": "write", "path": "copy", "offset": 3, "data": b"he"}]),
    "names": ("os.rename('there', 'b'); os.link('b', 'c'); os.symlink('b', 'd'); os.unlink('c')", [
        {"call": "rename", "path": "there", "to": "b", "existed": False}, {"call": "link", "path": "b", "to": "c"},
        {"call": "symlink", "path": "d", "to": pathlib.Path("b")}, {"call": "unlink", "path": "c"}]),
    "names below an open folder": ("f = os.open('.', os.O_RDONLY); os.rename('there', 'b', src_dir_fd=f);"
                                   "os.unlink('b', dir_fd=f); os.mkdir('e', dir_fd=f); os.rmdir('e', dir_fd=f)", [
        {"call": "rename", "path": "there", "to": "b"}, {"call": "unlink", "path": "b"},
        {"call": "mkdir", "path": "e"}, {"call": "rmdir", "path": "e"}]),
    "folders": ("os.mkdir('e', 0o700); os.chmod('e', 0o750); os.rmdir('e')", [
        {"call": "mkdir", "path": "e", "mode": 0o700}, {"call": "chmod", "path": "e", "mode": 0o750},
        {"call": "rmdir", "path": "e"}]),
    "flushes": ("f = os.open('there', os.O_RDONLY); g = os.open('.', os.O_RDONLY); os.fsync(f); os.fdatasync(f);"
                "os.fsync(g); os.sync()", [
        {"call": "fsync", "path": "there", "folder": False}, {"call": "fsync", "path": "there"},
        {"call": "fsync", "path": ".", "folder": True}, {"call": "syncfs", "path": pathlib.Path("/")}]),
    "a link to another name": ("os.symlink('there', 'd'); os.unlink('d')", [
        {"call": "symlink", "path": "d"}, {"call": "unlink", "path": "d"}]),
    "none on a disk": ("r, w = os.pipe(); os.write(w, b'x'); os.write(1, b'x'); os.write(2, b'x');"
                       "n = os.open('/dev/null', os.O_WRONLY); os.write(n, b'x'); os.close(n);"
                       "m = os.memfd_create('m'); os.write(m, b'x')", []),
    "those that fail": ("try: os.unlink('nobody')\nexcept OSError: pass\nos.unlink('there')", [
        {"call": "unlink", "path": "there", "n": 2}]),
    "of children and threads": ("import threading\nif os.fork() == 0:\n  os.mkdir('child'); os._exit(0)\nos.wait()\n"
                                "t = threading.Thread(target=os.mkdir, args=('thread',)); t.start(); t.join()\n"
                                "os.spawnlp(os.P_WAIT, 'mkdir', 'mkdir', 'program')", [
        {"call": "mkdir", "path": "child", "n": 1}, {"call": "mkdir", "path": "thread", "n": 2},
        {"call": "mkdir", "path": "program", "n": 3}]),
}

STEPS = "make('a'); os.rename('a', 'b'); os.unlink('there')"  # five calls


class CallTracer(CrashTest):
    @classmethod
    def setUpClass(cls):
        require_call_tracer()

    def setUp(self):
        super().setUp()
        self.record = self.folder / "record"
        self.work = self.folder / "work"

    def trace(self, program, *options):
        """Runs a program under the tracer, in a folder with one file. Returns the tracer's exit status."""
        subprocess.run(["rm", "-rf", self.work], check=True)
        self.work.mkdir()
        (self.work / "there").write_bytes(b"there\n")
        (self.work / "there").chmod(0o644)
        done = subprocess.run([CALL_TRACER, *options, "--", "/usr/bin/python3", "-BISc", PROLOGUE + program,
                               self.work], capture_output=True, text=True, timeout=60, check=False)
        self.printed = done.stdout + done.stderr
        return done.returncode

    def names(self):
        return {path.name for path in self.work.iterdir()}

    def lines(self):
        lines = [json.loads(line) for line in self.record.read_text().splitlines()]
        for line in lines:
            if "data" in line:
                line["data"] = base64.b64decode(line["data"])
        return lines

    def whole(self, expected):
        """Returns expected fields with whole paths: those given as text are relative to the folder."""
        return {key: os.path.normpath(self.work / value) if key in ("path", "to") and isinstance(value, str)
                else str(value) if isinstance(value, pathlib.Path) else value for key, value in expected.items()}

    def test_which_calls_are_recorded(self):
        for name, (program, expected) in CALLS.items():
            with self.subTest(name):
                self.assertEqual(0, self.trace(program, "--record", self.record), self.printed)
                found = self.lines()
                self.assertEqual([line["call"] for line in expected], [line["call"] for line in found])
                for want, line in zip(expected, found):
                    self.assertLessEqual(self.whole(want).items(), line.items())

    def test_attempts_are_recorded_when_asked_for(self):
        self.trace("try: os.unlink('nobody')\nexcept OSError: pass", "--attempts", "--record", self.record)
        (line,) = self.lines()
        self.assertEqual((1, "unlink", errno.ENOENT), (line["n"], line["call"], line["error"]))
        self.assertEqual(["ENOSPC", "EIO", "EACCES", "EROFS"], line["faults"])

    def test_the_calls_are_counted(self):
        count = self.folder / "count"
        for program, calls in [("pass", 0), (STEPS, 5), ("try: os.unlink('nobody')\nexcept OSError: pass", 1)]:
            with self.subTest(program):
                self.trace(program, "--count", count)
                self.assertEqual(calls, int(count.read_text()))

    def test_a_number_means_the_same_call_in_every_run(self):
        for name, (program, _) in CALLS.items():
            with self.subTest(name):
                self.trace(program, "--record", self.record)
                first = self.lines()
                self.trace(program, "--record", self.record)
                self.assertEqual(first, self.lines())

    def test_socket_calls_are_recorded_and_not_counted(self):
        with socket.create_server(("127.0.0.1", 0)) as server:
            def serve():
                connection, _ = server.accept()
                with connection:
                    connection.sendall(b"220 hello\r\n")
                    connection.recv(100)
            server_thread = threading.Thread(target=serve)
            server_thread.start()
            self.trace(f"import socket\ns = socket.create_connection(('127.0.0.1', {server.getsockname()[1]}))\n"
                       "os.mkdir('before'); s.recv(100); s.sendall(b'QUIT'); os.mkdir('after')",
                       "--record", self.record, "--socket-marks")
            server_thread.join()
        self.assertEqual([("mkdir", 1, None), ("recv", None, b"220 hello\r\n"), ("send", None, b"QUIT"),
                          ("mkdir", 2, None)],
                         [(line["call"], line.get("n"), line.get("data")) for line in self.lines()])

    def test_killed_before_each_call(self):
        left = [{"there"}, {"there", "a"}, {"there", "a"}, {"there", "a"}, {"there", "b"}]
        for number, names in enumerate(left, 1):
            with self.subTest(number):
                self.assertEqual(KILLED, self.trace(STEPS, "--kill", str(number)))
                self.assertEqual(names, self.names())
        self.assertEqual(ENDED_BEFORE, self.trace(STEPS, "--kill", "6"))
        self.assertEqual({"b"}, self.names())

    def test_exit_status(self):
        for program, options, status in [
                ("sys.exit(3)", ["--record", self.record], 3),
                ("os.mkdir('a'); sys.exit(3)", ["--kill", "2"], ENDED_BEFORE + 3),
                ("sys.exit(1)", ["--fault", "EIO", "--at", "1"], ENDED_BEFORE + 1),
                ("os.kill(os.getpid(), 9)", ["--record", self.record], 128 + signal.SIGKILL),
                ("os.spawnlp(os.P_WAIT, 'mkdir', 'mkdir', 'a'); os.mkdir('b')", ["--kill", "1"], KILLED)]:
            with self.subTest(program):
                self.assertEqual(status, self.trace(program, *options), self.printed)
        self.assertNotIn("b", self.names())

    def test_wrong_use(self):
        for options in [["--kill", "0"], ["--kill", "x"], ["--fault", "EIO"], ["--at", "1"], ["--from-then-on"],
                        ["--fault", "ENONE", "--at", "1"], ["--kill", "1", "--fault", "EIO", "--at", "1"]]:
            with self.subTest(options):
                self.assertEqual(2, self.trace("", *options))

    def test_one_call_fails_as_asked(self):
        trial = ("def trial(name, step):\n  try: print(name, step(), end=' ')\n"
                 "  except OSError as e: print(name, e.errno, end=' ')\n"
                 "make('a'); f = os.open('a', os.O_RDWR)\n"  # calls 1 to 4
                 "trial('w', lambda: os.write(f, b'12345678'))\ntrial('r', lambda: os.rename('there', 'b'))\n"
                 "trial('c', lambda: os.close(f))\ntrial('o', lambda: os.open('c', os.O_CREAT | os.O_WRONLY))\n")
        ok = "w 8 r None c None o 3"
        for fault, at, expected in [
                ("ENOSPC", 5, "w 28 r None c None o 3"), ("EIO", 6, "w 8 r 5 c None o 3"),
                ("EACCES", 6, "w 8 r 13 c None o 3"), ("EROFS", 8, "w 8 r None c None o 30"),
                ("EMFILE", 8, "w 8 r None c None o 24"), ("EXDEV", 6, "w 8 r 18 c None o 3"),
                ("short", 5, "w 4 r None c None o 3"), ("torn", 5, "w 5 r None c None o 3"),
                ("close", 7, "w 8 r None c 5 o 3"), ("EXDEV", 5, ok), ("close", 5, ok), ("short", 6, ok)]:
            with self.subTest(fault=fault, at=at):
                self.assertEqual(0, self.trace(trial, "--fault", fault, "--at", str(at)), self.printed)
                self.assertEqual(expected, self.printed.strip())
                written = 4 if fault in ("short", "torn") and at == 5 else 0 if fault == "ENOSPC" else 8
                self.assertEqual(b"12345678"[:written] or b"old", (self.work / "a").read_bytes())

    def test_half_of_a_list_of_buffers_is_written(self):
        self.trace("f = os.open('a', os.O_RDWR | os.O_CREAT); print(os.writev(f, [b'1234', b'56']))",
                   "--fault", "short", "--at", "2")
        self.assertEqual("2", self.printed.strip())
        self.assertEqual(b"12", (self.work / "a").read_bytes())

    def test_every_call_fails_from_then_on(self):
        steps = "".join(f"\ntry: {step}\nexcept OSError as e: print(e.errno, end=' ')"
                        for step in ("os.mkdir('a')", "os.mkdir('b')", "open('there').read()", "os.mkdir('c')",
                                     "open('c', 'w')", "open('there').read()"))
        for fault, at, expected in [("EIO", 1, "5 5 5 5"), ("EIO", 2, "5 5 5"), ("EMFILE", 4, "24 24")]:
            with self.subTest(fault=fault, at=at):
                self.trace(steps, "--fault", fault, "--at", str(at), "--from-then-on")
                self.assertEqual(expected, self.printed.strip())

    def test_interrupted_call_succeeds_the_next_time(self):
        self.trace("make('a')", "--attempts", "--record", self.record, "--fault", "EINTR", "--at", "1",
                   "--from-then-on")
        self.assertEqual([("create", errno.EINTR), ("create", None), ("write", errno.EINTR), ("write", None),
                          ("close", errno.EINTR)],
                         [(line["call"], line.get("error")) for line in self.lines()])


if __name__ == "__main__":
    unittest.main()
