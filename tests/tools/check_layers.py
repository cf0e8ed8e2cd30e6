#!/usr/bin/python3
"""Checks includes: none upward between modules (src/modules.txt), system headers in platform alone, Qt in forms/."""

import re
import sys

import modules
import tree

SYSTEM = re.compile(r"^(sys|netinet|netdb|arpa|net|linux|xcb)(/|\.h)|^(unistd|fcntl|dirent|dlfcn|poll|pwd|grp|"
                    r"signal|sched|spawn|syslog|termios|pthread|ifaddrs|windows|winsock2?|ws2tcpip|winreg|"
                    r"shlobj|io|direct|process|iphlpapi|icmpapi)\.h$")
QT = re.compile(r"^Q[A-Z]|^Qt|^ui_")
INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')


def faults_in(path, text):
    """Returns every forbidden include of a source as one line. path: below src, with "/"."""
    module = path.partition("/")[0]
    if module not in modules.ALLOWED:
        return [f"src/{path}: no module of src/modules.txt"]
    faults = []
    for number, line in enumerate(text.splitlines(), 1):
        found = INCLUDE.match(line)
        if not found:
            continue
        quote, header = found.groups()
        where = f"src/{path}:{number}: includes {header}"
        target = header.partition("/")[0]
        if QT.match(header):
            if not modules.is_form(path):
                faults.append(f"{where}: Qt belongs to forms/")
        elif SYSTEM.match(header):
            if module != "platform":
                faults.append(f"{where}: headers of the operating system belong to src/platform")
        elif target in modules.ALLOWED:
            if target != module and target not in modules.ALLOWED[module]:
                faults.append(f"{where}: {module} may not include {target}")
            elif modules.is_form(header) and not modules.is_form(path):
                faults.append(f"{where}: only forms may include a form")
        elif quote == '"':
            faults.append(f"{where}: name the module, as in \"{module}/{header}\"")
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
