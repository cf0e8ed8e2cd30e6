"""Builds a copy of the tree that contains every mutant."""

import dataclasses
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

import critical
import mutated
import points

sys.path.insert(0, str(points.TESTS / "tools"))
import tree  # noqa: E402

FOLDER = tree.ROOT / "build" / "mutants"
COPY = FOLDER / "tree"
BUILD = COPY / "build"
MODULES = ("faultlog", "outbox", "smtp", "ppc", "environment", "options")
PROGRAMS = [f"{module}_tests" for module in (*MODULES, "shell", "platform")]
LIBRARIES = [f"fp_{module}" for module in (*MODULES, "platform")]
REPLACING = tuple(f"FileSystem::{name}"
                  for name in ("SaveAtomically", "WriteReplacement", "ReplaceAll", "RemoveQuietly"))
NUMBERS_A_FILE = 1000
PLACE = re.compile(r"^\S*?(src/\S+?):(\d+):(\d+): +(error|.*required from)")


def sources():
    """The sources to be mutated, each with the functions that are mutated; no names stand for all functions."""
    found = [(path.as_posix(), ()) for path in tree.files(*(f"src/{module}" for module in MODULES))
             if path.suffix == ".cpp" and "forms" not in path.parts]
    return [*found, ("src/platform/FileSystem.cpp", REPLACING)]


class MutatedTree:
    """The copy of the tree, its mutants and its programs."""

    def __init__(self, jobs):
        self.jobs = jobs
        self.finders = {}  # of the files that were parsed in this run
        self.mutants = []
        self.dropped = self._read("dropped.json", {})  # key of a mutant that does not compile: True

    def remaining(self):
        return [one for one in self.mutants if one.key not in self.dropped]

    def make(self):
        self._copy()
        self._configure()
        self._find(self._read("points.json", {}))
        if self._compile(LIBRARIES).returncode != 0:
            if len(self.finders) < len(sources()):
                self._find({})
            while self._drop_what_does_not_compile():
                self._write()
        self._remember()
        self._compile(PROGRAMS, check=True)

    def _copy(self):
        """Copies only new and changed files, so that little is built again."""
        wanted = set()
        changed = {name for name, _ in sources()}
        for path in tree.files():
            wanted.add(path)
            if path.as_posix() not in changed or not (COPY / path).exists():
                _save(COPY / path, (tree.ROOT / path).read_bytes())
        _save(COPY / "src" / "Mutant.h", (tree.ROOT / "tests" / "mutants" / "Mutant.h").read_bytes())
        for path in tree.files("src", "tests", root=COPY):
            if path not in wanted and path.as_posix() != "src/Mutant.h":
                (COPY / path).unlink()

    def _configure(self):
        command = ["cmake", "--preset", "mutants", "--log-level=NOTICE"]
        if shutil.which("ccache"):
            command.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        done = subprocess.run(command, cwd=COPY, check=False, text=True, capture_output=True)
        if done.returncode != 0:
            raise SystemExit(done.stdout + done.stderr)

    def _find(self, known):
        """`known` contains the mutants that earlier runs found in unchanged sources."""
        commands = {one["file"]: one["command"] for one in json.loads((BUILD / "compile_commands.json").read_text())}
        self.finders, self.mutants = {}, []
        for order, (name, functions) in enumerate(sources()):
            if known.get(name, {}).get("stamp") == self._stamp(name):
                found = [points.Mutant(**one) for one in known[name]["mutants"]]
            else:
                arguments = _arguments(commands[str(COPY / name)])
                self.finders[name] = points.Finder(tree.ROOT / name, name, arguments, functions)
                found = self.finders[name].mutants
            for number, mutant in enumerate(found, order * NUMBERS_A_FILE):
                mutant.number = number
            self.mutants += found
        self._write()

    def _remember(self):
        of = {name: [] for name, _ in sources()}
        for mutant in self.mutants:
            of[mutant.file].append(dataclasses.asdict(mutant))
        known = {name: {"stamp": self._stamp(name), "mutants": found} for name, found in of.items()}
        _save(FOLDER / "points.json", json.dumps(known).encode())

    @staticmethod
    def _stamp(name):
        """A hash of everything that determines the mutants of a source, and the source that contains them."""
        order = [one for one, _ in sources()].index(name)
        parts = [(tree.ROOT / name).read_bytes(), b"%d" % order]
        parts += [pathlib.Path(one.__file__).read_bytes() for one in (critical, mutated, points)]
        parts.append((COPY / name).read_bytes() if (COPY / name).exists() else b"")
        return hashlib.sha256(b"\0".join(parts)).hexdigest()

    def _write(self):
        self.written = {name: finder.write(self.dropped) for name, finder in self.finders.items()}
        for name, written in self.written.items():
            _save(COPY / name, written.text)

    def _drop_what_does_not_compile(self):
        done = self._compile(LIBRARIES)
        if done.returncode == 0:
            return False
        sure, likely = set(), {}
        for name, line, column in _places(done.stdout, self.finders):
            keys, inserted = self.written[name].at(line, column, self.dropped)
            if inserted:
                sure.update(keys)
            likely.setdefault(name, keys)
        # Errors elsewhere mostly result from others: only the first is considered.
        found = sure or {key for keys in likely.values() for key in keys}
        if not found:
            raise SystemExit(done.stdout[-20000:] + done.stderr)
        self.dropped.update(dict.fromkeys(found, True))
        print(f"{len(found)} mutants do not compile and are ignored", flush=True)
        _save(FOLDER / "dropped.json", json.dumps(self.dropped, indent=0).encode())
        return True

    def _compile(self, targets, check=False):
        command = ["cmake", "--build", str(BUILD), f"-j{self.jobs}", "--target", *targets, "--", "-k", "0"]
        environment = {name: text for name, text in os.environ.items() if name not in ("MUTANT", "MUTANT_RECORD")}
        done = subprocess.run(command, check=False, text=True, capture_output=True, env=environment)
        if check and done.returncode != 0:
            raise SystemExit(done.stdout[-20000:] + done.stderr)
        return done

    @staticmethod
    def _read(name, otherwise):
        try:
            return json.loads((FOLDER / name).read_text())
        except (FileNotFoundError, ValueError):
            return otherwise


def _places(output, files):
    """The positions of the compiler's errors in these files; for an error in a header, the position that required it."""
    asked = None
    for line in output.splitlines():
        found = PLACE.match(line)
        if not found:
            continue
        place = (found[1], int(found[2]), int(found[3])) if found[1] in files else None
        if found[4] != "error":
            asked = place or asked
        elif place or asked:
            yield place or asked
            asked = None


def _arguments(command):
    words = command.split()
    wanted = [word for word in words if word.startswith(("-I", "-D", "-std"))]
    systems = [text for place, word in enumerate(words) if word == "-isystem" for text in (word, words[place + 1])]
    return ["-x", "c++", *(word.replace('\\"', '"') for word in wanted), *systems]


def _save(path, content):
    """Writes a file only when its content changes, so that it is not built again needlessly."""
    path = FOLDER / path
    if path.exists() and path.read_bytes() == content:
        return
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)
