#!/usr/bin/python3
"""A mail server on the loopback interface that accepts every well-formed mail and records it.

    mail_sink.py FOLDER     writes each mail to FOLDER/mail-0001.eml, mail-0002.eml, ...
    mail_sink.py --discard  records none

As a program it prints its port as the first line, and ends when its standard input does.
"""

import pathlib
import socket
import sys
import threading

from smtp_session import END_OF_DATA, Session


class MailSink:
    """Serves any number of connections, each on a thread of its own, on a port that the system chooses.

    mails: what was accepted, in order. connections: how many there have been. folder: where each mail is also
    written as a file, before the client is told that it was accepted.
    """

    session = Session  # what serves a connection
    requires_login = False

    def __init__(self, folder=None):
        self.folder = folder and pathlib.Path(folder)
        self.mails = []
        self.connections = 0
        self.port = None
        self.stopping = threading.Event()
        self._sessions = set()
        self._changed = threading.Condition()

    def start(self):
        self._listener = socket.create_server(("127.0.0.1", 0), backlog=128)
        self.port = self._listener.getsockname()[1]
        self._thread = threading.Thread(target=self._accept, daemon=True)
        self._thread.start()
        return self

    def stop(self):
        """Ends the server with all its connections."""
        self.stopping.set()
        self._listener.shutdown(socket.SHUT_RDWR)
        self._thread.join()
        self._listener.close()
        with self._changed:
            for session in self._sessions:
                try:
                    socket.socket.shutdown(session.connection, socket.SHUT_RDWR)
                except OSError:
                    pass  # closed meanwhile
        self.settle()

    def __enter__(self):
        return self.start()

    def __exit__(self, *_):
        self.stop()

    def settle(self):
        """Waits until no connection is open: nothing comes any more from a client that is gone."""
        with self._changed:
            self._changed.wait_for(lambda: not self._sessions)

    def clear(self):
        """Forgets the mails of all clients, which must be gone."""
        self.settle()
        self.mails.clear()

    def accepts(self, _):
        """Whether the user with the password, given as a pair, may log in."""
        return True

    def note(self, line):
        """Told of each line of a session: "C: " the client's, "S: " the server's, "-- " of the connection."""

    def record(self, mail):
        """Records an accepted mail; returns its number."""
        if self.folder:
            path = self.folder / f"mail-{len(self.mails) + 1:04}.eml"
            path.with_suffix(".part").write_bytes(mail.content)
            path.with_suffix(".part").rename(path)
        self.mails.append(mail)
        return len(self.mails)

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return  # the server is stopped
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            session = self.session(self, connection)
            with self._changed:
                self.connections += 1
                self._sessions.add(session)
            threading.Thread(target=self._serve, args=(session,), daemon=True).start()

    def _serve(self, session):
        self.note("-- connected")
        try:
            session.serve()
        except OSError:
            pass  # the client is gone, or the session has ended itself
        session.close()
        self.note("-- closed")
        with self._changed:
            self._sessions.discard(session)
            self._changed.notify_all()


class DiscardingSession(Session):
    """Reads mails as fast as they come, and keeps nothing of them."""

    def read_data(self):
        end = b"\r\n"
        while not end.endswith(END_OF_DATA):
            end = (end + self.receive())[-len(END_OF_DATA):]
        return b""


class DiscardingSink(MailSink):
    """Accepts mails without recording them."""

    session = DiscardingSession

    def record(self, _):
        return 0


def main():
    (where,) = sys.argv[1:]
    with DiscardingSink() if where == "--discard" else MailSink(where) as sink:
        print(sink.port, flush=True)
        sys.stdin.read()


if __name__ == "__main__":
    main()
