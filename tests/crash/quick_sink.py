"""A mail server that costs a mail next to nothing, and tells in its answer which of its mails it was."""

import base64
import io
import re
import socket
import threading
import zipfile

KEPT = re.compile(rb"250 2\.0\.0 kept as mail (\d+)\r\n")


class QuickSink:
    """Takes one connection after the other, from `with` to the end of it. `mails` are their bytes."""

    def __enter__(self):
        self.mails = []
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._thread.join(10)
        self._listener.close()

    def _serve(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            with connection:
                try:
                    self._talk(connection)
                except ConnectionError:
                    pass

    def _talk(self, connection):
        lines = connection.makefile("rb", 1024 * 1024)
        connection.sendall(b"220 quick.example\r\n")
        for line in lines:
            verb = line[:4].upper()
            if verb == b"DATA":
                connection.sendall(b"354 go on\r\n")
                self.mails.append(_data(lines))
                connection.sendall(b"250 2.0.0 kept as mail %d\r\n" % len(self.mails))
            elif verb == b"QUIT":
                connection.sendall(b"221 bye\r\n")
                return
            else:
                connection.sendall(b"250 yes\r\n")


def _data(lines):
    data = []
    for line in lines:
        if line == b".\r\n":
            return b"".join(data)
        data.append(line)
    raise ConnectionResetError


def attachments_of(mail):
    """Names and contents of a mail's attachments; of a zip, of the files in it."""
    boundary = re.search(rb'boundary="?([^"\r\n;]+)', mail)[1]
    found = []
    for part in mail.split(b"--" + boundary)[1:-1]:
        head, _, body = part.partition(b"\r\n\r\n")
        name = re.search(rb'filename="([^"]+)"', head)
        if name is None:
            continue
        content = base64.b64decode(body)
        if name[1].endswith(b".zip"):
            with zipfile.ZipFile(io.BytesIO(content)) as archive:
                found += [(packed, archive.read(packed)) for packed in archive.namelist()]
        else:
            found.append((name[1].decode(), content))
    return found
