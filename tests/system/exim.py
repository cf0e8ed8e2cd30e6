"""A real Exim on the loopback, with TLS, passwords and a Maildir of its own."""

import os
import pathlib
import pwd
import shutil
import socket
import subprocess
import tempfile
import time

import support  # noqa: F401  (makes tests/tools importable)
from capabilities import require_user
from certificates import Certificates

CONFIGURATION = r"""
exim_user = {user}
exim_group = {group}
primary_hostname = mail.test.example
qualify_domain = test.example
spool_directory = {folder}/spool
log_file_path = {folder}/log/%slog
pid_file_path = {folder}/exim.pid
host_lookup =
rfc1413_query_timeout = 0s
keep_environment =
message_size_limit = 200M
smtp_accept_max = 50
tls_advertise_hosts = {tls_hosts}
tls_certificate = {folder}/server.pem
tls_privatekey = {folder}/server.key
acl_smtp_rcpt = check_rcpt
acl_smtp_data = check_data

begin acl
check_rcpt:
  {rcpt_condition}
  accept
check_data:
  deny message = malformed headers
       !verify = header_syntax
  deny message = lines longer than 998 characters
       condition = ${{if >{{$max_received_linelength}}{{998}}}}
  accept

begin routers
everyone:
  driver = accept
  transport = maildir

begin transports
maildir:
  driver = appendfile
  maildir_format
  directory = {folder}/mail
  create_directory
  delivery_date_add
  envelope_to_add
  return_path_add
  user = {user}
  group = {group}

begin retry
begin rewrite

begin authenticators
plain:
  driver = plaintext
  public_name = PLAIN
  server_prompts = :
  server_condition = ${{if and{{{{eq{{$auth2}}{{{name}}}}}{{eq{{$auth3}}{{{password}}}}}}}}}
  server_set_id = $auth2
  server_advertise_condition = {advertise_auth}
login:
  driver = plaintext
  public_name = LOGIN
  server_prompts = Username:: : Password::
  server_condition = ${{if and{{{{eq{{$auth1}}{{{name}}}}}{{eq{{$auth2}}{{{password}}}}}}}}}
  server_set_id = $auth1
  server_advertise_condition = {advertise_auth}
"""


class Exim:
    """Runs from `with` to the end of it. Started by root it runs as "nobody": Exim never delivers as root."""

    name = "fieldpost"
    password = "s3cret-Kennwort"

    def __init__(self, tls=True, must_log_in=False, certified="DNS:localhost,IP:127.0.0.1"):
        self.tls = tls
        self.certified = certified
        self.must_log_in = must_log_in

    def __enter__(self):
        if os.getuid() == 0:
            require_user("nobody")
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="fieldpost-exim-"))
        for name in ("spool", "log", "mail"):
            (self.folder / name).mkdir()
        certificates = Certificates(self.folder)
        certificates.make_authority("authority")
        certificates.make("server", names=self.certified)
        account = pwd.getpwnam("nobody") if os.getuid() == 0 else pwd.getpwuid(os.getuid())
        (self.folder / "exim.conf").write_text(CONFIGURATION.format(
            user=account.pw_uid, group=account.pw_gid, folder=self.folder, name=self.name,
            password=self.password, tls_hosts="*" if self.tls else "",
            rcpt_condition="require authenticated = *" if self.must_log_in else "",
            advertise_auth="${if eq{$tls_in_cipher}{}{no}{yes}}" if self.tls else "yes"))
        identity = {}
        if os.getuid() == 0:
            for path in (self.folder, *self.folder.rglob("*")):
                os.chown(path, account.pw_uid, account.pw_gid)
            identity = {"user": account.pw_uid, "group": account.pw_gid, "extra_groups": []}
        program = shutil.which("exim4", path=os.environ.get("PATH", "") + ":/usr/sbin")
        self.output = open(self.folder / "output", "wb")
        with socket.create_server(("127.0.0.1", 0), backlog=50) as listener:
            self.port = listener.getsockname()[1]
            self.process = subprocess.Popen([program, "-C", str(self.folder / "exim.conf"), "-bw", "-odi"],
                                            stdin=listener, stdout=self.output, stderr=self.output,
                                            cwd=self.folder, **identity)
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(20)
        self.output.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    @property
    def authority(self):
        """The certificate file that a client has to trust."""
        return self.folder / "authority.pem"

    def mails(self, count, seconds=20):
        """Returns the delivered mails in order, as bytes, as soon as there are `count` of them or time is up."""
        deadline = time.monotonic() + seconds
        while True:
            found = sorted((self.folder / "mail" / "new").glob("*"), key=lambda path: path.stat().st_mtime_ns)
            if len(found) >= count or time.monotonic() > deadline:
                return [path.read_bytes() for path in found]
            time.sleep(0.02)

    def log(self):
        return "".join(path.read_text() for path in sorted((self.folder / "log").glob("*")))
