"""The program with its window, on a real X server."""

import subprocess
import time
import unittest

from capabilities import require_tracing
from support import SystemTest
from xserver import XServer


class WindowTest(SystemTest):
    def setUp(self):
        super().setUp()
        self.make_site()

    def start_window(self, server, **more):
        """Starts the program without a switch. It is killed at the end of the test."""
        environment = {**self.site.environment(), **server.environment(), **more}
        process = subprocess.Popen([self.site.program], env=environment, cwd=self.site.root,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   text=True)
        self.addCleanup(self.end, process)
        return process

    def wait_for_log(self, line, timeout=20):
        until = time.monotonic() + timeout
        while line not in self.site.log():
            self.assertLess(time.monotonic(), until, f"the log lacks {line}: {self.site.log()}")
            time.sleep(0.02)

    def assert_ends_well(self, process):
        _, said = process.communicate(timeout=20)
        self.assertEqual(0, process.returncode, said)

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
        if not process.stderr.closed:
            process.communicate()

    def start_x(self, **how):
        return self.enterContext(XServer(**how))


class Libraries(WindowTest):
    """An unattended run loads none of the libraries of the windows."""

    WINDOW_ONLY = ("libQt6", "libxcb", "libX11", "libfieldpost-window", "libGL", "libfontconfig")

    @classmethod
    def setUpClass(cls):
        require_tracing("strace", "-o", "/dev/null")

    def opened_by(self, *switches):
        trace = self.folder / "trace"
        process = self.site.start(*switches, under=("strace", "-f", "-e", "trace=openat,connect", "-o", str(trace)))
        process.communicate(timeout=60)
        return trace.read_text(errors="replace")

    def test_unattended_run_loads_none(self):
        for switch in ("-fc", "-fcs", "-fs", "-ps"):
            with self.subTest(switch=switch):
                trace = self.opened_by(switch)
                self.assertIn("libxml2", trace)
                for name in self.WINDOW_ONLY:
                    self.assertNotIn(name, trace)

    def test_start_without_a_switch_loads_them(self):
        self.site.more_environment["QT_QPA_PLATFORM"] = "xcb"
        self.assertIn("libQt6Widgets", self.opened_by())


class NoDisplay(WindowTest):
    def test_says_so_in_one_line_and_exits_with_2(self):
        for name, environment in [("none", {}), ("dead", {"DISPLAY": ":4711"}),
                                  ("xcb asked for", {"QT_QPA_PLATFORM": "xcb"}),
                                  ("dead wayland", {"WAYLAND_DISPLAY": "wayland-9", "XDG_RUNTIME_DIR": "/nowhere"})]:
            with self.subTest(name):
                done = subprocess.run([self.site.program], env={**self.site.environment(), **environment},
                                      text=True, capture_output=True, timeout=60, check=False)
                self.assertEqual(2, done.returncode, done.stderr)
                self.assertRegex(done.stderr, r"^fieldpost: there is no display for its window\. .*-fcs.*\n$")
                self.assertEqual("", done.stdout)

    def test_touches_nothing(self):
        before = sorted(self.site.root.rglob("*"))
        self.assertEqual(2, self.site.run())
        self.assertEqual(before, sorted(self.site.root.rglob("*")))


class Guard(WindowTest):
    """A second copy of the program says so and ends; the first one stays."""

    def assert_second_copy_refused(self, server, first):
        second = self.start_window(server)
        box, = [window for window in self.windows_of(server, second) if window not in first]
        self.assertIn("_NET_WM_STATE_MODAL", server.run("xprop", "-id", box, "_NET_WM_STATE"))
        log = self.site.log()
        server.run("xdotool", "key", "--window", box, "Return")
        self.assert_ends_well(second)
        self.assertEqual(log, self.site.log())

    def windows_of(self, server, process):
        """Waits until a process has a visible window. Returns all that it has."""
        return server.wait_for("Fieldpost", process=process.pid)

    def test_second_copy_ends_and_the_first_stays(self):
        for window_manager in (True, False):
            with self.subTest(window_manager=window_manager):
                server = self.start_x(window_manager=window_manager)
                first = self.start_window(server)
                windows = self.windows_of(server, first)
                self.assertEqual(1, len(windows))
                self.assert_second_copy_refused(server, windows)
                self.assertIsNone(first.poll())
                self.assertEqual(windows, self.windows_of(server, first))
                self.end(first)

    def test_other_program_with_the_title_counts(self):
        for title, refused in [("Fieldpost", True), ("Fieldpos", True), ("Fieldpost 2", False),
                               ("fieldpost", False)]:
            with self.subTest(title):
                server = self.start_x()
                foreign = server.start("xev", "-name", title)
                windows = server.wait_for(title)
                if refused:
                    self.assert_second_copy_refused(server, windows)
                else:
                    first = self.start_window(server)
                    self.windows_of(server, first)
                    self.wait_for_log("[Log File]")
                    self.end(first)
                foreign.terminate()
                foreign.wait(20)


class Closing(WindowTest):
    def test_by_the_window_manager(self):
        server = self.start_x()
        process = self.start_window(server)
        window, = server.wait_for("Fieldpost", process=process.pid)
        server.run("xdotool", "windowfocus", "--sync", window, "key", "alt+F4")
        self.assert_ends_well(process)

    def test_by_its_menu(self):
        server = self.start_x()
        process = self.start_window(server)
        window, = server.wait_for("Fieldpost", process=process.pid)
        server.run("xdotool", "windowfocus", "--sync", window, "key", "alt+f", "key", "c")
        self.assert_ends_well(process)


if __name__ == "__main__":
    unittest.main()
