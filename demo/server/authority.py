"""A throwaway certificate authority, and the certificates, sound and faulty, of the sample mail server."""

import datetime
import os
import shutil
import subprocess

# The kinds of certificate that the server can show, each with the hosts it names.
LOOPBACK = ("localhost", "127.0.0.1", "127.0.0.2", "::1")
KINDS = {
    "good": LOOPBACK,          # signed by the authority of ca.pem
    "expired": LOOPBACK,       # the same, but its time ran out
    "otherhost": ("mail.elsewhere.example",),
    "unknown": LOOPBACK,       # signed by an authority that is not in ca.pem
    "selfsigned": LOOPBACK,
}

_TIMEOUT = 20
_SYSTEM_BUNDLES = ("/etc/ssl/certs/ca-certificates.crt", "/etc/pki/tls/certs/ca-bundle.crt", "/etc/ssl/cert.pem")

_CONFIGURATION = """
[req]
distinguished_name = name
prompt = no
[name]
commonName = {name}
[authority]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[server]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = serverAuth
subjectKeyIdentifier = hash
subjectAltName = {hosts}
[ca]
default_ca = signer
[signer]
database = index.txt
new_certs_dir = .
rand_serial = yes
default_md = sha256
unique_subject = no
policy = policy
[policy]
commonName = supplied
"""


class Authority:
    """The authorities and certificates below one state folder. Made on first need and kept; all keys are P-256."""

    def __init__(self, folder):
        self.folder = folder
        self.certificates = folder.file("certificates")
        self.private = folder.file("authority")

    def prepare(self):
        """Makes the authority, `ca.pem` and `ca-bundle.pem` where they are missing."""
        os.makedirs(self.certificates, mode=0o755, exist_ok=True)
        os.makedirs(self.private, mode=0o700, exist_ok=True)
        self._make_authority("known", "Larkhaven demo authority")
        authority = self._read(os.path.join(self.private, "known.pem"))
        self.folder.write("ca.pem", authority)
        self.folder.write("ca-bundle.pem", authority + self._system_authorities())

    def certificate(self, kind, hosts=None):
        """The paths of certificate and key of a kind, or of a further name with its own hosts."""
        certificate = os.path.join(self.certificates, kind + ".pem")
        key = os.path.join(self.certificates, kind + ".key")
        if hosts or not os.path.exists(certificate):
            hosts = hosts or KINDS[kind]
            if kind == "selfsigned":
                self._self_sign(hosts[0], hosts, "server", certificate, key)
            else:
                signer = "unknown" if kind == "unknown" else "known"
                self._make_authority(signer, "An authority that nobody knows")
                self._sign(hosts, signer, certificate, key, expired=kind == "expired")
        return certificate, key

    def _make_authority(self, signer, name):
        certificate = os.path.join(self.private, signer + ".pem")
        if not os.path.exists(certificate):
            self._self_sign(name, LOOPBACK, "authority", certificate, os.path.join(self.private, signer + ".key"))

    def _self_sign(self, name, hosts, section, certificate, key):
        work, configuration = self._workplace(name, hosts)
        _openssl(work, "req", "-x509", *_new_key(key), "-config", configuration, "-extensions", section, "-days", "820",
                 "-sha256", "-out", certificate + ".new")
        os.replace(certificate + ".new", certificate)
        shutil.rmtree(work)

    def _sign(self, hosts, signer, certificate, key, expired):
        work, configuration = self._workplace(hosts[0], hosts)
        request = os.path.join(work, "request.pem")
        now = datetime.datetime.now(datetime.timezone.utc)
        start, end = (-400, -30) if expired else (-1, 820)
        _openssl(work, "req", "-new", *_new_key(key), "-config", configuration, "-out", request)
        _openssl(work, "ca", "-batch", "-notext", "-config", configuration, "-extensions", "server", "-in", request,
                 "-cert", os.path.join(self.private, signer + ".pem"),
                 "-keyfile", os.path.join(self.private, signer + ".key"),
                 "-startdate", _time(now, start), "-enddate", _time(now, end), "-out", certificate + ".new")
        os.replace(certificate + ".new", certificate)
        shutil.rmtree(work)

    def _workplace(self, name, hosts):
        work = os.path.join(self.private, "work")
        shutil.rmtree(work, ignore_errors=True)
        os.mkdir(work, 0o700)
        names = ",".join(("IP:" if _is_address(host) else "DNS:") + host for host in hosts)
        configuration = os.path.join(work, "openssl.cnf")
        with open(configuration, "w", encoding="utf-8") as handle:
            handle.write(_CONFIGURATION.format(name=name, hosts=names))
        with open(os.path.join(work, "index.txt"), "w", encoding="utf-8"):
            pass
        return work, configuration

    @staticmethod
    def _read(path):
        with open(path, encoding="utf-8") as handle:
            return handle.read()

    def _system_authorities(self):
        for path in _SYSTEM_BUNDLES:
            if os.access(path, os.R_OK):
                return self._read(path)
        return ""


def _new_key(path):
    return "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout", path


def _time(now, days):
    return (now + datetime.timedelta(days=days)).strftime("%Y%m%d%H%M%SZ")


def _is_address(host):
    return ":" in host or host.replace(".", "").isdigit()


def _openssl(work, *arguments):
    """Runs openssl inside the folder `work`: its configuration can't hold every path."""
    outcome = subprocess.run(["openssl", *arguments], cwd=work, stdin=subprocess.DEVNULL, capture_output=True, timeout=_TIMEOUT,
                             check=False, text=True, env={**os.environ, "OPENSSL_CONF": "/dev/null"})
    if outcome.returncode != 0:
        raise RuntimeError(f"openssl {arguments[0]} failed: {outcome.stderr.strip()}")
