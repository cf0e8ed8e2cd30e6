"""Takes pictures of every window on a real X server, light and dark, at 100 % and 200 %, for build/pictures."""

import os
import pathlib
import shutil
import subprocess
import unittest

import support  # noqa: F401  (makes tests/tools importable)
from xserver import XServer

PROGRAM = os.environ["FIELDPOST_TAKE_PICTURES"]
FOLDER = pathlib.Path(os.environ["FIELDPOST_PICTURES"])
WINDOWS = {"main", "main-windows", "archive-LargeIcons", "archive-Smallcons", "archive-List",
           "archive-Details", "archive-delete", "log", "xml", "xml-find", "help", "about", "sending", "ppc",
           *(f"options-{page}" for page in range(5))}


class Picture:
    """A line of the program that takes the pictures: name, width, height, mean brightness, number of colours."""

    def __init__(self, line):
        self.name, *numbers = line.split()
        self.width, self.height, self.brightness, self.colours = map(int, numbers)


class Pictures(unittest.TestCase):
    def take(self, palette, scale):
        folder = FOLDER / f"{palette}-{scale}00"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        with XServer(screen="3200x2400x24") as server:
            done = subprocess.run([PROGRAM, str(folder), palette],
                                  env={**server.environment(), "QT_SCALE_FACTOR": str(scale)}, text=True,
                                  capture_output=True, timeout=120, check=False)
        self.assertEqual(0, done.returncode, done.stderr)
        pictures = {picture.name: picture for picture in map(Picture, done.stdout.splitlines())}
        self.assertEqual(set(pictures), {path.stem for path in folder.glob("*.png")})
        return pictures

    def test_every_window(self):
        taken = {(palette, scale): self.take(palette, scale) for palette in ("light", "dark") for scale in (1, 2)}
        for name in sorted(WINDOWS):
            with self.subTest(name):
                for pictures in taken.values():
                    self.assertIn(name, pictures)
                    self.assertGreater(pictures[name].colours, 20)
                small, large = (taken["light", scale][name] for scale in (1, 2))
                self.assertEqual((2 * small.width, 2 * small.height), (large.width, large.height))
                self.assertLess(taken["dark", 1][name].brightness, 128)
                self.assertGreater(taken["light", 1][name].brightness, 128)


if __name__ == "__main__":
    unittest.main()
