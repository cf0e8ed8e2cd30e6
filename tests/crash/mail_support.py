"""What the tests of lying mail servers share: certificates, servers on one thread, small sites to mail from."""

import argparse
import asyncio
import base64
import dataclasses
import email
import itertools
import logging
import pathlib
import re
import socket
import ssl
import struct
import subprocess
import sys
import threading

from loss_support import LossTest
from support import SENDER, Site

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tools"))
import smtp_server  # noqa: E402

logging.getLogger("asyncio").setLevel(logging.ERROR)
USER, PASSWORD = "collector", "Kn0rke-7391 Wort"
LOGIN = f"{USER}:{PASSWORD}"
# The password as it is written in settings, as it is asked for, and as it goes with a login.
SECRETS = [PASSWORD.encode(), base64.b64encode(PASSWORD.encode()).rstrip(b"="),
           base64.b64encode(f"\0{USER}\0{PASSWORD}".encode()).rstrip(b"=")]
# A connection with this SO_LINGER is reset when it is closed.
RESET = struct.pack("ii", 1, 0)


class Certificates:
    """Authorities and certificates of a test's own, as PEM files in a folder."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)

    def path(self, name):
        return str(self.folder / name)

    def openssl(self, *arguments, moment=None):
        clock = ["faketime", "-f", f"@{moment}"] if moment else []
        subprocess.run([*clock, "openssl", *arguments], cwd=self.folder, check=True, capture_output=True)

    def authority(self, name, subject="/CN=Test authority"):
        """Makes NAME.pem and NAME.key, signed by itself."""
        self.openssl("req", "-x509", *self.new_key(name), "-subj", subject, "-days", "2", "-out", f"{name}.pem",
                     "-addext", "basicConstraints=critical,CA:TRUE")

    def make(self, name, names="IP:127.0.0.1", signer="authority", moment=None):
        """Makes NAME.pem and NAME.key for `names`, valid for two days from `moment` on, or from now.

        signer: an authority; None for one that signs itself.
        """
        (self.folder / f"{name}.names").write_text(f"subjectAltName={names}\n")
        self.openssl("req", *self.new_key(name), "-subj", f"/CN={name}", "-out", f"{name}.csr")
        by = ("-signkey", f"{name}.key") if signer is None else ("-CA", f"{signer}.pem", "-CAkey", f"{signer}.key")
        self.openssl("x509", "-req", "-in", f"{name}.csr", *by, "-set_serial", "7", "-days", "2", "-extfile",
                     f"{name}.names", "-out", f"{name}.pem", moment=moment)

    @staticmethod
    def new_key(name):
        return ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", f"{name}.key")

    def context(self, name):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(self.path(f"{name}.pem"), self.path(f"{name}.key"))
        return context


class ServerThread:
    """A thread on which any number of servers listen."""

    def __init__(self):
        self.sessions = {}
        self.loop = asyncio.new_event_loop()
        self.loop.set_exception_handler(lambda *_: None)
        self.thread = threading.Thread(target=self.loop.run_forever, daemon=True)
        self.thread.start()

    def listen(self, server, **how):
        """Lets a server listen on a free port of this machine; returns the port."""
        sessions = self.sessions[server] = []

        async def connected(reader, writer):
            sessions.append((asyncio.current_task(), writer))
            await server.connected(reader, writer)

        async def listen():
            server.listener = await asyncio.start_server(connected, "127.0.0.1", 0, limit=4 * smtp_server.PIECE,
                                                         **how)
            return server.listener.sockets[0].getsockname()[1]
        return asyncio.run_coroutine_threadsafe(listen(), self.loop).result(30)

    def close(self, server):
        """Ends a server with all its sessions."""
        def close():
            server.listener.close()
            for task, writer in self.sessions.pop(server):
                writer.transport.abort()
                task.cancel()
        self.loop.call_soon_threadsafe(close)

    def end(self):
        self.loop.call_soon_threadsafe(self.loop.stop)
        self.thread.join(30)


class MailSite(Site):
    """A site that needs no registry: the program's own folder is its installation path."""

    def __init__(self, root, port, **options):
        super().__init__(root)
        self.suite = self.home
        self.latest = [self.faultlog / "Latest"]
        self.latest[0].mkdir(parents=True)
        self.home.chmod(0o700)
        self.set_options(SMTPServer="127.0.0.1", SMTPPort=str(port), SenderAddress=SENDER, PartnerID="4711",
                         NumAttachments="4", UseZip="False", TryCount="1", Timeout="10")
        self.set_options(**options)


def secrets_in(site):
    """Where the password is to be found but should not: names of files of the site, and what the program printed."""
    found = [str(path) for path in site.root.rglob("*") if path.is_file() and path.name != "Options.ini"
             and any(secret in path.read_bytes() for secret in SECRETS)]
    printed = site.printed.encode("utf-8", "surrogateescape")
    return found + (["printed"] if any(secret in printed for secret in SECRETS) else [])


def run_through_time(site, *switches, begin, step=700):
    """Runs the program to its end. Once `begin` is set, `step` seconds pass for it in a twentieth of one.

    Returns its exit status.
    """
    clock = site.root / "clock"
    clock.write_text("+0")
    process = site.start(*switches, under=(
        "faketime", "-f", "+0", "env", "-u", "FAKETIME", f"FAKETIME_TIMESTAMP_FILE={clock}", "FAKETIME_NO_CACHE=1"))
    begin.wait(30)
    for seconds in itertools.count(step, step):
        (site.root / "clock.new").write_text(f"+{seconds}s")
        (site.root / "clock.new").rename(clock)
        try:
            site.printed = "".join(process.communicate(timeout=0.05))
            return process.returncode
        except subprocess.TimeoutExpired:
            if seconds > 1000 * step:
                process.kill()
                process.communicate()
                raise


@dataclasses.dataclass
class Kept:
    """A mail that a server has, and whether its program was told so with a whole line."""

    content: bytes
    answered: bool = False

    @property
    def message_id(self):
        return re.search(rb"\r\nMessage-ID: (\S+)\r\n", self.content)[1].decode()

    @property
    def attachments(self):
        message = email.message_from_bytes(self.content)
        return [part.get_payload(decode=True) for part in message.walk() if part.get_filename()]


@dataclasses.dataclass(frozen=True)
class Fault:
    """What a server does at one of its steps, counted from 0 over all its sessions.

    part: how much of what it says there it still says, from 0 to 1. how: "close" (what was said before arrives),
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


class SteppedServer(smtp_server.Server):
    """The tests' mail server, in good health but for one fault. `steps` are those it has gone so far."""

    def __init__(self, fault=None, tls=None, auth=None, piece=0):
        self.options = argparse.Namespace(mode="ok", delay=0, fail_mail=0, auth=auth,
                                          tls="starttls" if tls else None)
        self.tls = tls
        self.fault = fault
        self.piece = piece
        self.steps = []
        self.struck = threading.Event()
        self.kept = []

    def note(self, text):
        pass

    def session(self, reader, writer):
        return SteppedSession(self, reader, writer)

    def heal(self):
        """From here on everything goes well; returns what was kept so far."""
        kept, self.kept, self.fault = self.kept, [], None
        return kept


class SteppedSession(smtp_server.Session):
    """Comes to the server's steps one by one, and ends at the one with the fault."""

    async def say(self, *lines):
        for line in lines:
            await self.step("said", line.encode("latin-1") + b"\r\n")

    async def step(self, kind, content):
        fault = self.server.fault
        here = fault is not None and fault.step == len(self.server.steps)
        self.server.steps.append(Step(kind, content))
        if kind != "data":
            self.writer.write(content[:round(fault.part * len(content))] if here else content)
            await self.writer.drain()
        if here:
            if fault.part == 1 and content.startswith(b"250 2.0.0 taken"):
                self.server.kept[-1].answered = True
            await self.strike(fault.how)

    async def strike(self, how):
        self.server.struck.set()
        if how == "stall":
            self.writer.transport.pause_reading()
            await self.stall()
        if how == "reset":
            self.writer.get_extra_info("socket").setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, RESET)
            self.writer.transport.abort()
        raise ConnectionError

    async def do_starttls(self, _):
        await self.say("220 go ahead")
        fault = self.server.fault
        if fault is not None and fault.step == len(self.server.steps):
            await self.step("tls", self.first_flight(await self.reader.read(smtp_server.PIECE)))
        self.server.steps.append(Step("tls", b"the server's half of the handshake"))
        await self.writer.start_tls(self.server.tls)
        self.encrypted = True

    def first_flight(self, hello):
        """What the server says in the handshake to a client's greeting."""
        incoming, outgoing = ssl.MemoryBIO(), ssl.MemoryBIO()
        incoming.write(hello)
        try:
            self.server.tls.wrap_bio(incoming, outgoing, server_side=True).do_handshake()
        except ssl.SSLWantReadError:
            pass
        return outgoing.read()

    async def data(self):
        return await (self.data_in_pieces() if self.server.piece else self.data_in_lines())

    async def data_in_lines(self):
        data = bytearray()
        while not data.endswith(b"\r\n.\r\n"):
            line = await self.reader.readline()
            if not line:
                raise ConnectionError
            data += line
            await self.step("data", line)
        return bytes(data[:-3]).replace(b"\r\n..", b"\r\n.")

    async def data_in_pieces(self):
        data, step = bytearray(), 0
        while not data.endswith(b"\r\n.\r\n"):
            while len(data) - step >= self.server.piece:
                step += self.server.piece
                await self.step("data", b"")
            got = await self.reader.read(self.server.piece - (len(data) - step))
            if not got:
                raise ConnectionError
            data += got
        return bytes(data[:-3]).replace(b"\r\n..", b"\r\n.")

    async def end_of_data(self, data):
        self.server.kept.append(Kept(data))
        await self.say("250 2.0.0 taken as %d" % len(self.server.kept))
        self.server.kept[-1].answered = True


class MailLossTest(LossTest):
    """Each class of tests has a thread for its servers."""

    @classmethod
    def setUpClass(cls):
        cls.servers = ServerThread()
        cls.addClassCleanup(cls.servers.end)
