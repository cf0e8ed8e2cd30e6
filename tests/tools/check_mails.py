#!/usr/bin/python3
"""Parses mails with Python's parser and compares them with what was meant.

    check_mails.py FOLDER

Each folder below FOLDER holds one mail, "message.eml", and what must be found in it: "subject", "organization"
(missing: no such header), "body" (exact bytes), and for the n-th attachment (from 0) "name-n", "file-n" and
"type-n". Prints one line for each thing that is wrong; the exit status is 0 when nothing is, and 1 otherwise.
"""

import email
import email.policy
import pathlib
import re
import sys

SINGLE_HEADERS = ["Date", "Message-ID", "From", "Reply-To", "To", "Subject", "MIME-Version", "Content-Type"]


def check_bytes(raw):
    """Yields where bytes and lines break RFC 5322 or 7bit encoding."""
    if any(byte > 126 or (byte < 32 and byte not in b"\r\n\t") for byte in raw):
        yield "a byte that is not printable ASCII"
    if not raw.endswith(b"\r\n"):
        yield "the last line has no end"
    if re.search(rb"\r(?!\n)|(?<!\r)\n", raw):
        yield "a line end that is not CR LF"
    if max(len(line) for line in raw.split(b"\r\n")) > 998:
        yield "a line over 998 bytes"
    for line in raw.split(b"\r\n\r\n")[0].split(b"\r\n"):
        if len(line) > 78:
            yield "a header line over 78 bytes: %r" % line
        if not line.strip():
            yield "a header line of blanks alone"


def check_headers(mail, expected):
    for name in SINGLE_HEADERS:
        if len(mail.get_all(name, [])) != 1:
            yield "%s is there %d times" % (name, len(mail.get_all(name, [])))
    if mail["Date"].datetime is None:
        yield "the date does not parse"
    wanted = expected("organization")
    found = mail.get_all("Organization", [])
    if [str(value) for value in found] != ([] if wanted is None else [wanted.decode()]):
        yield "organization %r instead of %r" % (found, wanted)
    if str(mail["Subject"]) != expected("subject").decode():
        yield "subject %r instead of %r" % (str(mail["Subject"]), expected("subject").decode())


def check_defects(mail):
    for part in mail.walk():
        for defect in part.defects:
            yield "defect: %r" % defect
        for name, value in part.items():
            for defect in value.defects:
                yield "defect in %s: %r" % (name, defect)


def check_attachments(parts, expected):
    number = 0
    for number, part in enumerate(parts, 1):
        index = "-%d" % (number - 1)
        if expected("name" + index) is None:
            yield "an attachment too many"
            return
        if part.get_filename() != expected("name" + index).decode():
            yield "name %r instead of %r" % (part.get_filename(), expected("name" + index).decode())
        if part.get_content_type() != expected("type" + index).decode():
            yield "type %r" % part.get_content_type()
        if part.get_payload(decode=True) != expected("file" + index):
            yield "attachment %d has other bytes" % number
        if part.get_content_disposition() != "attachment":
            yield "attachment %d is none" % number
    if expected("name-%d" % number) is not None:
        yield "an attachment is missing"


def check(folder):
    def expected(name):
        path = folder / name
        return path.read_bytes() if path.exists() else None

    raw = expected("message.eml")
    yield from check_bytes(raw)
    mail = email.message_from_bytes(raw, policy=email.policy.SMTP)
    yield from check_defects(mail)
    yield from check_headers(mail, expected)
    parts = list(mail.iter_parts()) if mail.is_multipart() else [mail]
    if parts[0].get_content_type() != "text/plain" or parts[0].get_content_charset() != "utf-8":
        yield "the body is no plain UTF-8 text"
    if parts[0].get_payload(decode=True) != expected("body"):
        yield "body %r instead of %r" % (parts[0].get_payload(decode=True), expected("body"))
    yield from check_attachments(parts[1:], expected)


def main():
    folders = sorted(path.parent for path in pathlib.Path(sys.argv[1]).glob("*/message.eml"))
    faults = ["%s: %s" % (folder.name, fault) for folder in folders for fault in check(folder)]
    print("\n".join(faults) or "%d mails are right" % len(folders))
    sys.exit(1 if faults or not folders else 0)


if __name__ == "__main__":
    main()
