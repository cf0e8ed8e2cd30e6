"""Small sites to mail from, with a password that nobody but the mail server may see."""

import base64
import itertools
import subprocess

import crash_support  # noqa: F401  (makes tests/tools and tests/system importable)
from support import SENDER, Site

USER, PASSWORD = "collector", "Kn0rke-7391 Wort"
LOGIN = f"{USER}:{PASSWORD}"
# The password as it is written in settings, as it is asked for, and as it goes with a login.
SECRETS = [PASSWORD.encode(), base64.b64encode(PASSWORD.encode()).rstrip(b"="),
           base64.b64encode(f"\0{USER}\0{PASSWORD}".encode()).rstrip(b"=")]


class MailSite(Site):
    """Needs no registry: the program's own folder is the installation path."""

    def __init__(self, root, port, **options):
        super().__init__(root)
        self.suite = self.home
        self.latest = [self.faultlog / "Latest"]
        self.latest[0].mkdir(parents=True)
        self.home.chmod(0o700)
        self.set_options(SMTPServer="127.0.0.1", SMTPPort=str(port), SenderAddress=SENDER, PartnerID="4711",
                         NumAttachments="4", UseZip="False", TryCount="1", Timeout="10")
        self.set_options(**options)


def secrets_in(site):
    """Returns where the password has leaked to: names of the site's files, "printed" for the program's output."""
    found = [str(path) for path in site.root.rglob("*") if path.is_file() and path.name != "Options.ini"
             and any(secret in path.read_bytes() for secret in SECRETS)]
    printed = site.printed.encode("utf-8", "surrogateescape")
    return found + (["printed"] if any(secret in printed for secret in SECRETS) else [])


def run_through_time(site, *switches, begin, step=700):
    """Runs the program to its end. Once `begin` is set, its clock advances by `step` seconds in each twentieth of one.

    Returns its exit status.
    """
    clock = site.root / "clock"
    clock.write_text("+0")
    process = site.start(*switches, under=(
        "faketime", "-f", "+0", "env", "-u", "FAKETIME", f"FAKETIME_TIMESTAMP_FILE={clock}", "FAKETIME_NO_CACHE=1"))
    begin.wait(30)
    for seconds in itertools.count(step, step):
        (site.root / "clock.new").write_text(f"+{seconds}s")
        (site.root / "clock.new").rename(clock)
        try:
            site.printed = "".join(process.communicate(timeout=0.05))
            return process.returncode
        except subprocess.TimeoutExpired:
            if seconds > 1000 * step:
                process.kill()
                process.communicate()
                raise
