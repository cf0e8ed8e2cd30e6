"""The program with its window, on a real X server."""

import subprocess
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

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
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


if __name__ == "__main__":
    unittest.main()
