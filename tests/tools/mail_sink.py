#!/usr/bin/python3
"""A mail server on the loopback that accepts every mail and keeps it.

As a program: mail_sink.py FOLDER writes each mail to FOLDER/001.eml, 002.eml, ..., prints its port as the
first line, and ends when its standard input does.
"""

import asyncio
import dataclasses
import logging
import pathlib
import sys
import threading

from aiosmtpd.smtp import SMTP

# What a client says after it was hung up on is no news here.
logging.getLogger("mail.log").setLevel(logging.ERROR)


@dataclasses.dataclass
class Received:
    """One mail as it came: its envelope, and its bytes."""

    sender: str
    recipients: list
    content: bytes


class MailSink:
    """Runs on a thread of its own from `with` to the end of it; `port` is free and chosen by the system."""

    def __init__(self):
        self.mails = []
        self.connections = 0
        self.port = None
        self._loop = asyncio.new_event_loop()
        self._thread = threading.Thread(target=self._loop.run_forever, daemon=True)

    def __enter__(self):
        self._thread.start()
        self.port = asyncio.run_coroutine_threadsafe(self._listen(), self._loop).result(10)
        return self

    def __exit__(self, *_):
        asyncio.run_coroutine_threadsafe(self._stop(), self._loop).result(10)
        self._loop.call_soon_threadsafe(self._loop.stop)
        self._thread.join(10)
        self._loop.close()

    async def _listen(self):
        self._server = await self._loop.create_server(self._connected, "127.0.0.1", 0)
        return self._server.sockets[0].getsockname()[1]

    async def _stop(self):
        self._server.close()
        tasks = [task for task in asyncio.all_tasks() if task is not asyncio.current_task()]
        for task in tasks:
            task.cancel()
        await asyncio.gather(*tasks, return_exceptions=True)

    def _connected(self):
        self.connections += 1
        return self.make_protocol()

    def make_protocol(self):
        return SMTP(self, hostname="sink.example", loop=self._loop, data_size_limit=None)

    async def handle_DATA(self, server, session, envelope):
        self.keep(envelope)
        return "250 2.0.0 kept"

    def keep(self, envelope):
        self.mails.append(Received(envelope.mail_from, list(envelope.rcpt_tos), envelope.original_content))


class FolderSink(MailSink):
    """Keeps the mails as files."""

    def __init__(self, folder):
        super().__init__()
        self.folder = pathlib.Path(folder)

    def keep(self, envelope):
        super().keep(envelope)
        (self.folder / f"{len(self.mails):03}.eml").write_bytes(envelope.original_content)


def main():
    with FolderSink(sys.argv[1]) as sink:
        print(sink.port, flush=True)
        sys.stdin.read()


if __name__ == "__main__":
    main()
