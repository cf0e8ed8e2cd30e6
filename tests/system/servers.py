"""Mail servers that misbehave."""

import asyncio
import contextlib
import pathlib
import socket
import sys
import threading

from aiosmtpd.smtp import SMTP

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tools"))
from mail_sink import MailSink  # noqa: E402


class FailingOnMail(MailSink):
    """Answers the data of mail number `failing` with an error, and keeps the others. `offered` counts all."""

    def __init__(self, failing, answer="451 4.3.0 disk is full here"):
        super().__init__()
        self.failing = failing
        self.answer = answer
        self.offered = 0

    async def handle_DATA(self, server, session, envelope):
        self.offered += 1
        if self.offered == self.failing:
            return self.answer
        return await super().handle_DATA(server, session, envelope)


class RefusingRecipient(MailSink):
    async def handle_RCPT(self, server, session, envelope, address, options):
        return "550 5.1.1 no such mailbox"


class Silent(MailSink):
    """Takes connections and never says a word."""

    def make_protocol(self):
        return asyncio.Protocol()


class StallingInData(MailSink):
    """Reads the whole mail, and answers when it is told to. `reached` is set once data have come."""

    def __init__(self):
        super().__init__()
        self.reached = threading.Event()
        self.release = threading.Event()

    async def handle_DATA(self, server, session, envelope):
        self.reached.set()
        await asyncio.get_running_loop().run_in_executor(None, self.release.wait, 60)
        return await super().handle_DATA(server, session, envelope)


class HangingUpInData(MailSink):
    """Asks for the data, reads a line of it, and is gone."""

    def make_protocol(self):
        class Protocol(SMTP):
            async def smtp_DATA(self, arg):
                await self.push("354 go ahead")
                await self._reader.readline()
                self.transport.abort()
        return Protocol(self, hostname="sink.example", loop=self._loop)


class KeepingWithoutAnswer(MailSink):
    """Keeps the mail, and is gone before it has said so."""

    async def handle_DATA(self, server, session, envelope):
        self.keep(envelope)
        server.transport.abort()
        return "250 never heard"


class CuttingAfterAcceptance(MailSink):
    """Accepts the mail, and is gone before the client has said good-bye."""

    def make_protocol(self):
        class Protocol(SMTP):
            async def smtp_DATA(self, arg):
                await super().smtp_DATA(arg)
                self.transport.close()
        return Protocol(self, hostname="sink.example", loop=self._loop, data_size_limit=None)


class GreetingOnSecondTry(MailSink):
    """Turns the first connection away with a temporary error."""

    def make_protocol(self):
        if self.connections > 1:
            return super().make_protocol()

        class TurnAway(asyncio.Protocol):
            def connection_made(self, transport):
                transport.write(b"421 4.3.2 come back later\r\n")
                transport.close()
        return TurnAway()


@contextlib.contextmanager
def closed_port():
    """A port on which nobody listens, and which nobody else is given meanwhile."""
    with socket.socket() as holder:
        holder.bind(("127.0.0.1", 0))
        yield holder.getsockname()[1]
