"""The disk model: the states that it leaves of a run."""

import base64
import unittest

from disk_model import DiskModel, Node, distinct_states, durable_trees, without_flushes

ROOT = "/d"


def calls_of(text):
    """Returns calls given as text: "create a, write a xy, write a xy 3" (at offset 3), "rename a b", ..."""
    calls = []
    for line in text.split(","):
        name, *words = line.split()
        call = {"call": name, "path": f"{ROOT}/{words[0]}" if words else ROOT, "mode": 0o600}
        if name in ("rename", "link"):
            call["to"] = f"{ROOT}/{words[1]}"
        elif name == "write":
            call.update(data=base64.b64encode(words[1].encode()).decode(),
                        offset=int(words[2]) if words[2:] else 0)
        elif name == "truncate":
            call["size"] = int(words[1])
        elif name == "empty":
            call.update(call="create", truncated=True, existed=True)
        calls.append(call)
    return calls


def tree_of(text):
    """Returns a tree given as text: "f/ f/a=content b="."""
    tree = {}
    for word in text.split():
        path, is_file, content = word.partition("=")
        tree[f"{ROOT}/{path.rstrip('/')}"] = Node(0o600, content.encode() if is_file else None)
    return tree


def text_of(tree):
    return " ".join(f"{path[len(ROOT) + 1:]}" + ("/" if node.content is None else f"={node.content.decode()}")
                    for path, node in sorted(tree.items()))


def states_at_end(start, trace):
    disk = DiskModel(ROOT, tree_of(start))
    for call in calls_of(trace):
        disk.apply(call)
    return {text_of(tree) for tree in disk.states()}


class StatesAtTheEnd(unittest.TestCase):
    TABLE = [
        # name, start, trace, states
        ("nothing done", "a=1", "close a", {"a=1"}),
        ("a new file: no name, or any content", "", "create a, write a xy", {"", "a=", "a=x", "a=xy"}),
        ("its content flushed, its name not", "", "create a, write a xy, fsync a", {"", "a=xy"}),
        ("its name flushed, its content not", "", "create a, write a xy, fsync", {"a=", "a=x", "a=xy"}),
        ("both flushed", "", "create a, write a xy, fsync a, fsync", {"a=xy"}),
        ("all flushed at once", "", "create a, write a xy, syncfs", {"a=xy"}),
        ("all flushed at another file system's call", "", "create a, write a xy, syncfs nothing", {"a=xy"}),
        ("flushed is what was there at the flush", "", "create a, write a x, syncfs, write a yz 1",
         {"a=x", "a=xy", "a=xyz"}),
        ("written over", "a=12", "write a xy", {"a=12", "a=x", "a=xy"}),
        ("emptied and written", "a=12", "empty a, write a xy", {"a=12", "a=x", "a=xy"}),
        ("cut off", "a=1234", "truncate a 2", {"a=1234", "a=1", "a=12"}),
        ("made longer", "a=1", "truncate a 2", {"a=1", "a=1\0"}),
        ("written beyond its end", "a=1", "write a x 2, fsync a", {"a=1\0x"}),
        ("opened and left as it was", "a=1", "create a", {"a=1"}),
        ("removed", "a=1", "unlink a", {"a=1", ""}),
        ("removed for good", "a=1", "unlink a, fsync", {""}),
        ("a new name is one change", "a=1", "rename a b", {"a=1", "b=1"}),
        ("a new name over another", "a=1 b=2", "rename a b", {"a=1 b=2", "b=1"}),
        ("a new name without a flush of the content", "b=2", "create a, write a 13, rename a b",
         {"b=2", "b=", "b=1", "b=13", "a= b=2", "a=13 b=2"}),
        ("replaced as it should be", "b=2", "create a, write a 13, fsync a, rename a b, fsync", {"b=13"}),
        ("a second name", "a=1", "link a b, write b 2", {"a=1", "a=2", "a=1 b=1", "a=2 b=2", "a= b="}),
        ("a name that moves needs both folders", "f/ g/ f/a=1", "rename f/a g/a, fsync g",
         {"f/ f/a=1 g/", "f/ g/ g/a=1"}),
        ("both folders flushed", "f/ g/ f/a=1", "rename f/a g/a, fsync g, fsync f", {"f/ g/ g/a=1"}),
        ("a new file in the place of one that moved", "f/ g/ f/a=1",
         "rename f/a g/a, create f/a, write f/a 2, fsync f/a, fsync f", {"f/ f/a=2 g/", "f/ f/a=2 g/ g/a=1"}),
        ("a flush of one folder is none of another", "f/ g/ f/a=1 g/b=2", "unlink f/a, unlink g/b, fsync f",
         {"f/ g/", "f/ g/ g/b=2"}),
        ("a flush of a folder is none of those in it", "f/ f/a=1", "unlink f/a, fsync", {"f/", "f/ f/a=1"}),
        ("what lies in a lost folder is lost", "", "mkdir f, create f/a, write f/a 1, fsync f/a, fsync f",
         {"", "f/ f/a=1"}),
        ("a folder removed", "f/ f/a=1", "unlink f/a, rmdir f", {"", "f/", "f/ f/a=1"}),
        ("two names: none, all, one lost, one kept", "a=1 b=2 c=3", "unlink a, unlink b, unlink c",
         {"a=1 b=2 c=3", "", "a=1", "b=2", "c=3", "b=2 c=3", "a=1 c=3", "a=1 b=2"}),
        ("four names: no two lost and two kept", "a=1 b=2 c=3 d=4", "unlink a, unlink b, unlink c, unlink d",
         {"a=1 b=2 c=3 d=4", "", "a=1", "b=2", "c=3", "d=4",
          "b=2 c=3 d=4", "a=1 c=3 d=4", "a=1 b=2 d=4", "a=1 b=2 c=3"}),
        ("two contents", "a=1 b=2", "write a x, write b y", {"a=1 b=2", "a=x b=y", "a=x b=2", "a=1 b=y",
                                                             "a= b=y", "a=x b="}),
        ("a file removed while it was written", "a=1", "unlink a, write a x, fsync", {""}),
        ("calls outside the root", "a=1", "create ../e/x, write ../e/x y, unlink ../e/x", {"a=1"}),
    ]

    def test_states_that_a_power_cut_can_leave(self):
        for name, start, trace, expected in self.TABLE:
            with self.subTest(name):
                self.assertEqual(expected, states_at_end(start, trace))

    def test_unknown_changes_are_refused(self):
        for name, start, trace in [("a name from elsewhere", "", "rename ../e/a b"),
                                   ("a folder's new name", "f/", "rename f g"),
                                   ("a link to a name", "", "symlink a")]:
            with self.subTest(name), self.assertRaises(ValueError):
                states_at_end(start, trace)

    def test_permissions_are_durable_at_once(self):
        disk = DiskModel(ROOT, tree_of("a=1"))
        disk.apply({"call": "chmod", "path": f"{ROOT}/a", "mode": 0o644})
        self.assertEqual([{f"{ROOT}/a": Node(0o644, b"1")}], list(disk.states())[:1])


class DistinctStates(unittest.TestCase):
    def states(self, start, trace, **how):
        return [(done, text_of(tree))
                for done, tree in distinct_states(ROOT, tree_of(start), calls_of(trace), **how)]

    def test_each_once_with_the_first_number_of_calls(self):
        self.assertEqual([(0, "a=1"), (1, "a=1 b="), (2, "a=1 b=x"), (4, "b=x"), (4, "b="), (4, "")],
                         self.states("a=1", "create b, write b x, close b, unlink a"))

    def test_ignored_content_makes_no_state(self):
        self.assertEqual([(0, "a=1 log=")], self.states("a=1 log=", "write log x, write log y 1",
                                                        ignored=lambda path: path.endswith("log")))

    def test_a_flush_makes_no_new_state(self):
        trace = "create b, write b x, fsync b, fsync, unlink a"
        self.assertEqual([(0, "a=1"), (1, "a=1 b="), (2, "a=1 b=x"), (5, "b=x")], self.states("a=1", trace))

    def test_without_flushes(self):
        trace = calls_of("create b, write b x, fsync b, fsync, unlink a, syncfs")
        self.assertEqual(["create", "write", "unlink"], [call["call"] for call in without_flushes(trace)])
        left = {text_of(tree) for _, tree in distinct_states(ROOT, tree_of("a=1"), without_flushes(trace))}
        self.assertIn("", left)

    def test_states_after_a_call(self):
        self.assertEqual([(2, "a=1 b=x"), (2, "a=1 b="), (2, "a=1"), (3, "b=x"), (3, "b="), (3, "")],
                         self.states("a=1", "create b, write b x, unlink a", since=2))

    def test_durable_trees(self):
        trace = calls_of("create b, write b x, fsync b, write b y 1, fsync, unlink a, syncfs")
        self.assertEqual([(3, "a=1"), (5, "a=1 b=x"), (7, "b=xy")],
                         [(done, text_of(tree)) for done, tree in durable_trees(ROOT, tree_of("a=1"), trace)])

    def test_the_work_grows_linearly(self):
        for count in (10, 100):
            names = [f"n{i}" for i in range(count)]
            trace = ",".join(f"create {name},write {name} {name}" for name in names)
            disk = DiskModel(ROOT, {})
            for call in calls_of(trace):
                disk.apply(call)
            with self.subTest(count):
                self.assertLessEqual(len(list(disk.states())), 8 * count + 6)


if __name__ == "__main__":
    unittest.main()
