"""The command line of the sample mail server."""

import argparse
import datetime
import os
import shutil
import signal
import smtplib
import sys

from demo.mailbox import bulk, catalogue, maildir
from demo.server import authority, dovecot, loopback, privileges, statefolder, submission

OWNER = "mara@larkhaven.example"
SECOND_USER = "theo@larkhaven.example"
SENDER = "postman@larkhaven.example"
_LOCK_SECONDS = 60
_DELIVERY_SECONDS = 20
_MAX_BULK = 1_000_000

_DESCRIPTION = """\
A throwaway mail server on loopback with a sample mailbox: a real Dovecot that runs as an ordinary user and keeps all that
it has in one state folder. Called by root, it gives up root first and runs as the user LARKHAVEN_DEMO_USER ("nobody").

Beside it a real Postfix takes mail from those who sign in and delivers it into the mailboxes; none leaves the machine. It
needs root, directly or by a sudo that asks for nothing, and leaves no trace on the disk: it lives in namespaces of its own.
Where root can't be had there is a line about it, and mail can be read but not sent.

  start        makes what is missing, starts the server, prints the ports; does nothing but print when it runs already
  restart      stop and start, on the same ports
  stop         ends exactly the server of this folder, and waits for it
  kill         ends it at once with every session, as a crash or a power cut would (both with --submission-only for
               Postfix alone; a later start brings it back)
  status       prints the ports and exits with 0 while it runs, with 3 otherwise
  deliver      delivers a message (a file, or standard input) through LMTP
  doveadm      runs doveadm with the configuration of this server: mailserver doveadm FOLDER -- ARGUMENTS
  certificate  makes certificates/NAME.pem and NAME.key for given hosts, signed by the authority of ca.pem

Accounts: mara@larkhaven.example (the sample mailbox), theo@larkhaven.example (no messages), and those of --user.
"""


def main(arguments):
    options = _parser().parse_args(arguments)
    try:
        account = privileges.server_account(options.run_as)
        folder = statefolder.StateFolder(options.folder)
        # What only the caller may read is read before root is given up.
        message = _read_message(options) if options.command == "deliver" else None
        if options.command in ("start", "restart"):
            folder.prepare(account)
            options.root = _root_part(options)
        elif not folder.exists():
            return _absent(options, folder)
        privileges.give_up_root(account)
        folder.check_reachable()
        os.chdir(folder.path)
        return _COMMANDS[options.command](options, folder, dovecot.Dovecot(folder, account), message)
    except (privileges.NoSuchUser, statefolder.Refused, dovecot.Failed, loopback.NoFreePort, submission.Unavailable, OSError,
            RuntimeError) as error:
        print(f"mailserver: {error}", file=sys.stderr)
        return 1


def _root_part(options):
    """What starts the submission server, while root is still there; or nothing, said in a line."""
    if options.submission == "no":
        return None
    try:
        return submission.RootPart()
    except submission.Unavailable as error:
        return _without_submission(options, error)


def _without_submission(options, error):
    if options.submission == "yes":
        raise submission.Unavailable(f"no submission server: {error}")
    print(f"mailserver: there is no submission server, so mail can be read but not sent: {error}", file=sys.stderr)


def _absent(options, folder):
    """A folder that is not there holds no running server: nothing is left to end."""
    if options.command in ("stop", "kill"):
        return 0
    print(f"mailserver: {folder.path} is no folder of this server", file=sys.stderr)
    return 3 if options.command == "status" else 1


def _start(options, folder, server, _message):
    try:
        with folder.lock(_LOCK_SECONDS):
            posting = submission.Submission(folder)
            known = authority.Authority(folder)
            if options.command == "restart":
                _end(server, posting)
            _let_terminating_signals_raise()
            try:
                if not server.answers():
                    _end(server, posting)  # what a crash has left behind
                    _start_dovecot(options, folder, server, known)
                elif options.foreground:
                    raise dovecot.Failed("the server runs already, in the hands of another process")
                if options.root and not posting.is_running():
                    _start_submission(options, posting, server, known)
            except _Ended:
                _end(server, posting, at_once=True)
                return 1
    finally:
        if options.root:
            options.root.close()
    if not options.foreground:
        print(folder.read("ports"), end="", flush=True)
        return 0
    return _stay(folder, server)


def _end(server, posting, at_once=False):
    for each in (posting, server):
        if at_once:
            each.kill()
        else:
            each.stop()


def _start_dovecot(options, folder, server, known):
    known.prepare()
    certificate, key = known.certificate(options.cert)
    password = folder.password(options.password or os.environ.get("LARKHAVEN_DEMO_PASSWORD"))
    options.special_folders = [name for name in catalogue.SPECIAL_FOLDERS if name not in options.without]
    options.users = {OWNER: password, SECOND_USER: password}
    for user in options.user:
        name, _, own = user.partition(":")
        options.users[name.lower()] = own or password
    _fill_mailbox(options, folder)
    server.start(options, certificate, key, options.timeout, own_child=options.foreground)


def _start_submission(options, posting, server, known):
    certificate, key = known.certificate(options.smtp_cert or options.cert)
    wanted = {"SMTP_PORT": options.smtp_port, "SMTPS_PORT": options.smtps_port, "SMTP_PLAIN_PORT": 0}
    try:
        posting.start(options.root, wanted, certificate, key, server.running_pid(), options.smtp_settings, options.timeout)
    except submission.Unavailable as error:
        _without_submission(options, error)


def _fill_mailbox(options, folder):
    """Writes the owner's messages on the first start only: later ones find the mailbox as the last session left it."""
    home = folder.file("users", OWNER)
    if options.fresh:
        shutil.rmtree(folder.file("users"), ignore_errors=True)
        folder.remove("submission.log")
    if os.path.exists(os.path.join(home, "Maildir")):
        return
    os.makedirs(home, mode=0o700, exist_ok=True)
    unfinished = os.path.join(home, "Maildir.unfinished")
    shutil.rmtree(unfinished, ignore_errors=True)
    kind, count = options.messages
    if kind == "demo":
        messages = catalogue.build(options.now)
        maildir.write(unfinished, messages)
        folder.write("index.json", catalogue.index(messages))
    else:
        maildir.write(unfinished, bulk.messages(count, options.now), folders=options.special_folders)
        folder.remove("index.json")
    os.rename(unfinished, os.path.join(home, "Maildir"))


class _Ended(BaseException):
    """A signal asked this process to end."""


def _let_terminating_signals_raise():
    def end(*_):
        raise _Ended
    for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
        signal.signal(number, end)


def _stay(folder, server):
    """Shows the ports, and waits until the server ends or is to end."""
    try:
        print(folder.read("ports"), end="", flush=True)
        code = server.process.wait()
    except _Ended:
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            signal.signal(number, signal.SIG_IGN)
        with folder.lock(_LOCK_SECONDS):
            _end(server, submission.Submission(folder))
        return 0
    with folder.lock(_LOCK_SECONDS):
        if not os.path.exists(folder.file("dovecot.pid")):
            return 0  # ended by "stop" or "kill" from elsewhere
    print(f"mailserver: Dovecot ended with {code}; see {folder.file('dovecot.log')}", file=sys.stderr)
    return 1


def _stop(options, folder, server, _message):
    with folder.lock(_LOCK_SECONDS):
        posting = submission.Submission(folder)
        if not options.submission_only:
            _end(server, posting, at_once=options.command == "kill")
        elif options.command == "kill":
            posting.kill()
        else:
            posting.stop()
    return 0


def _status(_options, folder, server, _message):
    if server.running_pid() is None:
        print("stopped")
        return 3
    lines = folder.read("ports").splitlines(keepends=True)
    if not submission.Submission(folder).is_running():
        lines = [line for line in lines if not line.startswith("SMTP")]
    print("".join(lines), end="")
    return 0


def _deliver(options, folder, server, message):
    if server.running_pid() is None:
        raise dovecot.Failed("the server does not run")
    for receiver in options.to or [OWNER]:
        with smtplib.LMTP(folder.ports()["LMTP_SOCKET"], local_hostname="localhost", timeout=_DELIVERY_SECONDS) as connection:
            try:
                connection.sendmail(options.sender, receiver, message)
            except smtplib.SMTPException as error:
                raise dovecot.Failed(f"not delivered to {receiver}: {error}") from None
    return 0


def _doveadm(options, _folder, server, _message):
    return server.doveadm(options.arguments, options.timeout)


def _certificate(options, folder, _server, _message):
    with folder.lock(_LOCK_SECONDS):
        known = authority.Authority(folder)
        known.prepare()
        for path in known.certificate(options.name, tuple(options.host)):
            print(path)
    return 0


_COMMANDS = {"start": _start, "restart": _start, "stop": _stop, "kill": _stop, "status": _status, "deliver": _deliver,
             "doveadm": _doveadm, "certificate": _certificate}


def _read_message(options):
    if options.file == "-":
        return sys.stdin.buffer.read()
    with open(options.file, "rb") as handle:
        return handle.read()


def _parser():
    parser = argparse.ArgumentParser(prog="mailserver", description=_DESCRIPTION,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    parsers = {}
    for name in _COMMANDS:
        parsers[name] = commands.add_parser(name)
        parsers[name].add_argument("folder", help="the state folder")
        parsers[name].add_argument("--run-as", default=os.environ.get("LARKHAVEN_DEMO_USER", "nobody"), metavar="USER",
                                   help="who runs the server when root calls (default: LARKHAVEN_DEMO_USER, or nobody)")
    for name in ("start", "restart"):
        _add_start_options(parsers[name])
    for name in ("stop", "kill"):
        parsers[name].add_argument("--submission-only", action="store_true", help="end Postfix and leave Dovecot running")
    deliver = parsers["deliver"]
    deliver.add_argument("file", nargs="?", default="-")
    deliver.add_argument("--to", action="append", metavar="ADDRESS", help=f"a receiver (default: {OWNER})")
    deliver.add_argument("--sender", default=SENDER, help="the envelope's sender")
    parsers["doveadm"].add_argument("arguments", nargs="+")
    parsers["doveadm"].add_argument("--timeout", type=float, default=60, metavar="SECONDS")
    parsers["certificate"].add_argument("name", type=_file_name)
    parsers["certificate"].add_argument("--host", action="append", required=True, help="a DNS name or an IP address")
    return parser


def _add_start_options(parser):
    parser.add_argument("--imap-port", type=_port, default=0, metavar="N", help="IMAP with STARTTLS; 0: the last one, or a free one")
    parser.add_argument("--imaps-port", type=_port, default=0, metavar="N", help="IMAP over TLS; 0: the last one, or a free one")
    parser.add_argument("--lmtp-port", type=_port, metavar="N", help="LMTP over TCP beside its socket (default: none)")
    parser.add_argument("--submission", choices=("auto", "yes", "no"), default="auto",
                        help="whether to start Postfix: where it can be had, or else fail, or not (default: auto)")
    parser.add_argument("--smtp-port", type=_port, default=0, metavar="N", help="submission with STARTTLS; 0: the last one, or a free one")
    parser.add_argument("--smtps-port", type=_port, default=0, metavar="N", help="submission over TLS; 0: the last one, or a free one")
    parser.add_argument("--messages", type=_messages, default=("demo", 0), metavar="demo|empty|bulk=N",
                        help="what a new mailbox holds")
    parser.add_argument("--fresh", action="store_true", help="throw away all mail of earlier starts first")
    parser.add_argument("--now", type=maildir.moment, default=datetime.datetime.now(datetime.timezone.utc),
                        metavar="TIME", help="the moment that the sample mailbox is about (ISO 8601; default: the present)")
    parser.add_argument("--cert", choices=sorted(authority.KINDS), default="good", help="which certificate the server shows")
    parser.add_argument("--smtp-cert", choices=sorted(authority.KINDS), help="the same for Postfix (default: as --cert)")
    parser.add_argument("--introspection", metavar="URL", help="accept OAuth tokens that this address knows (RFC 7662)")
    parser.add_argument("--hierarchy", choices=("top", "inbox"), default="top",
                        help='folders named "Sent" and "A/B", or "INBOX.Sent" and "INBOX.A.B"')
    parser.add_argument("--without", action="append", default=[], choices=catalogue.SPECIAL_FOLDERS, metavar="NAME",
                        help="leave out the folder of a role, such as Archive")
    parser.add_argument("--password", help="of all accounts (default: LARKHAVEN_DEMO_PASSWORD, or that of last time, or a new one)")
    parser.add_argument("--user", action="append", default=[], metavar="ADDRESS[:PASSWORD]", help="a further account")
    parser.add_argument("--set", action="append", default=[], type=_setting, dest="settings", metavar="NAME=VALUE",
                        help="a further Dovecot setting, such as imap_capability")
    parser.add_argument("--smtp-set", action="append", default=[], type=_setting, dest="smtp_settings", metavar="NAME=VALUE",
                        help="a further Postfix setting, such as smtpd_sasl_mechanism_filter")
    parser.add_argument("--foreground", action="store_true", help="stay until the server ends; it ends with this process")
    parser.add_argument("--timeout", type=float, default=60, metavar="SECONDS", help="how long the server may take to answer")


def _port(text):
    if not text.isascii() or not text.isdigit() or int(text) > 65535:
        raise argparse.ArgumentTypeError("a port is a number from 0 to 65535")
    return int(text)


def _messages(text):
    kind, equals, count = text.partition("=")
    if kind in ("demo", "empty") and not equals:
        return kind, 0
    if kind == "bulk" and count.isascii() and count.isdigit() and int(count) <= _MAX_BULK:
        return kind, int(count)
    raise argparse.ArgumentTypeError("one of demo, empty, bulk=N")


def _setting(text):
    name, equals, value = text.partition("=")
    if not equals or "\n" in text or not name.strip().replace("_", "").isalnum():
        raise argparse.ArgumentTypeError("a setting is NAME=VALUE")
    return f"{name.strip()} = {value.strip()}"


def _file_name(text):
    if not text.replace("-", "").replace("_", "").replace(".", "").isalnum() or text.startswith("."):
        raise argparse.ArgumentTypeError("letters, digits, dots and dashes")
    return text
