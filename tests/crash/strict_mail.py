"""A strict parser of mails, which works on the bytes alone."""

import base64
import binascii
import re
import urllib.parse


class StrictMail:
    """The headers of a mail, and its parts as (headers, body). Any deviation from the standards is a ValueError."""

    def __init__(self, content):
        if not content.isascii() or not content.endswith(b"\r\n"):
            raise ValueError("not ASCII, or no end of the last line")
        if re.search(rb"\r(?!\n)|(?<!\r)\n|\x00", content):
            raise ValueError("a bare CR or LF, or a NUL")
        if max(map(len, content.split(b"\r\n"))) > 998:
            raise ValueError("a line that is too long")
        self.headers, body = self.split(content)
        boundary = re.fullmatch(r'multipart/mixed; boundary="([^"]+)"', self.headers["Content-Type"])[1].encode()
        first, *parts, last = (b"\r\n" + body).split(b"\r\n--" + boundary)
        if first or last != b"--\r\n" or any(not part.startswith(b"\r\n") for part in parts):
            raise ValueError("something around the parts")
        self.parts = [self.split(part[2:]) for part in parts]

    @staticmethod
    def split(content):
        head, body = content.split(b"\r\n\r\n", 1)
        headers = {}
        for line in re.sub(rb"\r\n(?=[ \t])", b"", head).decode("ascii").split("\r\n"):
            name, value = re.fullmatch(r"([A-Za-z-]+): ?(.*)", line).groups()
            if name in headers or not value.strip():
                raise ValueError(f"header {name} twice, or empty")
            headers[name] = value
        return headers, body

    @staticmethod
    def decode(headers, body):
        encoding = headers["Content-Transfer-Encoding"]
        if encoding == "7bit":
            return body
        if encoding == "quoted-printable":
            return binascii.a2b_qp(body)
        lines = body.split(b"\r\n")
        if encoding != "base64" or not all(len(line) <= 76 and re.fullmatch(rb"[A-Za-z0-9+/]*={0,2}", line)
                                           for line in lines):
            raise ValueError(f"not {encoding}")
        return base64.b64decode(body.replace(b"\r\n", b""), validate=True)

    @staticmethod
    def name_of(headers):
        disposition = headers["Content-Disposition"]
        plain = re.fullmatch(r'attachment; filename="((?:[^"\\]|\\.)*)"', disposition)
        if plain:
            return re.sub(r"\\(.)", r"\1", plain[1])
        sections = re.fullmatch(r"attachment((?:; filename\*\d+\*=[^;\s]+)+)", disposition)[1].split("; ")[1:]
        values = []
        for number, section in enumerate(sections):
            key, value = section.split("=", 1)
            if key != f"filename*{number}*":
                raise ValueError(f"section {key}")
            values.append(value)
        charset, _, text = "".join(values).split("'", 2)
        return urllib.parse.unquote(text, charset, "strict")
