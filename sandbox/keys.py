"""Certificate chains of a provider: root, intermediate, server. Made with openssl for each sandbox."""

import subprocess
from pathlib import Path

CERTIFICATES = Path("/etc/ssl/certs")
_CONFIG = "[req]\ndistinguished_name = name\nprompt = no\n[name]\nCN = unused\n"
_CA = ("basicConstraints=critical,CA:TRUE", "keyUsage=critical,keyCertSign,cRLSign")


def trust(certificates, hashed=True):
    """Makes the machine trust these, laid out as on Debian: a bundle, and with hashed a folder for look-ups as well.
    Tiny systems have the bundle alone."""
    for path in CERTIFICATES.iterdir():
        path.unlink()
    for number, text in enumerate(certificates if hashed else ()):
        (CERTIFICATES / f"{number}.pem").write_text(text)
    if hashed:
        subprocess.run(["openssl", "rehash", CERTIFICATES], check=True, capture_output=True)
    (CERTIFICATES / "ca-certificates.crt").write_text("".join(certificates))


class Authority:
    """A root and an intermediate; only the root's certificate is meant for a bundle."""

    def __init__(self, folder, name):
        self.folder = Path(folder) / name
        self.folder.mkdir()
        (self.folder / "openssl.cnf").write_text(_CONFIG)
        self._issue("root", f"{name} Root CA", _CA, None)
        self._issue("intermediate", f"{name} Intermediate CA", _CA, "root")

    @property
    def root(self):
        return (self.folder / "root.pem").read_text()

    def server(self, host, expired=False):
        """A server certificate for one host name: files (chain, key) as nginx takes them."""
        name = f"{host}.expired" if expired else host
        self._issue(name, host, (f"subjectAltName=DNS:{host}", "extendedKeyUsage=serverAuth"), "intermediate")
        if expired:
            self._expire(name)
        chain = self.folder / f"{name}.chain.pem"
        chain.write_text("".join((self.folder / f"{each}.pem").read_text() for each in (name, "intermediate")))
        return chain, self.folder / f"{name}.key"

    def _expire(self, name):
        """Issues a certificate again with an end in the past, which "req" refuses to do."""
        request = self._x509(b"", "-x509toreq", "-in", f"{name}.pem", "-signkey", f"{name}.key")
        expired = self._x509(request, "-req", "-CA", "intermediate.pem", "-CAkey", "intermediate.key",
                             "-CAcreateserial", "-days", "-1")
        (self.folder / f"{name}.pem").write_bytes(expired)

    def _x509(self, text, *options):
        return subprocess.run(["openssl", "x509", "-copy_extensions", "copy", *options], cwd=self.folder, check=True,
                              capture_output=True, input=text).stdout

    def _issue(self, name, subject, extensions, issuer):
        command = ["openssl", "req", "-x509", "-config", "openssl.cnf", "-newkey", "ec", "-pkeyopt",
                   "ec_paramgen_curve:P-256", "-noenc", "-days", "30", "-subj", f"/CN={subject}", "-keyout",
                   f"{name}.key", "-out", f"{name}.pem"]
        for extension in extensions:
            command += ["-addext", extension]
        if issuer:
            command += ["-CA", f"{issuer}.pem", "-CAkey", f"{issuer}.key"]
        subprocess.run(command, cwd=self.folder, check=True, capture_output=True)
