"""One connection to a mail server, served as RFC 5321 asks."""

import base64
import re
import socket
import ssl
import struct

from received_mail import ReceivedMail

PIECE = 256 * 1024
END_OF_DATA = b"\r\n.\r\n"
ACCEPTED = "250 2.0.0 taken as "  # and the number of the mail, from 1
LONGEST_COMMAND = 512  # RFC 5321, 4.5.3.1.4
LONGEST_LINE = 998  # of a mail, RFC 5322, 2.1.1
RESET = struct.pack("ii", 1, 0)  # a socket with this SO_LINGER sends RST when it is closed
COMMANDS = {"EHLO", "HELO", "STARTTLS", "AUTH", "MAIL", "RCPT", "DATA", "RSET", "NOOP", "QUIT"}
MAIL = re.compile(r"MAIL FROM:<([^<>\s]*)>((?: [^<>\s]+)*)\r\n", re.IGNORECASE)
RCPT = re.compile(r"RCPT TO:<([^<>\s]+)>((?: [^<>\s]+)*)\r\n", re.IGNORECASE)


class Session:
    """Serves one connection: every command in its order, every malformed one refused.

    Each step is a method `on_...`, called through `step`, so that a derived class can do otherwise at any of them:
    "greeting", a command such as "MAIL", "unknown" (any other command), "login" (user and password are known) and
    "end" (the mail is whole). A step ends the session by raising ConnectionError.
    """

    extensions = ("8BITMIME", "AUTH PLAIN LOGIN")

    def __init__(self, server, connection):
        self.server = server
        self.connection = connection
        self.pending = b""  # received, not consumed yet
        self.client = None
        self.login = None
        self.mail = None
        self.open = True

    def serve(self):
        """Returns when the client has said good-bye."""
        self.step("greeting")
        while self.open:
            line = self.read_line()
            if not line.endswith("\r\n") or len(line) > LONGEST_COMMAND:
                self.say("500 5.5.2 malformed line")
                continue
            verb = line.split(" ")[0].strip().upper()
            self.step(verb if verb in COMMANDS else "unknown", line)

    def step(self, name, *arguments):
        getattr(self, "on_" + name.lower().replace(" ", "_"))(*arguments)

    def say(self, *lines):
        """Sends lines in one go, so that a reply arrives as a whole."""
        for line in lines:
            self.server.note("S: " + line)
        self.send("".join(f"{line}\r\n" for line in lines).encode("latin-1"))

    def send(self, content):
        self.connection.sendall(content)

    def receive(self, most=PIECE):
        """Returns what comes next, at least one byte; ConnectionError when the client has closed."""
        if self.pending:
            content, self.pending = self.pending[:most], self.pending[most:]
            return content
        content = self.connection.recv(most)
        if not content:
            raise ConnectionError
        return content

    def receive_line(self):
        """Returns the next line with its end."""
        line = b""
        while b"\n" not in line:
            line += self.receive()
        line, end, self.pending = line.partition(b"\n")
        return line + end

    def read_line(self):
        """Returns the next line of the dialogue with its end, in Latin-1."""
        line = self.receive_line().decode("latin-1")
        self.server.note("C: " + line.rstrip("\r\n"))
        return line

    def close(self):
        """Closes the connection. What was said before arrives, also when the client was not listened to."""
        try:
            self.connection.setblocking(False)
            if isinstance(self.connection, ssl.SSLSocket):
                self._close_encryption()
            socket.socket.shutdown(self.connection, socket.SHUT_WR)
            while socket.socket.recv(self.connection, PIECE):
                pass
        except OSError:
            pass  # the client has closed, or all that came is read
        self.connection.close()

    def _close_encryption(self):
        try:
            self.connection.unwrap()
        except (OSError, ValueError):
            pass  # the notice is sent; the client's own is not awaited

    def reset(self):
        """Ends the connection with RST."""
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, RESET)
        self.connection.close()
        raise ConnectionError

    def on_greeting(self):
        self.say("220 test.example ready")

    def on_unknown(self, _):
        self.say("500 5.5.1 unknown command")

    def on_starttls(self, _):
        self.say("502 5.5.1 no encryption here")

    def on_ehlo(self, line):
        self.greeted(line)
        self.say(*self.hello())

    def hello(self, *more):
        """Returns the lines that answer EHLO, with `more` extensions than the server's own."""
        lines = ["test.example", *self.extensions, *more]
        return ["250-" + text for text in lines[:-1]] + ["250 " + lines[-1]]

    def on_helo(self, line):
        self.greeted(line)
        self.say("250 test.example")

    def greeted(self, line):
        self.client, self.mail = line[5:].strip(), None

    def ask(self, prompt):
        self.say("334 " + base64.b64encode(prompt.encode()).decode())
        return self.read_line().strip()

    def on_auth(self, line):
        mechanism, *initial = line.split()[1:]
        if mechanism.upper() == "PLAIN":
            sent = initial or [self.ask("")]
            login = base64.b64decode(sent[0]).decode().split("\0")[1:]
        else:
            sent = [*(initial or [self.ask("Username:")]), self.ask("Password:")]
            login = [base64.b64decode(one).decode() for one in sent]
        self.step("login", tuple(login), sent)

    def on_login(self, login, _):
        """login: user and password. The second argument: both as they were sent, in base64."""
        if self.server.accepts(login):
            self.login = login
            self.say("235 2.7.0 welcome")
        else:
            self.say("535 5.7.8 wrong user name or password")

    def on_mail(self, line):
        found = MAIL.fullmatch(line)
        if not self.client or self.mail:
            self.say("503 5.5.1 MAIL is out of order")
        elif not found:
            self.say("501 5.5.4 malformed sender")
        elif self.login is None and self.server.requires_login:
            self.say("530 5.7.0 log in first")
        else:
            self.mail = ReceivedMail(self.client, self.login, found[1], [])
            self.say("250 2.1.0 sender ok")

    def on_rcpt(self, line):
        found = RCPT.fullmatch(line)
        if not self.mail:
            self.say("503 5.5.1 RCPT is out of order")
        elif not found:
            self.say("501 5.5.4 malformed recipient")
        else:
            self.mail.recipients.append(found[1])
            self.say("250 2.1.5 recipient ok")

    def on_data(self, _):
        if not self.mail or not self.mail.recipients:
            self.say("503 5.5.1 DATA is out of order")
            return
        self.say("354 go on")
        self.mail.content = self.read_data()
        self.server.note(f"C: ({len(self.mail.content)} bytes of data)")
        self.step("end")

    def read_data(self):
        """Returns the data up to the final dot, dots undone (RFC 5321, 4.5.2)."""
        data = bytearray(b"\r\n")  # so that the final dot may be the first line
        while not data.endswith(END_OF_DATA):
            data += self.more_data(len(data) - 2)
        return bytes(data).replace(b"\r\n..", b"\r\n.")[2:-3]

    def more_data(self, _):
        """Returns what comes next of the data. The argument: how many bytes of them came before."""
        return self.receive()

    def on_end(self):
        mail, self.mail = self.mail, None
        if is_malformed(mail.content):
            self.say("554 5.6.0 bare CR or LF, or a line that is too long")
            return
        self.say(ACCEPTED + str(self.server.record(mail)))
        mail.answered = True

    def on_rset(self, _):
        self.mail = None
        self.say("250 2.0.0 ok")

    def on_noop(self, _):
        self.say("250 2.0.0 ok")

    def on_quit(self, _):
        self.say("221 2.0.0 bye")
        self.open = False


def is_malformed(content):
    """Whether a mail has a bare CR or LF (RFC 5321, 2.3.8) or a line over 998 characters."""
    lines = content.split(b"\r\n")
    ends = len(lines) - 1
    return (content.count(b"\r"), content.count(b"\n")) != (ends, ends) or max(map(len, lines)) > LONGEST_LINE
