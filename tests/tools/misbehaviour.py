"""How a mail server misbehaves: scripts, as data.

A script maps steps of a session to the actions that replace them. Its keys are the steps of smtp_session.Session,
"data piece" (the server has read one more piece of a mail), or (step, n) for the n-th time alone, counted from 1 over
all connections of the server. An action is a function of the session and of what the server would do without a script.
"""

PIECE = 64 * 1024
ENDLESS_LINE = b"2" * PIECE
ENDLESS_REPLY = b"250-and so on\r\n" * 1000
GO_ON = "354 go on"


def say(*lines):
    """Sends these lines."""
    return lambda session, _: session.say(*lines)


def send(content):
    """Sends these bytes."""
    return lambda session, _: session.send(content)


def flood(content):
    """Sends these bytes again and again, until the client closes."""
    def act(session, _):
        while True:
            session.send(content)
    return act


def drip(content):
    """Sends these bytes again and again, the server's delay apart, until the client closes."""
    def act(session, _):
        while True:
            session.send(content)
            session.pause()
    return act


def take(count):
    """Reads so many bytes."""
    def act(session, _):
        left = count
        while left > 0:
            left -= len(session.receive(left))
    return act


def offer(*extensions):
    """Answers EHLO with more extensions."""
    return lambda session, _: session.say(*session.hello(*extensions))


def as_usual(_, usual):
    """Does what the server does when it is well."""
    usual()


def pause(session, _):
    """Waits for the server's delay."""
    session.pause()


def hold(session, _):
    """Waits until the test releases the server."""
    session.server.released.wait()


def stall(session, _):
    """Neither reads nor answers until the server is stopped."""
    session.stall()


def hang_up(*_):
    """Closes the connection. What was said before arrives."""
    raise ConnectionError


def reset(session, _):
    """Breaks the connection."""
    session.reset()


def record(session, _):
    """Records the mail without a word."""
    session.server.record(session.mail)


def take_slowly(session, _):
    """Reads one byte at a time, the server's delay apart."""
    while True:
        session.receive(1)
        session.pause()


def hello_slowly(session, _):
    """Answers EHLO line by line, the server's delay apart."""
    for line in session.hello():
        session.say(line)
        session.pause()


def ask_on_and_on(session, _):
    """Asks for one more word of the login, without an end."""
    while True:
        session.ask("and?")


def echo_login(session, _):
    """Refuses a login in words that repeat it."""
    login, sent = session.offered
    session.say(f"535 5.7.8 wrong: {' '.join(sent)} is {':'.join(login)}")


MODES = {
    "ok": {},
    # The greeting
    "refuse-421": {"greeting": [say("421 too busy"), hang_up]},
    "refuse-554": {"greeting": [say("554 no service here"), hang_up]},
    "error-zero": {"greeting": [say("554 Error: 0 of us like you"), hang_up]},
    "close-at-once": {"greeting": [hang_up]},
    "silent": {"greeting": [stall]},
    "garbage-greeting": {"greeting": [say("hello there")]},
    "nul-greeting": {"greeting": [say("\0\0\0" "220 test.example ready")]},
    "endless-greeting": {"greeting": [flood(ENDLESS_LINE)]},
    "drip-greeting": {"greeting": [drip(b"2")]},
    "drip-lines-greeting": {"greeting": [drip(b"220-wait\r\n")]},
    # The answer to EHLO
    "stall-at-hello": {"EHLO": [stall]},
    "slow-hello": {"EHLO": [hello_slowly]},
    "hello-refused": {"EHLO": [say("502 not here")]},  # HELO works
    "endless-hello": {"EHLO": [flood(b"x" * PIECE)]},
    "endless-hello-reply": {"EHLO": [flood(ENDLESS_REPLY)]},
    "drip-lines-hello": {"EHLO": [drip(b"250-wait\r\n")]},
    # Encryption and login
    "starttls-refused": {"EHLO": [offer("STARTTLS")], "STARTTLS": [say("454 TLS not available")]},
    "tls-closed": {"EHLO": [offer("STARTTLS")], "STARTTLS": [say("220 go ahead"), hang_up]},
    "tls-garbage": {"EHLO": [offer("STARTTLS")],
                    "STARTTLS": [say("220 go ahead"), take(1), flood(b"220 go ahead\r\n" * 1000)]},
    "tls-injected": {"EHLO": [offer("STARTTLS")], "STARTTLS": [send(b"220 go ahead\r\n250 injected\r\n")]},
    "auth-without-ask": {"EHLO": [offer("AUTH GSSAPI PLAIN LOGIN")]},  # any login is right
    "echo-login": {"login": [echo_login]},
    "busy-login": {"login": [say("454 4.7.0 try again later")]},
    "endless-challenge": {"AUTH": [ask_on_and_on]},
    # The answer to MAIL
    "refuse-sender": {"MAIL": [say("550 5.7.1 not you")]},
    "garbage-answer": {"MAIL": [say("certainly, sir")]},
    "nul-answer": {"MAIL": [say("550 5.7.1 not\0\0you")]},
    "eight-bit": {"MAIL": [say("550 5.7.1 \xff\xfe nicht f\xfcr Sie")]},  # no UTF-8
    "colours": {"MAIL": [say("550 5.7.1 \x1b[31mnot\x07 you\x1b]0;x\x07\x9b31m")]},  # controls of a terminal
    # The controls beyond ASCII; they turn the text round and break the line too.
    "colours-8-bit": {"MAIL": [say("550 5.7.1 \u009b31mnot you\u202ecod\u2028".encode().decode("latin-1"))]},
    "negative-code": {"MAIL": [say("-250 sender ok")]},
    "huge-code": {"MAIL": [say("250" * 13 + "2 sender ok")]},
    "code-999": {"MAIL": [say("999 sender ok")]},
    "code-000": {"MAIL": [say("000 sender ok")]},
    "two-codes": {"MAIL": [say("250-sender", "550 not ok")]},
    "bare-cr": {"MAIL": [send(b"250 2.1.0 sender ok\r")]},
    "out-of-turn": {"MAIL": [say("250 sender ok", "250 recipient ok", GO_ON, "250 taken")]},
    "endless-line": {"MAIL": [flood(ENDLESS_LINE)]},
    "endless-reply": {"MAIL": [flood(ENDLESS_REPLY)]},
    "drip-answer": {"MAIL": [drip(b"2")]},
    "drip-lines": {"MAIL": [drip(b"250-wait\r\n")]},
    # The answer to RCPT
    "refuse-recipient": {"RCPT": [say("550 5.1.1 nobody of that name")]},
    # Within the data
    "slow": {"data piece": [pause]},
    "stall-in-data": {"DATA": [say(GO_ON), take(PIECE), stall]},
    "hang-up-in-data": {"DATA": [say(GO_ON), take(PIECE), hang_up]},
    "answer-in-data": {"DATA": [say(GO_ON), take(PIECE), say("552 5.3.4 that is too much"), hang_up]},
    "drip-data": {"DATA": [say(GO_ON), take_slowly]},
    # The answer to the end of the data
    "stall-at-end": {"end": [stall]},
    "late-at-end": {"end": [pause, as_usual]},
    "hang-up-at-end": {"end": [hang_up]},
    "refuse-data": {"end": [say("554-we do not", "554-\x07want\x1b[2J", "554 this")]},
    "endless-at-end": {"end": [flood(ENDLESS_LINE)]},
    "endless-reply-at-end": {"end": [flood(ENDLESS_REPLY)]},
    "drip-at-end": {"end": [drip(b"2")]},
    "drip-lines-at-end": {"end": [drip(b"250-wait\r\n")]},
    "cut-after-accept": {"end": [as_usual, reset]},
    # The answer to QUIT
    "stall-at-quit": {"QUIT": [stall]},
}
