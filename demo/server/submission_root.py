"""Root's part of the submission server, and all of it: a Postfix whose files and processes are in namespaces of their own.

Postfix wants root, and has its places in the system. In a mount namespace of its own a file system in memory covers those, so that
neither the system's Postfix nor anything else on the disk is touched; in a process namespace of its own nothing outlives its first
process. Run as a program of its own, isolated, because root imports nothing that others may write.

Standard input is a socket. From there come a request, as JSON, and two descriptors: a listening socket, through which "status",
"stop" and "kill" are asked for, and the file for the log. Back goes "ready", or why it is not. The server ends when it is told to,
and in any case together with the process that the request names.
"""

import ctypes
import grp
import json
import os
import pwd
import select
import signal
import socket
import subprocess
import sys
import time

# The file system in memory covers this folder of the package.
ROOM = "/var/spool/postfix"
CONFIGURATION = f"{ROOM}/configuration"
SOCKETS = f"{ROOM}/sockets"
_QUEUE = f"{ROOM}/queue"
# The command "postfix" looks at everything for seconds before it starts the same. In Debian's place and that of others.
_PROGRAMS = ("/usr/lib/postfix/sbin/master", "/usr/libexec/postfix/master")
_SIZE = "mode=755,size=1g"
_STOP_TIMEOUT = 5
_POLL = 0.02
_MAX_REQUEST = 1_000_000

_CLONE_NEWNS, _CLONE_NEWPID = 0x20000, 0x20000000
_MS_NOSUID, _MS_NODEV, _MS_NOEXEC, _MS_BIND, _MS_REC, _MS_PRIVATE = 2, 4, 8, 4096, 16384, 1 << 18
_PR_SET_PDEATHSIG = 1

_libc = ctypes.CDLL(None, use_errno=True)

_MAIN = """\
compatibility_level = 3.6
queue_directory = {room}/queue
data_directory = {room}/data
maillog_file = /dev/stdout
myhostname = localhost
mydestination =
mynetworks =
inet_protocols = {protocols}

# No host is ever looked up, and there is no way to one: nothing leaves the machine.
smtpd_peername_lookup = no
lmtp_dns_support_level = disabled
default_transport = error:no mail leaves this machine
relay_transport = error:no mail leaves this machine
local_transport = error:no mail leaves this machine
alias_maps =
local_recipient_maps =
virtual_alias_maps =
virtual_mailbox_domains = {domains}
virtual_mailbox_maps = texthash:{configuration}/recipients
virtual_transport = lmtp:unix:{sockets}/lmtp
notify_classes =

smtpd_tls_chain_files = {configuration}/server.pem
smtpd_tls_protocols = >=TLSv1.2
smtpd_tls_mandatory_protocols = >=TLSv1.2
smtpd_tls_auth_only = yes
smtpd_sasl_type = dovecot
smtpd_sasl_path = {sockets}/submission-auth
smtpd_relay_restrictions = reject_unauth_destination
smtpd_recipient_restrictions = permit_sasl_authenticated, reject
smtpd_error_sleep_time = 0

message_size_limit = 134217728
mailbox_size_limit = 0
virtual_mailbox_limit = 0
# Messages stay as they were written.
local_header_rewrite_clients =
append_dot_mydomain = no
queue_run_delay = 2s
minimal_backoff_time = 2s
maximal_backoff_time = 10s
"""

_SERVICES = """\
cleanup unix n - n - 0 cleanup
qmgr unix n - n 300 1 qmgr
tlsmgr unix - - n 1000? 1 tlsmgr
rewrite unix - - n - - trivial-rewrite
bounce unix - - n - 0 bounce
defer unix - - n - 0 bounce
trace unix - - n - 0 bounce
error unix - - n - - error
retry unix - - n - - error
lmtp unix - - n - - lmtp
anvil unix - - n - 1 anvil
postlog unix-dgram n - n - 1 postlogd
"""

_LISTENER = """\
{address}:{port} inet n - n - - smtpd
  -o smtpd_tls_security_level={security}
  -o smtpd_tls_wrappermode={implicit}
  -o smtpd_sasl_auth_enable={login}
"""


class Failed(Exception):
    """The server did not start; the text says why."""


class Server:
    def __init__(self, request, log):
        self.request = request
        self.log = log
        self.process = None

    def start(self):
        self._cover()
        self._configure()
        _check(_libc.unshare(_CLONE_NEWPID), "a process namespace")
        # The first process of its namespace: the kernel ends all the others with it.
        self.process = subprocess.Popen([_program(), "-c", CONFIGURATION, "-i"], stdin=subprocess.DEVNULL, stdout=self.log,
                                        stderr=self.log, cwd="/", start_new_session=True, preexec_fn=_end_with_parent,
                                        env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C"})
        end = time.monotonic() + self.request["timeout"]
        while not self._greets():
            if self.process.poll() is not None:
                raise Failed(f"Postfix ended with {self.process.returncode}")
            if time.monotonic() > end:
                raise Failed("Postfix does not answer")
            time.sleep(_POLL)

    def end(self, number):
        for each in dict.fromkeys((number, signal.SIGKILL)):
            if self.process is None or self.process.poll() is not None:
                return
            self.process.send_signal(each)
            try:
                self.process.wait(_STOP_TIMEOUT)
            except subprocess.TimeoutExpired:
                pass

    def _cover(self):
        _check(_libc.unshare(_CLONE_NEWNS), "a mount namespace")
        _mount(b"none", b"/", None, _MS_REC | _MS_PRIVATE)
        _mount(b"tmpfs", ROOM.encode(), b"tmpfs", _MS_NOSUID | _MS_NODEV | _MS_NOEXEC, _SIZE.encode())
        os.mkdir(CONFIGURATION, 0o755)
        self._make_queue()
        os.mkdir(SOCKETS)
        # The folder of the sockets may be where only its owner gets to.
        _mount(os.fsencode(self.request["sockets"]), SOCKETS.encode(), None, _MS_BIND)

    @staticmethod
    def _make_queue():
        """What "postfix check" would make and test at length."""
        owner, group = pwd.getpwnam("postfix").pw_uid, grp.getgrnam("postdrop").gr_gid
        os.mkdir(_QUEUE, 0o755)
        os.mkdir(f"{_QUEUE}/pid", 0o755)
        for name in ("active", "bounce", "corrupt", "defer", "deferred", "flush", "hold", "incoming", "private", "saved", "trace"):
            _make_folder(f"{_QUEUE}/{name}", owner, 0, 0o700)
        _make_folder(f"{_QUEUE}/maildrop", owner, group, 0o730)
        _make_folder(f"{_QUEUE}/public", owner, group, 0o710)
        _make_folder(f"{ROOM}/data", owner, 0, 0o700)

    def _configure(self):
        request = self.request
        domains = sorted({name.rpartition("@")[2] for name in request["recipients"]})
        main = _MAIN.format(room=ROOM, configuration=CONFIGURATION, sockets=SOCKETS, domains=", ".join(domains),
                            protocols="all" if any(":" in host for host in request["hosts"]) else "ipv4")
        main += "".join(f"{setting}\n" for setting in request["settings"])
        services = _SERVICES
        for kind, port in request["ports"].items():
            for host in request["hosts"]:
                services += _LISTENER.format(address=f"[{host}]" if ":" in host else host, port=int(port),
                                             security="none" if kind == "plain" else "encrypt",
                                             implicit="yes" if kind == "tls" else "no", login="no" if kind == "plain" else "yes")
        _write("main.cf", main)
        _write("master.cf", services)
        _write("recipients", "".join(f"{name} known\n" for name in request["recipients"]))
        _write("server.pem", request["key"] + request["certificate"], 0o600)

    def _greets(self):
        for kind, port in self.request["ports"].items():
            try:
                with socket.create_connection((self.request["hosts"][0], port), timeout=1) as connection:
                    # With TLS from the first byte it is the client who begins.
                    if kind != "tls" and not connection.recv(4096).startswith(b"220 "):
                        return False
            except OSError:
                return False
        return True


def _program():
    for path in _PROGRAMS:
        if os.access(path, os.X_OK):
            return path
    raise Failed("Postfix is not installed (Debian package postfix)")


def _check(result, what):
    if result != 0:
        raise Failed(f"{what} is not to be had: {os.strerror(ctypes.get_errno())}")


def _mount(source, target, kind, flags, data=None):
    _check(_libc.mount(source, target, kind, ctypes.c_ulong(flags), data), f"a mount on {target.decode()}")


def _make_folder(path, owner, group, mode):
    os.mkdir(path)
    os.chown(path, owner, group)
    os.chmod(path, mode)


def _write(name, text, mode=0o644):
    descriptor = os.open(f"{CONFIGURATION}/{name}", os.O_WRONLY | os.O_CREAT | os.O_EXCL, mode)
    with os.fdopen(descriptor, "w", encoding="utf-8") as handle:
        handle.write(text)
    # Postfix waits for files to be seconds old before it reads them.
    os.utime(f"{CONFIGURATION}/{name}", (0, 0))


def _end_with_parent():
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)


def _read_request(connection):
    """The request and its descriptors; nothing where the caller wanted no server after all."""
    data, descriptors, _, _ = socket.recv_fds(connection, 65536, 2)
    while data and (more := connection.recv(65536)):
        data += more
        if len(data) > _MAX_REQUEST:
            raise Failed("the request is too long")
    if not data:
        return None, None, None
    if len(descriptors) != 2:
        raise Failed("the descriptors did not come through")
    return json.loads(data), socket.socket(fileno=descriptors[0]), descriptors[1]


def _serve(server, control, watched):
    """Waits for words and for ends."""
    poll = select.poll()
    own = os.pidfd_open(server.process.pid)
    for descriptor in (control.fileno(), own, watched):
        poll.register(descriptor, select.POLLIN)
    while True:
        ready = {descriptor for descriptor, _ in poll.poll()}
        if own in ready or watched in ready:
            server.end(signal.SIGKILL)
            return
        connection, _ = control.accept()
        with connection:
            if _answer(server, connection):
                return


def _answer(server, connection):
    """True when the server has been ended."""
    connection.settimeout(_STOP_TIMEOUT)
    try:
        word = connection.recv(16)
        if word in (b"stop", b"kill"):
            server.end(signal.SIGTERM if word == b"stop" else signal.SIGKILL)
        connection.sendall(b"done")
    except OSError:
        return server.process.poll() is not None
    return word in (b"stop", b"kill")


def main():
    with socket.socket(fileno=os.dup(0)) as caller:
        try:
            request, control, log = _read_request(caller)
            if request is None:
                return
            # The caller is answered by the process that stays.
            if os.fork():
                os._exit(0)
            os.setsid()
            os.dup2(os.open(os.devnull, os.O_RDWR), 0)
            for descriptor in (1, 2):
                os.dup2(log, descriptor)
            watched = os.pidfd_open(request["ends_with"])
            server = Server(request, log)
            try:
                server.start()
            except (Failed, OSError):
                server.end(signal.SIGKILL)
                raise
            caller.sendall(b"ready")
        except (Failed, OSError, LookupError, ValueError) as error:
            caller.sendall(str(error).encode())
            return
    _serve(server, control, watched)


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    main()
