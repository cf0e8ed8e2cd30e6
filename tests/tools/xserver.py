"""An X server in memory, for windows that need a real one."""

import os
import subprocess
import tempfile
import time


class XServer:
    """Runs from `with` to the end of it. display: its name. window_manager: whether openbox runs on it."""

    def __init__(self, window_manager=True, screen="1600x1200x24"):
        self.window_manager = window_manager
        self.screen = screen
        self.display = None
        self._processes = []

    def __enter__(self):
        self._folder = tempfile.TemporaryDirectory(prefix="fieldpost-x-")
        read, write = os.pipe()
        # Without -noreset it restarts when its last client leaves, and drops a client that connects just then.
        self._start(["Xvfb", "-displayfd", str(write), "-screen", "0", self.screen, "-nolisten", "tcp",
                     "-dpi", "96", "-noreset"], pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as pipe:
            number = pipe.readline().strip()
        if not number:
            raise RuntimeError("Xvfb did not start")
        self.display = f":{number}"
        if self.window_manager:
            self._start_openbox()
        return self

    def __exit__(self, *_):
        for process in reversed(self._processes):
            process.terminate()
            process.wait(20)
        self._folder.cleanup()

    def start(self, *command):
        """Starts a program on the display. It ends with the server at the latest."""
        return self._start(command)

    def _start(self, command, pass_fds=(), stdout=subprocess.DEVNULL):
        process = subprocess.Popen(command, env=self.environment(), pass_fds=pass_fds, stdin=subprocess.DEVNULL,
                                   stdout=stdout, stderr=subprocess.DEVNULL)
        self._processes.append(process)
        return process

    def _start_openbox(self):
        """Returns when openbox manages windows: then it runs its start-up command."""
        process = self._start(["openbox", "--sm-disable", "--startup", "echo ready"], stdout=subprocess.PIPE)
        with process.stdout:
            if b"ready\n" not in iter(process.stdout.readline, b""):  # it also tells what it misses
                raise RuntimeError("openbox did not start")

    def environment(self):
        """Returns the environment of a program with a window on this display."""
        result = {"PATH": os.environ.get("PATH", "/usr/bin:/bin"), "HOME": self._folder.name,
                  "XDG_RUNTIME_DIR": self._folder.name, "QT_QPA_PLATFORM": "xcb", "LANG": "C.UTF-8"}
        if self.display:
            result["DISPLAY"] = self.display
        return result

    def run(self, *command):
        """Runs a command on the display. Returns what it prints."""
        done = subprocess.run([str(word) for word in command], env=self.environment(), text=True,
                              capture_output=True, timeout=60, check=False)
        return done.stdout

    def windows(self, title, process=None):
        """Returns the ids of the visible windows with exactly this title, of one process or of all."""
        mine = ["--all", "--pid", str(process)] if process else []
        return self.run("xdotool", "search", "--onlyvisible", *mine, "--name", f"^{title}$").split()

    def wait_for(self, title, process=None, timeout=20):
        """Returns the ids of the visible windows with this title, as soon as there is one."""
        until = time.monotonic() + timeout
        while not (found := self.windows(title, process)):
            if time.monotonic() > until:
                raise RuntimeError(f"no window {title!r} came up; there are:\n"
                                   + self.run("xwininfo", "-root", "-tree"))
            time.sleep(0.02)
        return found
