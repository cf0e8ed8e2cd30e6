"""Reads and writes trees of files and folders."""

import os
import pathlib
import stat

from disk_model import Node

LARGE = 64 * 1024


def read_tree(root):
    """Returns the tree below a folder, as the disk model has it. Anything but files and folders is a ValueError."""
    tree = {}
    for folder, folders, files in os.walk(root):
        for name in folders + files:
            path = os.path.join(folder, name)
            mode = os.lstat(path).st_mode
            if stat.S_ISDIR(mode):
                tree[path] = Node(stat.S_IMODE(mode))
            elif stat.S_ISREG(mode):
                tree[path] = Node(stat.S_IMODE(mode), pathlib.Path(path).read_bytes())
            else:
                raise ValueError(f"neither a file nor a folder: {path}")
    return tree


class TreeWriter:
    """Replaces a folder's content by a tree, again and again.

    Large files are hard links to one copy each: the program never writes in place, except to the log and the registry,
    which are small.
    """

    def __init__(self, root, store):
        self.root = str(root)
        self.store = pathlib.Path(store)
        self.copies = {}
        self.store.mkdir()

    def write(self, tree):
        self._empty(self.root)
        for path in sorted(tree):
            mode, content = tree[path]
            if content is None:
                os.mkdir(path, mode)
            elif len(content) >= LARGE:
                os.link(self._copy(mode, content), path)
            else:
                self._write_file(path, mode, content)

    def _copy(self, mode, content):
        if (mode, content) not in self.copies:
            path = str(self.store / str(len(self.copies)))
            self._write_file(path, mode, content)
            self.copies[mode, content] = path
        return self.copies[mode, content]

    @staticmethod
    def _write_file(path, mode, content):
        number = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, mode)
        os.write(number, content)
        os.close(number)

    def _empty(self, folder):
        with os.scandir(folder) as entries:
            for entry in entries:
                if entry.is_dir(follow_symlinks=False):
                    self._empty(entry.path)
                    os.rmdir(entry.path)
                else:
                    os.unlink(entry.path)
