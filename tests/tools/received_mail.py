"""A mail as a mail server received it."""

import base64
import dataclasses
import functools
import io
import re
import zipfile


@dataclasses.dataclass
class ReceivedMail:
    """A mail with its envelope. The content is read quickly and trustingly: checking it is not the task of a server.

    client: the name by which the client greeted. login: (user, password), or None without a login. content: the
    bytes between DATA and the final dot, dots undone. answered: whether the client was sent the whole acceptance.
    """

    client: str
    login: tuple
    sender: str
    recipients: list
    content: bytes = b""
    answered: bool = False

    @property
    def message_id(self):
        return re.search(rb"\r\nMessage-ID: (\S+)\r\n", self.content)[1].decode()

    def attachments(self):
        """Returns (name, bytes) of each attachment, in order."""
        boundary = re.search(rb'boundary="?([^"\r\n;]+)', self.content)[1]
        found = []
        for part in self.content.split(b"--" + boundary)[1:-1]:
            head, _, body = part.partition(b"\r\n\r\n")
            name = re.search(rb'filename="([^"]+)"', head)
            if name is not None:
                found.append((name[1].decode(), base64.b64decode(body)))
        return found

    @functools.cached_property
    def files(self):
        """(name, bytes) of each attached file; instead of a zip, of the files packed in it."""
        found = []
        for name, content in self.attachments():
            if name.endswith(".zip"):
                with zipfile.ZipFile(io.BytesIO(content)) as packed:
                    found += [(member, packed.read(member)) for member in packed.namelist()]
            else:
                found.append((name, content))
        return found
