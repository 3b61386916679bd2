"""The submission server beside Dovecot, as seen from the ordinary user who runs it; root's part is a program of its own.

It takes mail over TLS from whoever signs in with an account of Dovecot, and brings it into Dovecot's mailboxes. Nothing leaves the
machine: for other addresses there is no way at all.
"""

import contextlib
import json
import os
import shutil
import socket
import subprocess
import sys

from demo.server import loopback

_PROGRAM = os.path.join(os.path.dirname(os.path.realpath(__file__)), "submission_root.py")
_POSTFIX = "/usr/sbin/postfix"
_CONTROL = "submission"
_CONTROL_TIMEOUT = 15
# The kinds of access, by the name of their port.
PORTS = {"SMTP_PORT": "starttls", "SMTPS_PORT": "tls", "SMTP_PLAIN_PORT": "plain"}


class Unavailable(Exception):
    """There is no submission server to be had here; the text says why."""


class RootPart:
    """The program that runs as root, begun while root can be had, and waiting for its request."""

    def __init__(self):
        if not os.access(_POSTFIX, os.X_OK):
            raise Unavailable("Postfix is not installed (Debian package postfix)")
        command = [sys.executable, "-I", _PROGRAM]
        if os.getuid() != 0:
            command = [_sudo(), "-n", *command]
        self.socket, other = socket.socketpair()
        with other:
            # Not in a session of its own: sudo asks whether this terminal is authorised.
            self.process = subprocess.Popen(command, stdin=other, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, cwd="/")

    def ask(self, request, descriptors, timeout):
        """Sends the request; nothing comes back but a failure."""
        self.socket.settimeout(timeout)
        try:
            message = json.dumps(request).encode()
            sent = socket.send_fds(self.socket, [message], descriptors)
            self.socket.sendall(message[sent:])
            self.socket.shutdown(socket.SHUT_WR)
            answer = b""
            while chunk := self.socket.recv(4096):
                answer += chunk
        except OSError as error:
            answer = str(error).encode()
        if answer != b"ready":
            raise Unavailable(answer.decode(errors="replace") or self._last_words() or "root's part of it ended without a word")

    def _last_words(self):
        try:
            return self.process.communicate(timeout=_CONTROL_TIMEOUT)[1].decode(errors="replace").strip().replace("\n", " ")
        except subprocess.TimeoutExpired:
            return ""

    def close(self):
        """Ends the program, unless it has become a server."""
        self.socket.close()
        self.process.stderr.close()
        try:
            self.process.wait(_CONTROL_TIMEOUT)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()


class Submission:
    def __init__(self, folder):
        self.folder = folder
        self.former = folder.ports()  # a start of Dovecot forgets those of Postfix

    def start(self, root, wanted, certificate, key, ends_with, settings, timeout):
        """Starts the server and waits until it greets. `wanted` ports of 0 are those of the last start, or free ones.

        The server ends together with the process `ends_with`.
        """
        hosts = loopback.usable_hosts()
        chosen = {name: loopback.choose(wanted[name], self.former.get(name), hosts) for name in PORTS}
        run = os.path.realpath(self.folder.file("run"))
        request = {
            "ports": {kind: chosen[name] for name, kind in PORTS.items()},
            "hosts": hosts,
            "recipients": self._recipients(run),
            "certificate": _read(certificate),
            "key": _read(key),
            "settings": settings,
            "sockets": run,
            "ends_with": ends_with,
            "timeout": timeout,
        }
        with contextlib.suppress(FileNotFoundError):
            os.unlink(os.path.join(run, _CONTROL))  # what a crash has left behind
        with socket.socket(socket.AF_UNIX) as control, open(self.folder.file("submission.log"), "ab") as log:
            control.bind(os.path.join(run, _CONTROL))
            control.listen()
            root.ask(request, [control.fileno(), log.fileno()], timeout + _CONTROL_TIMEOUT)
        self.folder.write_ports({**self.folder.ports(), "SMTP_HOST": "localhost", **chosen})

    def is_running(self):
        return self._tell(b"status")

    def stop(self):
        """Ends the server and waits for it. Sessions of clients end with it."""
        self._tell(b"stop")

    def kill(self):
        """Ends the server with all its processes at once, in the middle of whatever they do."""
        self._tell(b"kill")

    def _tell(self, word):
        """False when there is no server to hear it."""
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(_CONTROL_TIMEOUT)
            try:
                connection.connect(os.path.join(os.path.realpath(self.folder.file("run")), _CONTROL))
                connection.sendall(word)
                return connection.recv(16) == b"done"
            except OSError:
                return False

    @staticmethod
    def _recipients(run):
        """The accounts of the running Dovecot."""
        return [line.partition(":")[0] for line in _read(os.path.join(run, "homes")).splitlines()]


def _sudo():
    sudo = shutil.which("sudo")
    if sudo is None:
        raise Unavailable("it needs root, and there is no sudo")
    outcome = subprocess.run([sudo, "-n", "true"], stdin=subprocess.DEVNULL, capture_output=True, timeout=_CONTROL_TIMEOUT, check=False)
    if outcome.returncode != 0:
        raise Unavailable('it needs root, and sudo would ask for a password; "sudo -v" beforehand helps')
    return sudo


def _read(path):
    with open(path, encoding="utf-8") as handle:
        return handle.read()
