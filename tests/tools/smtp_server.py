#!/usr/bin/python3
"""A mail server for tests, on the loopback interface, that can misbehave in many ways.

    smtp_server.py --folder FOLDER [--port 0] [--mode MODE] [--fail-mail K]
                   [--auth USER:PASSWORD] [--tls starttls|implicit --cert PEM --key PEM]
                   [--delay SECONDS]

It prints its port and a line end on standard output as soon as it can be connected to, and ends when its
standard input is closed: it never outlives the test that started it.

Into FOLDER it writes each mail that it accepts as "mail-0001.eml", "mail-0002.eml" ... (as it came, dots
undone), before it says so to the client, and the dialogue as "transcript.txt": lines "C: ..." and "S: ...",
"C: (N bytes of data)", "-- connected", "-- tls" and "-- closed".

MODE is one of:
    ok                  does everything right (default)
    refuse-421          greets with 421 and closes
    refuse-554          greets with 554 and closes
    error-zero          greets with "554 Error: 0 of us like you" and closes
    silent              never greets
    stall-at-hello      greets, then never answers
    stall-in-data       takes the first 64 KB of the data, then neither reads nor answers
    stall-at-end        never answers to the end of the data
    stall-at-quit       never answers to QUIT
    late-at-end         answers to the end of the data after --delay seconds
    slow                takes the data in pieces of 256 KB, with --delay seconds between them
    slow-hello          sends each line of the answer to EHLO --delay seconds after the one before
    hang-up-in-data     closes after the first 64 KB of the data
    answer-in-data      says 552 after the first 64 KB of the data and closes
    hang-up-at-end      closes instead of answering to the end of the data
    cut-after-accept    accepts the mail, then resets the connection at once
    refuse-sender       550 to MAIL
    refuse-recipient    550 to RCPT
    refuse-data         554 to the end of the data, in three lines with control characters
    starttls-refused    offers STARTTLS and answers it with 454
    auth-without-ask    offers AUTH, never STARTTLS, and accepts any password
    echo-login          answers a login with 535 and what the client sent
    busy-login          answers a login with 454
    hello-refused       answers EHLO with 502; HELO works
    garbage-greeting    greets with what is no SMTP
    garbage-answer      answers MAIL with what is no SMTP
    endless-line        answers MAIL with a line that has no end
    endless-reply       answers MAIL with a reply that has no end
    endless-hello       answers EHLO with a line that has no end
    endless-hello-reply answers EHLO with a reply that has no end
    endless-greeting    greets with a line that has no end
    endless-challenge   asks on and on in a login
    endless-at-end      answers to the end of the data with a line that has no end
    endless-reply-at-end  answers to the end of the data with a reply that has no end
    drip-greeting       greets with one byte in --delay seconds
    drip-lines-greeting greets with one line in --delay seconds, and on and on
    drip-lines-hello    answers EHLO with one line in --delay seconds, and on and on
    drip-lines          answers MAIL with one line in --delay seconds, and on and on
    drip-answer         answers MAIL with one byte in --delay seconds
    drip-at-end         answers to the end of the data with one byte in --delay seconds
    drip-lines-at-end   answers to the end of the data with one line in --delay seconds, and on and on
    drip-data           takes one byte of the data in --delay seconds
    nul-greeting        greets with a line that begins with NULs
    nul-answer          refuses MAIL in a line with NULs
    eight-bit           refuses MAIL in a line with bytes that are no UTF-8
    colours             refuses MAIL in a line that would colour a terminal and ring its bell
    colours-8-bit       the same by the controls beyond ASCII, which turn the text round and break the line too
    negative-code       answers MAIL with -250
    huge-code           answers MAIL with a code of forty digits
    code-999            answers MAIL with 999
    code-000            answers MAIL with 000
    two-codes           answers MAIL with a reply whose first line says 250 and whose last says 550
    bare-cr             ends its answer to MAIL with CR alone
    out-of-turn         answers MAIL with all its answers up to that to the data
    close-at-once       closes before it greets
    tls-closed          agrees to STARTTLS and closes
    tls-garbage         agrees to STARTTLS and answers the handshake with what is no TLS, on and on
    tls-injected        agrees to STARTTLS and says a line more before the handshake
"--fail-mail K" answers 451 to the end of the data of the K-th mail, whatever the mode.
"""

import argparse
import asyncio
import base64
import itertools
import os
import pathlib
import socket
import ssl
import struct
import sys

PIECE = 64 * 1024
ENDLESS_REPLY = b"250-and so on\r\n" * 1000
ODD_ANSWERS = {"nul-answer": ["550 5.7.1 not\0\0you"],
               "eight-bit": ["550 5.7.1 \xff\xfe nicht f\xfcr Sie"],
               "colours": ["550 5.7.1 \x1b[31mnot\x07 you\x1b]0;x\x07\x9b31m"],
               "colours-8-bit": ["550 5.7.1 \u009b31mnot you\u202ecod\u2028".encode().decode("latin-1")],
               "negative-code": ["-250 sender ok"],
               "huge-code": ["250" * 13 + "2 sender ok"],
               "code-999": ["999 sender ok"],
               "code-000": ["000 sender ok"],
               "two-codes": ["250-sender", "550 not ok"],
               "out-of-turn": ["250 sender ok", "250 recipient ok", "354 go on", "250 taken"]}


class Server:
    """What all connections share."""

    def __init__(self, options):
        self.options = options
        self.folder = pathlib.Path(options.folder)
        self.mails = 0
        self.transcript = open(self.folder / "transcript.txt", "a", encoding="utf-8", errors="replace", buffering=1)
        self.tls = None
        if options.tls:
            self.tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self.tls.load_cert_chain(options.cert, options.key)

    def session(self, reader, writer):
        return Session(self, reader, writer)

    def note(self, text):
        self.transcript.write(text + "\n")

    async def connected(self, reader, writer):
        self.note("-- connected")
        try:
            await self.session(reader, writer).run()
        except (ConnectionError, asyncio.IncompleteReadError, ssl.SSLError):
            pass
        self.note("-- closed")
        writer.close()


class Session:
    """One connection."""

    def __init__(self, server, reader, writer):
        self.server = server
        self.mode = server.options.mode
        self.delay = server.options.delay
        self.reader = reader
        self.writer = writer
        self.encrypted = server.options.tls == "implicit"
        self.logged_in = server.options.auth is None
        self.open = True

    async def say(self, *lines):
        """In one go, so that lines which belong together arrive together."""
        for line in lines:
            self.server.note("S: " + line)
        self.writer.write("".join(f"{line}\r\n" for line in lines).encode("latin-1"))
        await self.writer.drain()

    async def line(self):
        line = await self.reader.readline()
        if not line:
            raise ConnectionError
        text = line.decode("latin-1").rstrip("\r\n")
        self.server.note("C: " + text)
        return text

    async def stall(self):
        await asyncio.sleep(3600)

    async def flood(self, piece):
        while True:
            self.writer.write(piece)
            await self.writer.drain()

    async def drip(self, pieces):
        for piece in pieces:
            self.writer.write(piece)
            await self.writer.drain()
            await asyncio.sleep(self.delay)

    async def run(self):
        if not await self.greet():
            return
        while self.open:
            line = await self.line()
            verb = line.split(" ")[0].upper()
            handler = getattr(self, "do_" + verb.lower(), None)
            if handler is None:
                await self.say("500 unknown command")
            else:
                await handler(line)

    async def greet(self):
        greetings = {"refuse-421": "421 too busy", "refuse-554": "554 no service here",
                     "error-zero": "554 Error: 0 of us like you"}
        if self.mode in greetings:
            await self.say(greetings[self.mode])
            return False
        if self.mode == "silent":
            await self.stall()
        if self.mode == "close-at-once":
            return False
        if self.mode == "endless-greeting":
            await self.flood(b"2" * PIECE)
        if self.mode in ("drip-greeting", "drip-lines-greeting"):
            await self.drip(itertools.repeat(b"2" if self.mode == "drip-greeting" else b"220-wait\r\n"))
        odd = {"garbage-greeting": "hello there", "nul-greeting": "\x00\x00\x00" "220 test.example ready"}
        await self.say(odd.get(self.mode, "220 test.example ready"))
        return True

    async def do_ehlo(self, _):
        if self.mode == "stall-at-hello":
            await self.stall()
        if self.mode in ("endless-hello", "endless-hello-reply"):
            await self.flood(b"x" * PIECE if self.mode == "endless-hello" else ENDLESS_REPLY)
        if self.mode == "drip-lines-hello":
            await self.drip(itertools.repeat(b"250-wait\r\n"))
        if self.mode == "hello-refused":
            await self.say("502 not here")
            return
        lines = ["test.example", "SIZE 100000000", "8BITMIME"]
        offers_tls = self.server.options.tls == "starttls" and not self.encrypted
        if offers_tls or self.mode.startswith(("starttls-refused", "tls-")):
            lines.append("STARTTLS")
        if not offers_tls and (self.server.options.auth or self.mode in ("auth-without-ask", "endless-challenge")):
            lines.append("AUTH GSSAPI PLAIN LOGIN")
        for text in lines[:-1]:
            await self.say("250-" + text)
            if self.mode == "slow-hello":
                await asyncio.sleep(self.delay)
        await self.say("250 " + lines[-1])

    async def do_helo(self, _):
        await self.say("250 test.example")

    async def do_starttls(self, _):
        if self.mode == "starttls-refused":
            await self.say("454 TLS not available")
            return
        if self.mode == "tls-injected":
            # In one piece, so that the client has both before it begins the handshake.
            self.writer.write(b"220 go ahead\r\n250 injected\r\n")
            return
        await self.say("220 go ahead")
        if self.mode == "tls-closed":
            raise ConnectionError
        if self.mode == "tls-garbage":
            await self.reader.read(PIECE)
            await self.flood(b"220 go ahead\r\n" * 1000)
        await self.writer.start_tls(self.server.tls)
        self.encrypted = True
        self.server.note("-- tls")

    async def ask(self, prompt):
        await self.say("334 " + base64.b64encode(prompt.encode()).decode())
        return await self.line()

    async def do_auth(self, line):
        while self.mode == "endless-challenge":
            await self.ask("and?")
        words = line.split(" ")
        if words[1].upper() == "PLAIN":
            sent = words[2] if len(words) > 2 else await self.ask("")
            given = base64.b64decode(sent).decode().split("\0")[1:]
        else:
            sent = words[2] if len(words) > 2 else await self.ask("Username:")
            sent2 = await self.ask("Password:")
            given = [base64.b64decode(sent).decode(), base64.b64decode(sent2).decode()]
            sent = sent + " " + sent2
        if self.mode == "echo-login":
            await self.say("535 5.7.8 wrong: %s is %s" % (sent, ":".join(given)))
        elif self.mode == "busy-login":
            await self.say("454 4.7.0 try again later")
        elif self.mode == "auth-without-ask" or ":".join(given) == self.server.options.auth:
            self.logged_in = True
            await self.say("235 2.7.0 welcome")
        else:
            await self.say("535 5.7.8 wrong user name or password")

    async def do_mail(self, _):
        if self.mode == "garbage-answer":
            await self.say("certainly, sir")
        elif self.mode in ("endless-line", "endless-reply"):
            await self.flood(b"2" * PIECE if self.mode == "endless-line" else ENDLESS_REPLY)
        elif self.mode in ("drip-answer", "drip-lines"):
            await self.drip(itertools.repeat(b"2" if self.mode == "drip-answer" else b"250-wait\r\n"))
        elif self.mode == "bare-cr":
            self.writer.write(b"250 2.1.0 sender ok\r")
        elif self.mode in ODD_ANSWERS:
            await self.say(*ODD_ANSWERS[self.mode])
        elif self.mode == "refuse-sender":
            await self.say("550 5.7.1 not you")
        elif not self.logged_in:
            await self.say("530 5.7.0 log in first")
        else:
            await self.say("250 2.1.0 sender ok")

    async def do_rcpt(self, _):
        await self.say("550 5.1.1 nobody of that name" if self.mode == "refuse-recipient" else "250 2.1.5 recipient ok")

    async def do_data(self, _):
        await self.say("354 go on")
        if self.mode in ("stall-in-data", "hang-up-in-data", "answer-in-data"):
            await self.reader.readexactly(PIECE)
            if self.mode == "stall-in-data":
                await self.stall()
            if self.mode == "answer-in-data":
                await self.say("552 5.3.4 that is too much")
            self.open = False
            return
        if self.mode == "drip-data":
            self.writer.transport.pause_reading()
            raw = self.writer.get_extra_info("socket").dup()
            raw.setblocking(False)
            while True:
                await asyncio.get_running_loop().sock_recv(raw, 1)
                await asyncio.sleep(self.delay)
        data = await self.data()
        self.server.note("C: (%d bytes of data)" % len(data))
        await self.end_of_data(data)

    async def data(self):
        data = bytearray()
        while not data.endswith(b"\r\n.\r\n"):
            piece = await self.reader.read(256 * 1024)
            if not piece:
                raise ConnectionError
            data += piece
            if self.mode == "slow":
                await asyncio.sleep(self.delay)
        return bytes(data[:-3]).replace(b"\r\n..", b"\r\n.")

    async def end_of_data(self, data):
        self.server.mails += 1
        if self.mode == "stall-at-end":
            await self.stall()
        if self.mode == "late-at-end":
            await asyncio.sleep(self.delay)
        if self.mode in ("endless-at-end", "endless-reply-at-end"):
            await self.flood(b"2" * PIECE if self.mode == "endless-at-end" else ENDLESS_REPLY)
        if self.mode in ("drip-at-end", "drip-lines-at-end"):
            await self.drip(itertools.repeat(b"2" if self.mode == "drip-at-end" else b"250-wait\r\n"))
        if self.mode == "hang-up-at-end":
            self.open = False
        elif self.mode == "refuse-data":
            await self.say("554-we do not", "554-\x07want\x1b[2J", "554 this")
        elif self.server.options.fail_mail == self.server.mails:
            await self.say("451 4.3.0 not now")
        else:
            self.keep(data)
            await self.say("250 2.0.0 taken as %d" % self.server.mails)
        if self.mode == "cut-after-accept":
            raw = self.writer.get_extra_info("socket")
            raw.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            self.open = False

    def keep(self, data):
        path = self.server.folder / ("mail-%04d.eml" % self.server.mails)
        path.with_suffix(".part").write_bytes(data)
        path.with_suffix(".part").rename(path)

    async def do_noop(self, _):
        await self.say("250 ok")

    do_rset = do_noop

    async def do_quit(self, _):
        if self.mode == "stall-at-quit":
            await self.stall()
        await self.say("221 bye")
        self.open = False


def parse(arguments=None):
    parser = argparse.ArgumentParser()
    parser.add_argument("--folder", required=True)
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--mode", default="ok")
    parser.add_argument("--fail-mail", type=int, default=0)
    parser.add_argument("--auth")
    parser.add_argument("--tls", choices=["starttls", "implicit"])
    parser.add_argument("--cert")
    parser.add_argument("--key")
    parser.add_argument("--delay", type=float, default=0.0)
    options = parser.parse_args(arguments)
    if options.mode not in __doc__.replace("(default)", "").split():
        parser.error("unknown mode " + options.mode)
    return options


async def serve(options):
    server = Server(options)
    implicit = server.tls if options.tls == "implicit" else None
    listener = await asyncio.start_server(server.connected, "127.0.0.1", options.port, limit=4 * PIECE, ssl=implicit)
    print(listener.sockets[0].getsockname()[1], flush=True)
    await asyncio.get_running_loop().run_in_executor(None, sys.stdin.read)


async def main():
    loop = asyncio.get_running_loop()
    # What a client does to its own connection is no news.
    loop.set_exception_handler(lambda *_: None)
    await serve(parse())
    # Stalled sessions are simply dropped.
    os._exit(0)


if __name__ == "__main__":
    asyncio.run(main())
