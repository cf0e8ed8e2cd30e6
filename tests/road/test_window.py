"""The program with its window, on a real X server."""

import os
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


if __name__ == "__main__":
    unittest.main()
