"""Certificates of a test's own."""

import pathlib
import ssl
import subprocess


class Certificates:
    """Makes authorities and certificates as PEM files in a folder: NAME.pem and NAME.key."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)

    def path(self, name):
        return str(self.folder / name)

    def make_authority(self, name, subject="/CN=Test authority"):
        """Makes an authority that signs itself."""
        self._openssl("req", "-x509", *self._new_key(name), "-subj", subject, "-days", "2", "-out", f"{name}.pem",
                      "-addext", "basicConstraints=critical,CA:TRUE")

    def make(self, name, names="IP:127.0.0.1", signer="authority", moment=None):
        """Makes a certificate for `names`, valid for two days from `moment` on, or from now.

        signer: an authority; None for a certificate that signs itself.
        """
        (self.folder / f"{name}.names").write_text(f"subjectAltName={names}\n")
        self._openssl("req", *self._new_key(name), "-subj", f"/CN={name}", "-out", f"{name}.csr")
        by = ("-signkey", f"{name}.key") if signer is None else ("-CA", f"{signer}.pem", "-CAkey", f"{signer}.key")
        self._openssl("x509", "-req", "-in", f"{name}.csr", *by, "-set_serial", "7", "-days", "2", "-extfile",
                      f"{name}.names", "-out", f"{name}.pem", moment=moment)

    def context(self, name):
        """Returns the SSL context of a server that bears this certificate."""
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(self.path(f"{name}.pem"), self.path(f"{name}.key"))
        return context

    @staticmethod
    def _new_key(name):
        return ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", f"{name}.key")

    def _openssl(self, *arguments, moment=None):
        clock = ["faketime", "-f", f"@{moment}"] if moment else []
        subprocess.run([*clock, "openssl", *arguments], cwd=self.folder, check=True, capture_output=True)
