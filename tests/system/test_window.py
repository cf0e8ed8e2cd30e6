"""The program with its window, on a real X server."""

import subprocess
import time
import unittest

from support import RoadTest
from xserver import XServer


class WindowTest(RoadTest):
    def setUp(self):
        super().setUp()
        self.make_site()

    def start_window(self, server, **more):
        """Starts the program without a switch; it is ended with the test."""
        environment = {**self.site.environment(), **server.environment(), **more}
        process = subprocess.Popen([self.site.program], env=environment, cwd=self.site.root,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   text=True)
        self.addCleanup(self.end, process)
        return process

    def wait_for_log(self, line, timeout=20):
        until = time.monotonic() + timeout
        while line not in self.site.log():
            self.assertLess(time.monotonic(), until, f"{line} did not come: {self.site.log()}")
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
        server = XServer(**how)
        server.__enter__()
        self.addCleanup(server.__exit__)
        return server


class Libraries(WindowTest):
    """What only windows need, only windows load."""

    WINDOW_ONLY = ("libQt6", "libxcb", "libX11", "libfieldpost-window", "libGL", "libfontconfig")

    def opened_by(self, *switches):
        trace = self.folder / "trace"
        process = self.site.start(*switches, under=("strace", "-f", "-e", "trace=openat,connect", "-o", str(trace)))
        process.communicate(timeout=60)
        return trace.read_text(errors="replace")

    def test_an_unattended_run_loads_none_of_it(self):
        for switch in ("-fc", "-fcs", "-fs", "-ps"):
            with self.subTest(switch=switch):
                trace = self.opened_by(switch)
                self.assertIn("libxml2", trace)
                for name in self.WINDOW_ONLY:
                    self.assertNotIn(name, trace)

    def test_a_start_without_a_switch_does(self):
        self.site.more_environment["QT_QPA_PLATFORM"] = "xcb"
        self.assertIn("libQt6Widgets", self.opened_by())


class NoDisplay(WindowTest):
    def test_one_clear_line_and_status_2(self):
        for name, environment in [("none", {}), ("dead", {"DISPLAY": ":4711"}),
                                  ("xcb asked for", {"QT_QPA_PLATFORM": "xcb"}),
                                  ("dead wayland", {"WAYLAND_DISPLAY": "wayland-9", "XDG_RUNTIME_DIR": "/nowhere"})]:
            with self.subTest(name):
                done = subprocess.run([self.site.program], env={**self.site.environment(), **environment},
                                      text=True, capture_output=True, timeout=60, check=False)
                self.assertEqual(2, done.returncode, done.stderr)
                self.assertRegex(done.stderr, r"^fieldpost: there is no display for its window\. .*-fcs.*\n$")
                self.assertEqual("", done.stdout)

    def test_nothing_was_touched(self):
        before = sorted(self.site.root.rglob("*"))
        self.assertEqual(2, self.site.run())
        self.assertEqual(before, sorted(self.site.root.rglob("*")))


class Guard(WindowTest):
    """A second copy gives way; the first does not notice."""

    def assert_second_copy_refused(self, server, first):
        second = self.start_window(server)
        box, = [window for window in self.windows_of(server, second) if window not in first]
        self.assertIn("_NET_WM_STATE_MODAL", server.run("xprop", "-id", box, "_NET_WM_STATE"))
        log = self.site.log()
        server.run("xdotool", "key", "--window", box, "Return")
        self.assert_ends_well(second)
        self.assertEqual(log, self.site.log())

    def windows_of(self, server, process):
        """The visible windows of a process, as soon as there is one."""
        return server.wait_for("Fieldpost", process=process.pid)

    def test_a_second_copy_ends_and_the_first_stays(self):
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

    def test_a_foreign_window_with_the_title_counts(self):
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
    def test_the_window_manager_can_close_it(self):
        server = self.start_x()
        process = self.start_window(server)
        window, = server.wait_for("Fieldpost", process=process.pid)
        server.run("xdotool", "windowfocus", "--sync", window, "key", "alt+F4")
        self.assert_ends_well(process)

    def test_so_can_its_menu(self):
        server = self.start_x()
        process = self.start_window(server)
        window, = server.wait_for("Fieldpost", process=process.pid)
        server.run("xdotool", "windowfocus", "--sync", window, "key", "alt+f", "key", "c")
        self.assert_ends_well(process)


if __name__ == "__main__":
    unittest.main()
