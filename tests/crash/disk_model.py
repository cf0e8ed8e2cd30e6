"""What a power cut can leave of a run: every distinct state of the disk that one recorded run allows.

A recorded run is a list of its file-changing system calls, each a dict:

    {"call": "create", "path": p, "mode": m, "truncated": b, "existed": b}
    {"call": "write", "path": p, "offset": n, "data": base64 text}
    {"call": "truncate", "path": p, "size": n}
    {"call": "rename" or "link", "path": p, "to": q}
    {"call": "unlink" or "rmdir", "path": p}
    {"call": "mkdir", "path": p, "mode": m}
    {"call": "chmod", "path": p, "mode": m}
    {"call": "fsync" or "syncfs", "path": p}

Others change nothing on the disk. A tree is a dict of paths to Nodes; the folder at its root is not in it.

The disk promises little: a name is durable once its folder was flushed (a new name of a file in two folders:
once both were), a content once its file was, everything once the file system was. A new name for a file is one
change: both of its names, or none. Permissions are durable at once: no entry hangs on them.
"""

import base64
import dataclasses
import hashlib
import posixpath
import typing


class Node(typing.NamedTuple):
    """A file, or with no content a folder."""

    mode: int
    content: typing.Optional[bytes] = None


@dataclasses.dataclass(eq=False)
class Inode:
    """A file or folder, by whatever name. `durable` is its content when it was last flushed."""

    mode: int
    content: typing.Optional[bytes]
    durable: typing.Optional[bytes]

    def torn(self):
        """Half of what was written since the last flush came to the disk."""
        if self.content.startswith(self.durable):
            return self.content[:(len(self.durable) + len(self.content)) // 2]
        return self.content[:len(self.content) // 2]


@dataclasses.dataclass(eq=False)
class NameChange:
    """What one call did to names: {path: inode, or None for a name that went}."""

    names: dict
    unflushed: set  # folders
    of_folder: bool


class DiskModel:
    """The disk under a run: what the program sees of it, and what of that is durable."""

    def __init__(self, root, tree):
        self.root = str(root)
        self.durable_names = {path: Inode(node.mode, node.content, node.content) for path, node in tree.items()}
        self.names = dict(self.durable_names)
        self.pending = []
        self.unflushed = {}  # inodes with content that is not durable, in the order of their first write

    def apply(self, call):
        """Returns whether anything on the disk below the root changed."""
        inside = [posixpath.normpath(call[key]) for key in ("path", "to") if self._is_inside(call.get(key))]
        if call["call"] == "symlink" or ("to" in call and len(inside) == 1):
            raise ValueError(f"nothing is known of a disk after {call}")
        handler = getattr(self, "_" + call["call"], None)
        if handler is None or (not inside and call["call"] != "syncfs"):
            return False
        handler(call, *inside)
        return True

    def durable_tree(self):
        """Returns the tree that is left when all that was not flushed is lost."""
        return self._tree([], {inode: inode.durable for inode in self.unflushed})

    def states(self):
        """Yields the trees that a power cut can leave now, some of them more than once."""
        contents = list(self.unflushed)
        whole = {inode: inode.content for inode in contents}
        lost = {inode: inode.durable for inode in contents}
        changes = [change for change in self.pending if change.unflushed]
        for kept in some_of(contents):
            yield self._tree(changes, {**lost, **{inode: inode.content for inode in kept}})
        for inode in contents:
            yield self._tree(changes, {**whole, inode: inode.torn()})
        for kept in some_of(changes):
            yield self._tree(kept, whole)
            yield self._tree(kept, lost)

    def _is_inside(self, path):
        return path is not None and f"{posixpath.normpath(path)}/".startswith(self.root + "/")

    def _tree(self, kept, contents):
        names = dict(self.durable_names)
        chosen = set(kept)
        folders_change = False
        for change in self.pending:
            if change in chosen or not change.unflushed:
                names.update(change.names)
            folders_change = folders_change or change.of_folder
        tree = {path: Node(inode.mode, contents.get(inode, inode.content))
                for path, inode in names.items() if inode is not None}
        return self._within_reach(tree) if folders_change else tree

    def _within_reach(self, tree):
        """Returns the tree without what lies in a missing folder."""
        reached = {}
        for path in sorted(tree):
            parent = posixpath.dirname(path)
            if parent == self.root or (parent in reached and reached[parent].content is None):
                reached[path] = tree[path]
        return reached

    def _change_names(self, names, of_folder=False):
        for path, inode in names.items():
            if inode is None:
                del self.names[path]
            else:
                self.names[path] = inode
        self.pending.append(NameChange(names, {posixpath.dirname(path) for path in names}, of_folder))

    def _set_content(self, inode, content):
        inode.content = content
        if content == inode.durable:
            self.unflushed.pop(inode, None)
        else:
            self.unflushed[inode] = None

    def _settle(self):
        """Makes the oldest changes of names final, as far as they are durable."""
        while self.pending and not self.pending[0].unflushed:
            for path, inode in self.pending.pop(0).names.items():
                if inode is None:
                    self.durable_names.pop(path, None)
                else:
                    self.durable_names[path] = inode

    def _create(self, call, path):
        inode = self.names.get(path)
        if inode is None:
            self._change_names({path: Inode(call["mode"], b"", b"")})
        elif call.get("truncated"):
            self._set_content(inode, b"")

    def _mkdir(self, call, path):
        self._change_names({path: Inode(call["mode"], None, None)}, of_folder=True)

    def _write(self, call, path):
        inode = self.names.get(path)
        if inode is None:
            return  # a file that has no name any more
        data, offset = base64.b64decode(call["data"]), call["offset"]
        before = inode.content[:offset].ljust(offset, b"\0")
        self._set_content(inode, before + data + inode.content[offset + len(data):])

    def _truncate(self, call, path):
        inode = self.names.get(path)
        if inode is not None:
            self._set_content(inode, inode.content[:call["size"]].ljust(call["size"], b"\0"))

    def _chmod(self, call, path):
        if path in self.names:
            self.names[path].mode = call["mode"]

    def _unlink(self, _, path):
        self._change_names({path: None})

    def _rmdir(self, _, path):
        self._change_names({path: None}, of_folder=True)

    def _rename(self, _, path, to):
        inode = self.names[path]
        if inode.content is None:
            raise ValueError(f"a folder got a new name: {path}")
        if inode is not self.names.get(to):
            self._change_names({path: None, to: inode})

    def _link(self, _, path, to):
        self._change_names({to: self.names[path]})

    def _fsync(self, _, path):
        inode = self.names.get(path)
        if inode is not None and inode.content is not None:
            inode.durable = inode.content
            self.unflushed.pop(inode, None)
            return
        for change in self.pending:
            change.unflushed.discard(path)
        self._settle()

    def _syncfs(self, *_):
        for inode in self.unflushed:
            inode.durable = inode.content
        self.unflushed.clear()
        self.durable_names = dict(self.names)
        self.pending.clear()


def some_of(items):
    """Yields all items, none, all but each one, and each one alone."""
    yield items
    yield []
    for item in items:
        yield [other for other in items if other is not item]
        yield [item]


class TreeHashes:
    """Hashes trees. ignored(path): whether the content of a file makes no difference."""

    def __init__(self, ignored):
        self.ignored = ignored
        self.known = {}

    def of(self, tree):
        total = 0
        for entry in tree.items():
            digest = self.known.get(entry)
            if digest is None:
                digest = self.known[entry] = self._digest(*entry)
            total += digest
        return total % (1 << 128)

    def _digest(self, path, node):
        content = b"" if node.content is not None and self.ignored(path) else node.content
        text = repr((path, node.mode, content)).encode()
        return int.from_bytes(hashlib.blake2b(text, digest_size=16).digest(), "big")


def distinct_states(root, tree, calls, ignored=lambda path: False, since=0):
    """Yields each (number of calls done, tree) that a power cut can leave after at least `since` calls.

    Each tree comes once, with the first number of calls that can leave it.
    """
    disk = DiskModel(root, tree)
    hashes = TreeHashes(ignored)
    made = set()
    for done, call in enumerate([{"call": "begin", "path": ""}, *calls]):
        if (not disk.apply(call) and done > since) or done < since:
            continue
        for state in disk.states():
            key = hashes.of(state)
            if key not in made:
                made.add(key)
                yield done, state


def without_flushes(calls):
    """Returns the calls of a run without its flushes."""
    return [call for call in calls if call["call"] not in ("fsync", "syncfs")]


def durable_trees(root, tree, calls):
    """Yields (number of calls done, durable tree) right after each flush."""
    disk = DiskModel(root, tree)
    for done, call in enumerate(calls, 1):
        disk.apply(call)
        if call["call"] in ("fsync", "syncfs"):
            yield done, disk.durable_tree()
