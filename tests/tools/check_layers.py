#!/usr/bin/python3
"""Includes run one way between the rooms; operating-system headers stay in platform, Qt in the forms."""

import re
import sys

import tree

# A room may include its own headers and those of the rooms named here.
ALLOWED = {
    "common": set(),
    "platform": {"common"},
    "environment": {"common", "platform"},
    "mail": {"common", "platform", "environment"},
    "faultlog": {"common", "platform", "environment", "mail"},
    "ppc": {"common", "platform", "environment", "mail"},
    "archive": {"common", "platform", "environment", "mail", "faultlog", "ppc"},
    "shell": {"common", "platform", "environment", "mail", "faultlog", "ppc", "archive"},
}
# The options dialog offers the reachability test.
EXTRA_EDGES = {("environment/frmOptions", "archive/modMailServerPing.h")}

# Rooms in which a file that belongs to a form or window may include Qt.
FORM = re.compile(r"^(frm|Frm|MDI|CPrint|Widget|MessageBox|main$)")
SYSTEM = re.compile(r"^(sys|netinet|netdb|arpa|net|linux|xcb)(/|\.h)|^(unistd|fcntl|dirent|dlfcn|poll|pwd|grp|"
                    r"signal|sched|spawn|syslog|termios|pthread|ifaddrs|windows|winsock2?|ws2tcpip|winreg|"
                    r"shlobj|io|direct|process|iphlpapi|icmpapi)\.h$")
QT = re.compile(r"^Q[A-Z]|^Qt|^ui_")
INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')


def faults_in(path, text):
    """path: below src, with "/". Every include that is not allowed, as one line each."""
    room, _, rest = path.partition("/")
    if room not in ALLOWED:
        return [f"src/{path}: a room that check_layers.py does not know"]
    stem = rest.rsplit("/", 1)[-1].split(".")[0]
    faults = []
    for number, line in enumerate(text.splitlines(), 1):
        found = INCLUDE.match(line)
        if not found:
            continue
        quote, header = found.groups()
        where = f"src/{path}:{number}: includes {header}"
        target = header.split("/")[0]
        if QT.match(header):
            if not FORM.match(stem):
                faults.append(f"{where}: Qt belongs to the forms")
        elif SYSTEM.match(header):
            if room != "platform":
                faults.append(f"{where}: headers of the operating system belong to src/platform")
        elif quote == '"' and target not in ALLOWED:
            faults.append(f"{where}: name the room, as in \"{room}/{header}\"")
        elif target in ALLOWED and target != room and target not in ALLOWED[room]:
            if (f"{room}/{stem}", header) not in EXTRA_EDGES:
                faults.append(f"{where}: {room} may not know {target}")
    return faults


def main():
    faults = []
    for path in tree.files("src"):
        if path.suffix in (".h", ".cpp"):
            below = path.relative_to("src").as_posix()
            faults += faults_in(below, (tree.ROOT / path).read_text(encoding="utf-8"))
    return tree.report(faults)


if __name__ == "__main__":
    sys.exit(main())
