"""The one folder that holds everything of a sample mail server.

    ca.pem            certificate of the throwaway authority, for SSL_CERT_FILE
    ca-bundle.pem     the same with the system's authorities behind it
    password          the password of every account, one line, mode 0600
    ports             NAME=value lines: where the server listens
    dovecot.pid       process id of the running server; absent when it is stopped
    dovecot.conf, dovecot.log
    index.json        what the sample mailbox holds, message by message
    certificates/     NAME.pem and NAME.key of the server, kept between starts
    users/ADDRESS/    the home folders, each with its Maildir
    run/              sockets of the running server (below /tmp when this path is too long for a socket)
"""

import contextlib
import fcntl
import os
import secrets
import shlex
import shutil
import stat
import tempfile
import time

_MARKER = ".larkhaven-demo"

# A socket's path holds at most 107 bytes, and Dovecot's longest socket name below the folder takes 25 of them.
_MAX_RUN_PATH = 80

# Characters that need no quoting in any of the places where Dovecot reads a path.
_PLAIN = set("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+")


class Refused(Exception):
    """The folder can't be used; the text says why."""


class StateFolder:
    def __init__(self, path):
        self.path = os.path.realpath(path)

    def file(self, *names):
        return os.path.join(self.path, *names)

    def exists(self):
        return os.path.lexists(self.file(_MARKER))

    def prepare(self, account):
        """Makes the folder, or takes it over; everything in it belongs to `account` afterwards.

        A folder that holds something and was not made here is refused: nobody's files change hands by a slip of the keyboard.
        """
        os.makedirs(self.path, mode=0o755, exist_ok=True)
        if not self.exists():
            if os.listdir(self.path):
                raise Refused(f"{self.path} holds other files; give an empty or a new folder")
            with open(self.file(_MARKER), "x", encoding="utf-8"):
                pass
        if os.getuid() == 0:
            self._hand_over(account)

    def _hand_over(self, account):
        os.chown(self.path, account.pw_uid, account.pw_gid, follow_symlinks=False)
        for folder, folders, files in os.walk(self.path):
            for name in folders + files:
                path = os.path.join(folder, name)
                status = os.lstat(path)
                # A file with a second name may be somebody else's by that other name.
                shared = not stat.S_ISDIR(status.st_mode) and status.st_nlink > 1
                if status.st_uid != account.pw_uid and not shared:
                    os.chown(path, account.pw_uid, account.pw_gid, follow_symlinks=False)

    def check_reachable(self):
        if not os.access(self.path, os.R_OK | os.W_OK | os.X_OK):
            raise Refused(f"{self.path} can't be reached or written by the user who runs the server; "
                          f"choose a folder below {tempfile.gettempdir()}")

    @contextlib.contextmanager
    def lock(self, seconds):
        """One command at a time works on a folder."""
        with open(self.file(".lock"), "a", encoding="utf-8") as handle:
            end = time.monotonic() + seconds
            while True:
                try:
                    fcntl.flock(handle, fcntl.LOCK_EX | fcntl.LOCK_NB)
                    break
                except BlockingIOError:
                    if time.monotonic() > end:
                        raise Refused(f"another command is busy with {self.path}") from None
                    time.sleep(0.02)
            yield

    def write(self, name, text, mode=0o644):
        """Replaces a file whole, so that a reader never sees half of it."""
        temporary = self.file(f".{os.path.basename(name)}.new")
        with contextlib.suppress(FileNotFoundError):
            os.unlink(temporary)
        descriptor = os.open(temporary, os.O_WRONLY | os.O_CREAT | os.O_EXCL, mode)
        with os.fdopen(descriptor, "w", encoding="utf-8") as handle:
            handle.write(text)
        os.replace(temporary, self.file(name))

    def read(self, name):
        try:
            with open(self.file(name), encoding="utf-8") as handle:
                return handle.read()
        except FileNotFoundError:
            return ""

    def remove(self, name):
        with contextlib.suppress(FileNotFoundError):
            os.unlink(self.file(name))

    def password(self, given):
        """The accounts' password: the given one, else the one of last time, else a new one."""
        password = given or self.read("password").rstrip("\n") or secrets.token_urlsafe(12)
        if "\n" in password or "\0" in password:
            raise Refused("a password is one line of text")
        self.write("password", password + "\n", 0o600)
        return password

    def ports(self):
        """The values of the file `ports`, as written at the last start."""
        values = {}
        for line in self.read("ports").splitlines():
            name, _, value = line.partition("=")
            values[name] = "".join(shlex.split(value))
        return values

    def write_ports(self, values):
        self.write("ports", "".join(f"{name}={shlex.quote(str(value))}\n" for name, value in values.items()))

    def make_run_folder(self):
        """A fresh folder for sockets, short enough for them."""
        self.remove_run_folder()
        path = self.file("run")
        if len(os.fsencode(path)) <= _MAX_RUN_PATH and set(path) <= _PLAIN:
            os.mkdir(path, 0o755)
        else:
            path = tempfile.mkdtemp(prefix="larkhaven-", dir="/tmp")
            os.chmod(path, 0o755)
            os.symlink(path, self.file("run"))
        return path

    def remove_run_folder(self):
        path = self.file("run")
        if os.path.islink(path):
            target = os.readlink(path)
            if self._is_own_temporary(target):
                shutil.rmtree(target)
            os.unlink(path)
        elif os.path.isdir(path):
            shutil.rmtree(path)

    @staticmethod
    def _is_own_temporary(path):
        if os.path.dirname(path) != "/tmp" or not os.path.basename(path).startswith("larkhaven-"):
            return False
        try:
            status = os.lstat(path)
        except FileNotFoundError:
            return False
        return stat.S_ISDIR(status.st_mode) and status.st_uid == os.getuid()
