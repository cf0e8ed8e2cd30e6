#!/usr/bin/python3
"""Checks that the help explains every message of the program and no other, lists every page, and has no dead links."""

import html
import html.parser
import re
import sys
import xml.etree.ElementTree

import tree

FOLDER = "docs/help"
PROJECT = "FPhelp.qhp"
MESSAGES = "messages.html"
# Whoever calls one of these speaks to the user, at once or in the end.
SPEAKERS = re.compile(r"\b(?:ShowMessage|AskYesNo|WriteLog|ShowStatus|SetLabel|Fail|FileError|SmtpError|PpcError|XmlError|"
                      r"LatestRefusal|MissingOption|PathNotFound)\(")
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
NAMED = re.compile(r'constexpr std::string_view (\w+) =\s*((?:"(?:[^"\\\n]|\\.)*"\s*)+);')
# What differs from case to case; the help writes "..." there.
HOLE = re.compile(r"\{[^{}]*\}|\\x[0-9A-Fa-f]{2}|\\[rnt0]")
WORD = re.compile(r"[A-Za-z]{3,}")
# The first cell of each row of the page of messages; the texts of a form.
EXPLAINED = re.compile(r"<tr><td><b>(.*?)</b></td>")
FORM_TEXT = re.compile(r"<string>([^<]*)</string>")
# A phrase of a message between names, numbers and punctuation, each of which may begin another text of the program.
PHRASE = re.compile(r"[A-Za-z][A-Za-z' -]*[A-Za-z]")
LINK = re.compile(r'\b(?:href|src)="([^"]*)"')
ANCHOR = re.compile(r'\b(?:name|id)="([^"]*)"')


class PlainText(html.parser.HTMLParser):
    def __init__(self, page):
        super().__init__()
        self.parts = []
        self.feed(page)

    def handle_data(self, data):
        self.parts.append(data)


def plain(page):
    return " ".join("".join(PlainText(page).parts).split())


def call_at(text, start):
    """Returns the arguments of the call whose opening bracket is just before `start`."""
    depth, i = 1, start
    while i < len(text) and depth:
        literal = LITERAL.match(text, i)
        if literal:
            i = literal.end()
            continue
        depth += {"(": 1, ")": -1}.get(text[i], 0)
        i += 1
    return text[start:i - 1]


def joined_literals(text):
    """Returns the texts of a piece of code; adjacent literals are one text."""
    return LITERAL.findall(re.sub(r'(?<!\\)"\s*\n\s*"', "", text))


def messages(source):
    """Returns what a source file says to the user."""
    source = re.sub(r'^\s*#.*$', "", source, flags=re.MULTILINE)
    named = {name: joined_literals(value) for name, value in NAMED.findall(source)}
    found = []
    for call in SPEAKERS.finditer(source):
        arguments = call_at(source, call.end())
        found += joined_literals(arguments)
        code = LITERAL.sub("", arguments)
        found += [text for name in re.findall(r"\b[A-Za-z]\w*\b", code) for text in named.get(name, [])]
    return found


def message_faults(path, source, book):
    """Returns the messages of a source file that the help lacks. book: the text of all pages."""
    faults = []
    for message in messages(source):
        for part in HOLE.split(message.replace('\\"', '"').replace("\\\\", "\\")):
            part = " ".join(part.split())
            if WORD.search(part) and part not in book:
                faults.append(f"{path}: the help does not tell of \"{part}\"")
    return sorted(set(faults))


def texts(path, source):
    """Returns every text of a source file or form, one a line."""
    if path.suffix == ".ui":
        return "\n".join(html.unescape(text) for text in FORM_TEXT.findall(source))
    source = re.sub(r"^\s*//.*$", "", source, flags=re.MULTILINE).replace("'\"'", "")
    return "\n".join(" ".join(HOLE.sub(" ", text).split()) for text in joined_literals(source))


def explanation_faults(page, program):
    """Returns the phrases of explained messages that the program lacks. page: that of messages; program: all its texts."""
    explained = html.unescape(" ... ".join(EXPLAINED.findall(page)))
    phrases = {" ".join(phrase.split()) for phrase in PHRASE.findall(re.sub("<[^>]*>", "", explained))}
    return [f"{FOLDER}/{MESSAGES}: no source contains \"{phrase}\"" for phrase in sorted(phrases)
            if WORD.search(phrase) and phrase not in program]


def link_faults(pages):
    """Returns every dead link. pages: their texts by their names."""
    anchors = {name: set(ANCHOR.findall(text)) for name, text in pages.items()}
    faults = []
    for name, text in sorted(pages.items()):
        for link in LINK.findall(text.replace("'", '"')):
            file, _, anchor = link.partition("#")
            target = file or name
            if target not in pages or (anchor and anchor not in anchors[target]):
                faults.append(f"{FOLDER}/{name}: the link {link} leads nowhere")
    return faults


def project_faults(project, pages):
    """Returns the faults of the project file. project: the text of the .qhp file."""
    root = xml.etree.ElementTree.fromstring(project)
    listed = [file.text for file in root.iter("file")]
    faults = [f"{FOLDER}/{name}: not in {PROJECT}" for name in sorted(set(pages) - set(listed))]
    faults += [f"{FOLDER}/{PROJECT}: there is no {name}" for name in sorted(set(listed) - set(pages))]
    contents = {section.get("ref").partition("#")[0] for section in root.iter("section")}
    faults += [f"{FOLDER}/{name}: not in the contents" for name in sorted(set(pages) - contents)
               if name.endswith(".html")]
    for element in [*root.iter("section"), *root.iter("keyword")]:
        file, _, anchor = element.get("ref").partition("#")
        if file not in pages or (anchor and anchor not in ANCHOR.findall(pages[file])):
            faults.append(f"{FOLDER}/{PROJECT}: {element.get('ref')} leads nowhere")
    return faults


def main():
    pages = {path.name: (tree.ROOT / path).read_text(encoding="utf-8")
             for path in tree.files(FOLDER) if path.name != PROJECT}
    book = " ".join(plain(text) for name, text in sorted(pages.items()) if name.endswith(".html"))
    faults = project_faults((tree.ROOT / FOLDER / PROJECT).read_text(encoding="utf-8"), pages)
    faults += link_faults(pages)
    program = []
    for path in tree.files("src"):
        if path.suffix not in (".cpp", ".h", ".ui"):
            continue
        source = (tree.ROOT / path).read_text(encoding="utf-8")
        program.append(texts(path, source))
        if path.suffix != ".ui":
            faults += message_faults(path, source, book)
    return tree.report(faults + explanation_faults(pages[MESSAGES], "\n".join(program)))


if __name__ == "__main__":
    sys.exit(main())
