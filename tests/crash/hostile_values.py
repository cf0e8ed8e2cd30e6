"""Texts, names and addresses that may break a mail, the SMTP dialogue or a mail reader."""

# Texts of a header.
TEXTS = [
    "", "Partner", "\"Partner\" & 'Söhne' GmbH", "%s%n%d%x%%", "{} {0} ${HOME} `id` $(id)", "a\tb\vc\fd",
    "bell\x07 and \x1b[2J", "delete\x7f and null\x00 within", "<angle> (round) [square] ; , : @ \\ back",
    "=?UTF-8?B?SGFja2Vk?=", "=?utf-8?q?=0D=0ABcc:_x@y?=", "an =? in the middle ?= of it", "=?", "?=",
    "Bcc: eve@evil.example", "\u0085next line\u2028line\u2029paragraph", "Grüße, Čeština, Ελλάδα",
    "測試測試", "🔧👩🏽\u200d🔧", "עברית \u202eturned\u202c عربى",
    "Zalgo z̸̢̛̞a̶͍̓l̵̰͆g̷͓̈́o", "\ufeffmark first", "\ufffd\ufffe\uffff",
    "\udcff\udcfe broken UTF-8 \udcc3", "\udced\udca0\udc80", "x" * 77, "x" * 78, "x" * 998, "x" * 999, "ü" * 500,
    "word " * 400, "🔧" * 300, " blanks at both ends \t ", "two  blanks   inside", ".", "..", ".begins with a dot",
    "-", "--", "--=_", "0", "NULL", "undefined", "' OR 1=1 --", "<script>alert(1)</script>", "Organization: twice",
    "From: a@b.example", "a\\", "\\\"", "\"", "unbalanced \" quote", "(unbalanced", "+ADw-", "&#10;", "%0d%0aBcc:x",
    "C:\\temp\\x", "/etc/passwd", "a=b;c=d", "\u200b\u200c\u200d", "ﷺ" * 20, "e\u0301" * 60, "\ue000 private",
]

# Names of documents, without their ending; none holds a separator of paths.
NAMES = [
    "FLog.4711.200403151401", "a b", " begins with a blank", "ends with a blank ", "'quoted'", "\"quoted\"",
    "back\\slash", "line\nbreak", "line\r\nbreak", "cr\rhere", "tab\there", "bell\x07", "\x1b[2J", "\x7f", "%s%n",
    "%0d%0a", "=?UTF-8?B?SGFja2Vk?=", "utf-8''name", "a;b=c", "a,b", "<angle>", "(round)", "[square]", "a@b",
    ".hidden", "..", "...", "-rf", "--", "ü", "測試" * 20, "🔧" * 40, "ü" * 120, "x" * 251, "\udcff\udcfe",
    "a\u0085b", "a\u2028b", "turned \u202egnp", "e\u0301" * 30, "\ufeff", "name*0*", "a'b'c", "C:", "COM1", "~",
    "#", "?", "*", "|", "&&", "$HOME", "`id`", "{}", "a:b", "\nContent-Type: text\n\n<b>", "x\r\n--=_",
    "\r\n.\r\nQUIT",
]

# Sender's addresses that a server takes.
SENDERS = [
    "site@partner.example", "a@b", "first.last+tag@sub.partner.example", "%s@partner.example",
    "o'neil@partner.example", "!#$%&'*+-/=?^_`{|}~@partner.example", "0@1.example",
    "x" * 64 + "@" + "a" * 60 + ".example", "SITE@PARTNER.EXAMPLE", "site@xn--bcher-kva.example", "a-b@c-d.example",
    "_@_.example", "site@[127.0.0.1]",
]

# Recipient's addresses that a server takes; None leaves the default.
RECIPIENTS = [
    None, "faults@maker.example", "a+b=c@maker.example", "%n%n@maker.example", "o'neil@maker.example",
    "{}@maker.example", "r" * 64 + "@" + "m" * 63 + ".example", "FAULTS@MAKER.EXAMPLE", "faults@[192.0.2.1]",
]

# Names by which a machine may greet a server; the empty one leaves it its own.
HOSTS = [
    "", "pc-17", "pc-17.partner.example", "%s", "a_b", "x" * 200, "[127.0.0.1]", "pc'17", "a/b", "a?b#c", "pc%2017",
    "..", "-", "user:password@host",
]

# Partner IDs.
PARTNERS = [
    "4711", "47-11", "4711\\..", "47\x0711", "  4711  ", "a b c", "../../4711", "%s4711", "4711\u202e", "ä4711ß",
    "4711" * 30, "<4711>", "=?UTF-8?Q?4711?=", "\"4711", "4711:Bcc",
]

# User names and passwords.
USERS = [
    ("", ""), ("user", "word"), ("user@partner.example", "pass word"), ("DOMAIN\\user", "p%40ss%s"),
    ("ü", "пароль"), ("🔧", "🔧🔧"), ("user", "\"quoted"), ("a;AUTH=NTLM", "b;c"), ("*", "="),
    ("user", "x" * 200), ("u" * 200, "w"), ("user:name", "a:b"), ("=", "\x7f"), ("user", "\\"),
    (" inner blank", "two blanks"), ("<user>", "<word>"),
]
