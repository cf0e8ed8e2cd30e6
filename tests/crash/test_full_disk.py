"""On a full disk nothing is damaged, one line says so, and the next run with enough room completes everything."""

import json
import subprocess
import unittest

from crash_support import HERE, CrashTest
from capabilities import mounting


class FullDisk(CrashTest):
    def test_completes_on_the_first_disk_with_enough_room(self):
        done = subprocess.run([*mounting(), "/usr/bin/python3", "-B", HERE / "full_disk.py", self.folder],
                              capture_output=True, text=True, timeout=120, check=False)
        self.assertEqual(0, done.returncode, done.stderr)
        result = json.loads(done.stdout)
        print(f"full disk: {result['tried']} sizes, {result['enough']} with room for all")
        self.assertEqual([], result["found"][:20], f"{len(result['found'])} faults")
        self.assertEqual(4, result["enough"], "some run never had room enough")
        self.assertGreater(result["tried"], 20)


if __name__ == "__main__":
    unittest.main()
