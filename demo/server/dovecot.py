"""Configures, starts and ends one Dovecot that belongs to an ordinary user and listens on loopback only."""

import base64
import contextlib
import grp
import os
import shutil
import signal
import socket
import subprocess
import time

from demo.server import loopback, privileges

_START_ATTEMPTS = 5
_POLL = 0.01
_STOP_TIMEOUT = 5

_CONFIGURATION = """\
instance_name = larkhaven-demo
base_dir = {run}
state_dir = {run}/state
log_path = {log}
protocols = imap lmtp
listen = {listen}
default_internal_user = {user}
default_internal_group = {group}
default_login_user = {user}
first_valid_uid = {uid}
last_valid_uid = {uid}
first_valid_gid = {gid}

service imap-login {{
  chroot =
  service_count = 0
  process_min_avail = 1
  inet_listener imap {{
    port = {imap_port}
  }}
  inet_listener imaps {{
    port = {imaps_port}
    ssl = yes
  }}
}}
service anvil {{
  chroot =
  unix_listener anvil-auth-penalty {{
    mode = 0
  }}
}}
service auth {{
  unix_listener submission-auth {{
    mode = 0666
  }}
}}
service lmtp {{
  unix_listener lmtp {{
    mode = 0666
  }}
{lmtp_listener}}}

ssl = required
ssl_min_protocol = TLSv1.2
ssl_cert = <{run}/server.pem
ssl_key = <{run}/server.key
disable_plaintext_auth = yes
auth_mechanisms = plain login{token_mechanisms}
auth_failure_delay = 0
auth_username_format = %Lu
mail_max_userip_connections = 100
login_greeting = The sample mail server is ready.
postmaster_address = postmaster@larkhaven.example
hostname = localhost

passdb {{
  driver = passwd-file
  mechanisms = plain login
  args = username_format=%u/%s/%c {run}/accounts
}}
{token_database}userdb {{
  driver = passwd-file
  args = username_format=%u {run}/homes
}}
mail_uid = {uid}
mail_gid = {gid}
mail_home = {homes}
mail_location = maildir:~/Maildir
mail_fsync = never

namespace inbox {{
  inbox = yes
  separator = {separator}
  prefix = {prefix}
{mailboxes}}}
"""

_MAILBOX = """\
  mailbox {name} {{
    auto = subscribe
    special_use = \\{name}
  }}
"""
# Tokens are good when their server says so (RFC 7662).
_TOKEN_DATABASE = """\
passdb {{
  driver = oauth2
  mechanisms = xoauth2 oauthbearer
  args = {run}/tokens
}}
"""
_TOKENS = """\
introspection_mode = post
introspection_url = {url}
active_attribute = active
active_value = true
username_attribute = username
"""


class Failed(Exception):
    """Dovecot did not start or did not end; the text says why."""


class Dovecot:
    def __init__(self, folder, account):
        self.folder = folder
        self.account = account
        self.process = None

    # Starting

    def start(self, options, certificate, key, timeout, own_child):
        """Starts Dovecot and waits until it greets. With `own_child` it ends together with this process.

        Ports of 0 are those of the last start, or free ones; when somebody took a chosen port meanwhile, another is chosen.
        """
        listen = loopback.usable_hosts()
        former = self.folder.ports()
        for attempt in range(_START_ATTEMPTS):
            if attempt:
                former = {}
            ports = {
                "imap_port": loopback.choose(options.imap_port, former.get("IMAP_PORT"), listen),
                "imaps_port": loopback.choose(options.imaps_port, former.get("IMAPS_PORT"), listen),
                "lmtp_port": None if options.lmtp_port is None
                             else loopback.choose(options.lmtp_port, former.get("LMTP_PORT"), listen),
            }
            self._configure(options, certificate, key, listen, ports)
            if self._launch(ports, timeout, own_child):
                return
        raise Failed("no free ports were found")

    def _configure(self, options, certificate, key, listen, ports):
        run = self.folder.make_run_folder()
        os.mkdir(os.path.join(run, "state"))
        shutil.copy(certificate, os.path.join(run, "server.pem"))
        shutil.copy(key, os.path.join(run, "server.key"))
        self._write_accounts(run, options.users)
        token_database = ""
        if options.introspection:
            token_database = _TOKEN_DATABASE.format(run=run)
            with open(os.path.join(run, "tokens"), "x", encoding="utf-8") as handle:
                handle.write(_TOKENS.format(url=options.introspection))
        lmtp_listener = ""
        if ports["lmtp_port"] is not None:
            lmtp_listener = f"  inet_listener lmtp {{\n    port = {ports['lmtp_port']}\n  }}\n"
        text = _CONFIGURATION.format(
            run=run, log=_quoted(self.folder.file("dovecot.log")), homes=_quoted(self.folder.file("users").replace("%", "%%") + "/%u"),
            listen=", ".join(listen), user=self.account.pw_name, group=_group_name(os.getgid()),
            uid=os.getuid(), gid=os.getgid(), imap_port=ports["imap_port"], imaps_port=ports["imaps_port"],
            mailboxes="".join(_MAILBOX.format(name=name) for name in options.special_folders),
            lmtp_listener=lmtp_listener, token_database=token_database,
            token_mechanisms=" xoauth2 oauthbearer" if token_database else "", separator="/" if options.hierarchy == "top" else ".",
            prefix="" if options.hierarchy == "top" else "INBOX.")
        text += "".join(f"{setting}\n" for setting in options.settings)
        self.folder.write("dovecot.conf", text)
        written = {"IMAP_HOST": "localhost", "IMAP_PORT": ports["imap_port"], "IMAPS_PORT": ports["imaps_port"]}
        if loopback.STRANGER_HOST in listen:
            written["STRANGER_HOST"] = loopback.STRANGER_HOST
        if ports["lmtp_port"] is not None:
            written["LMTP_PORT"] = ports["lmtp_port"]
        written["LMTP_SOCKET"] = os.path.join(run, "lmtp")
        self.folder.write_ports(written)

    def _write_accounts(self, run, users):
        # A name with "/imap/TLS" behind it is found only for a mail client that speaks TLS. The submission server, which lets
        # nobody sign in without, counts as "secured".
        account = "{name}/imap/TLS:{{PLAIN.b64}}{password}\n{name}/smtp/secured:{{PLAIN.b64}}{password}\n"
        lines = {"accounts": account, "homes": "{name}::{uid}:{gid}:::\n"}
        for file, line in lines.items():
            with open(os.path.join(run, file), "x", encoding="utf-8", opener=_private) as handle:
                for name, password in users.items():
                    handle.write(line.format(name=name, uid=os.getuid(), gid=os.getgid(),
                                             password=base64.b64encode(password.encode()).decode()))

    def _launch(self, ports, timeout, own_child):
        """True when the server greets, false when a port was taken meanwhile."""
        parent = os.getpid()
        log_before = len(self.folder.read("dovecot.log"))
        with open(self.folder.file("dovecot.log"), "ab") as log:
            self.process = subprocess.Popen(
                [_program("dovecot"), "-F", "-c", self.folder.file("dovecot.conf")],
                stdin=subprocess.DEVNULL, stdout=log, stderr=log, cwd=self.folder.path, start_new_session=True,
                env={"PATH": os.defpath, "HOME": self.folder.path, "LC_ALL": "C.UTF-8"},
                preexec_fn=(lambda: privileges.end_with_parent(parent)) if own_child else None)
        self.folder.write("dovecot.pid", f"{self.process.pid}\n")
        end = time.monotonic() + timeout
        while not self._ready(ports):
            if self.process.poll() is not None:
                self.folder.remove("dovecot.pid")
                words = self.folder.read("dovecot.log")[log_before:].strip()
                if "Address already in use" in words:
                    return False
                raise Failed(f"Dovecot did not start: {words[-2000:]}")
            if time.monotonic() > end:
                self.kill()
                raise Failed(f"Dovecot did not answer within {timeout} seconds; see {self.folder.file('dovecot.log')}")
            time.sleep(_POLL)
        return True

    def _ready(self, ports):
        # The id is written once every port is taken: before that it would be somebody else who answers.
        return os.path.exists(self.folder.file("run", "master.pid")) and _greets(ports["imap_port"])

    # Watching and ending

    def running_pid(self):
        """The id of the running server, or none. A foreign process that got its number is not taken for it."""
        text = self.folder.read("dovecot.pid").strip()
        if not text.isdigit():
            return None
        try:
            with open(f"/proc/{text}/cmdline", "rb") as handle:
                arguments = handle.read().rstrip(b"\0").split(b"\0")
        except (FileNotFoundError, ProcessLookupError):
            return None
        own = arguments[-1:] == [os.fsencode(self.folder.file("dovecot.conf"))]
        return int(text) if own and _process_state(text)[0] not in (None, b"Z", b"X") else None

    def answers(self):
        """Whether the server of the file `ports` runs and greets."""
        port = self.folder.ports().get("IMAP_PORT")
        return self.running_pid() is not None and port is not None and _greets(int(port))

    def stop(self):
        """Ends the server and waits for it. Sessions of clients end with it."""
        self._end(signal.SIGTERM)

    def kill(self):
        """Ends the server with all its processes at once, in the middle of whatever they do."""
        self._end(signal.SIGKILL)

    def _end(self, first):
        pid = self.running_pid()
        if pid is None and self.process is not None and self.process.poll() is None:
            pid = self.process.pid
        if pid is not None:
            self._end_process(pid, first)
        self.folder.remove("dovecot.pid")
        self.folder.remove_run_folder()

    def _end_process(self, pid, first):
        """The server was started as the leader of a session and group of its own, which no other process joins.

        The whole group is told: on its own the master waits for a second until its log process goes.
        """
        for number in dict.fromkeys((first, signal.SIGKILL)):
            with contextlib.suppress(ProcessLookupError):
                os.killpg(pid, number)
            self._wait(lambda: not _group_lives(pid))
        if self.running_pid() is not None:
            raise Failed(f"process {pid} does not end")

    def _wait(self, condition):
        end = time.monotonic() + _STOP_TIMEOUT
        while not condition() and time.monotonic() < end:
            if self.process is not None:
                self.process.poll()
            time.sleep(_POLL)

    # Using it

    def doveadm(self, arguments, timeout):
        """Runs doveadm against this server's mail; returns its exit code."""
        command = [_program("doveadm"), "-c", self.folder.file("dovecot.conf"), *arguments]
        return subprocess.run(command, timeout=timeout, check=False, cwd=self.folder.path).returncode


def _program(name):
    """Dovecot lives in sbin, which is not on every user's path."""
    found = shutil.which(name, path=os.defpath + ":/usr/sbin:/sbin:/usr/local/sbin:/usr/local/bin:" + os.environ.get("PATH", ""))
    if found is None:
        raise Failed(f"{name} is not installed (Debian packages dovecot-core, dovecot-imapd, dovecot-lmtpd)")
    return found


def _group_name(group):
    try:
        return grp.getgrgid(group).gr_name
    except KeyError:
        raise Failed(f"group {group} has no name in the group database, which Dovecot insists on") from None


def _private(path, flags):
    return os.open(path, flags, 0o600)


def _quoted(value):
    return '"' + value.replace("\\", "\\\\").replace('"', '\\"') + '"'


def _greets(port):
    try:
        with socket.create_connection((loopback.HOSTS[0], port), timeout=1) as connection:
            return connection.recv(4096).startswith(b"* OK")
    except OSError:
        return False


def _group_lives(group):
    """Whether a process of the group still runs. The dead that nobody has collected yet do not count: where the first
    process of a container collects none, they stay for ever."""
    for name in os.listdir("/proc"):
        if name.isdigit():
            state, member_of = _process_state(name)
            if member_of == group and state not in (b"Z", b"X"):
                return True
    return False


def _process_state(pid):
    """The state and the group of a process, both nothing when there is no such process."""
    try:
        with open(f"/proc/{pid}/stat", "rb") as handle:
            fields = handle.read().rpartition(b")")[2].split()
    except (FileNotFoundError, ProcessLookupError):
        return None, None
    return fields[0], int(fields[2])
