#!/usr/bin/python3
"""A mail server on the loopback interface that misbehaves as it is told to.

    smtp_server.py --folder FOLDER [--mode MODE] [--fail-mail K] [--delay SECONDS] [--auth USER:PASSWORD]
                   [--tls starttls|implicit --cert PEM --key PEM]

It prints its port and a line end on standard output as soon as it can be connected to, and ends when its standard
input is closed: it never outlives the test that started it.

Into FOLDER it writes each mail that it accepts, before it says so to the client, and the dialogue as
"transcript.txt": lines "C: ..." and "S: ...", "C: (N bytes of data)", "-- connected", "-- tls" and "-- closed".

MODE is a name of misbehaviour.MODES. With --fail-mail it answers 451 to the end of the K-th mail, whatever the mode.
"""

import argparse
import collections
import dataclasses
import os
import pathlib
import ssl
import sys
import threading

from mail_sink import MailSink
from misbehaviour import MODES, as_usual, say
from smtp_session import ACCEPTED, PIECE, Session


@dataclasses.dataclass(frozen=True)
class Fault:
    """What breaks at one of the server's steps, counted from 0 over all its sessions.

    part: how much of what the server says there is still said, from 0 to 1. how: "close" (what was said arrives),
    "reset", or "stall".
    """

    step: int
    part: float
    how: str


@dataclasses.dataclass(frozen=True)
class Step:
    """kind: "said" for a line of the server's, "data" for a piece of the mail, "tls" within the handshake."""

    kind: str
    content: bytes

    @property
    def is_acceptance(self):
        """Whether the server says here that it has accepted a mail."""
        return self.content.startswith(ACCEPTED.encode())


class ScriptedSession(Session):
    """Does at each step what the server's script says, and breaks off where the server's fault strikes."""

    def __init__(self, server, connection):
        super().__init__(server, connection)
        self.encrypted = False
        self.offered = None  # (user, password) of the login that is tried, and both as they were sent

    @property
    def extensions(self):
        more = []
        if self.server.tls and not self.encrypted:
            more = ["STARTTLS"]
        elif self.server.requires_login:
            more = ["AUTH GSSAPI PLAIN LOGIN"]
        return ("SIZE 100000000", "8BITMIME", *more)

    def serve(self):
        if self.server.implicit:
            self.encrypt()
        super().serve()

    def encrypt(self):
        # Assigned before the handshake, so that stopping the server ends that too.
        self.connection = self.server.tls.wrap_socket(self.connection, server_side=True, do_handshake_on_connect=False)
        self.connection.do_handshake()
        self.encrypted = True
        self.server.note("-- tls")

    def step(self, name, *arguments):
        usual = super().step
        if name in ("EHLO", "HELO"):
            self.greeted(*arguments)
        if name == "login":
            self.offered = arguments
        if name == "end":
            self.server.has_mail.set()
        for action in self.server.actions_at(name):
            action(self, lambda: usual(name, *arguments))
        if name == "end":
            self.mail = None

    def pause(self):
        """Waits for the server's delay."""
        if self.server.stopping.wait(self.server.delay):
            raise ConnectionError

    def stall(self):
        self.server.stopping.wait()
        raise ConnectionError

    def say(self, *lines):
        content = b""
        for line in lines:
            self.server.note("S: " + line)
            said = Step("said", line.encode("latin-1") + b"\r\n")
            fault = self.server.reach(said)
            if fault:
                self.send(content)
                self.break_off(fault, said)
            content += said.content
        self.send(content)

    def break_off(self, fault, step):
        """Ends the session by a fault within a step."""
        if step.kind != "data":
            self.send(step.content[:round(fault.part * len(step.content))])
        if step.is_acceptance and fault.part == 1:
            self.server.mails[-1].answered = True
        self.server.struck.set()
        if fault.how == "stall":
            self.stall()
        if fault.how == "reset":
            self.reset()
        raise ConnectionError

    def more_data(self, before):
        size = self.server.piece
        content = self.receive(size - before % size) if size else self.receive_line()
        if not size or (before + len(content)) % size == 0:
            self.step("data piece", Step("data", b"" if size else content))
        return content

    def on_data_piece(self, piece):
        fault = self.server.reach(piece)
        if fault:
            self.break_off(fault, piece)

    def on_starttls(self, _):
        self.say("220 go ahead")
        if self.server.fault and self.server.fault.step == len(self.server.steps):
            flight = Step("tls", self.first_flight(self.receive()))
            self.break_off(self.server.reach(flight), flight)
        self.server.reach(Step("tls", b"the server's half of the handshake"))
        self.encrypt()

    def first_flight(self, hello):
        """Returns what the server says in the handshake to a client's greeting."""
        incoming, outgoing = ssl.MemoryBIO(), ssl.MemoryBIO()
        incoming.write(hello)
        try:
            self.server.tls.wrap_bio(incoming, outgoing, server_side=True).do_handshake()
        except ssl.SSLWantReadError:
            pass
        return outgoing.read()


class SmtpServer(MailSink):
    """A mail server that does what its script says (see misbehaviour), and breaks off where its fault strikes.

    piece: how many bytes of a mail are one step; None for a line. login: the "user:password" that it requires, or None.
    tls: an ssl.SSLContext to offer encryption with; implicit: encrypted from the start. delay: of the script, in
    seconds.

    steps: what the server has gone through so far. has_mail is set once a mail was read whole, struck once the fault
    has struck; the test sets released for the action `hold`.
    """

    session = ScriptedSession

    def __init__(self, script=None, *, fault=None, piece=PIECE, login=None, tls=None, implicit=False, delay=0,
                 folder=None):
        super().__init__(folder)
        self.script = script or {}
        self.fault = fault
        self.piece = piece
        self.login = login
        self.tls = tls
        self.implicit = implicit
        self.delay = delay
        self.steps = []
        self.has_mail = threading.Event()
        self.struck = threading.Event()
        self.released = threading.Event()
        self._times = collections.Counter()
        self._lock = threading.Lock()

    @property
    def requires_login(self):
        return self.login is not None

    def accepts(self, login):
        return not self.requires_login or ":".join(login) == self.login

    def heal(self):
        """From here on no fault strikes. Returns the mails that were accepted so far."""
        mails, self.mails, self.fault = self.mails, [], None
        return mails

    def stop(self):
        self.released.set()
        super().stop()

    def times(self, name):
        """How often the sessions have reached a step."""
        return self._times[name]

    def actions_at(self, name):
        """What a session does at the step that it has reached."""
        with self._lock:
            self._times[name] += 1
            return self.script.get((name, self._times[name])) or self.script.get(name) or [as_usual]

    def reach(self, step):
        """Notes the step that a session has reached. Returns the fault that strikes there, or None."""
        with self._lock:
            self.steps.append(step)
            return self.fault if self.fault and self.fault.step == len(self.steps) - 1 else None


class TranscribingServer(SmtpServer):
    """Writes the dialogue into its folder, too."""

    def __init__(self, folder, *arguments, **options):
        super().__init__(*arguments, folder=folder, **options)
        self.transcript = open(pathlib.Path(folder) / "transcript.txt", "w", encoding="utf-8", errors="replace",
                               buffering=1)

    def note(self, line):
        self.transcript.write(line + "\n")


def parse_arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("--folder", required=True)
    parser.add_argument("--mode", choices=MODES, default="ok", metavar="MODE")
    parser.add_argument("--fail-mail", type=int, default=0)
    parser.add_argument("--auth")
    parser.add_argument("--tls", choices=["starttls", "implicit"])
    parser.add_argument("--cert")
    parser.add_argument("--key")
    parser.add_argument("--delay", type=float, default=0.0)
    return parser.parse_args()


def main():
    given = parse_arguments()
    script = {**MODES[given.mode], ("end", given.fail_mail): [say("451 4.3.0 not now")]}
    tls = None
    if given.tls:
        tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        tls.load_cert_chain(given.cert, given.key)
    server = TranscribingServer(given.folder, script, login=given.auth, tls=tls, implicit=given.tls == "implicit",
                                delay=given.delay).start()
    print(server.port, flush=True)
    sys.stdin.read()
    os._exit(0)  # whatever the sessions are waiting for


if __name__ == "__main__":
    main()
