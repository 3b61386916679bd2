"""Root is given up for good before anything of the sample mail server runs."""

import codecs
import ctypes
import os
import pwd
import signal
import sys

# Interpreters are sometimes installed where only root may read. What is needed later is loaded while that is still possible.
_LATE_ENCODINGS = ("ascii", "idna", "raw_unicode_escape", "iso2022_jp", "shift_jis", "euc_jp", "gb18030", "euc_kr", "koi8_r", "koi8_u", "tis_620",
                   "cp1251", "cp1252", "cp1254", "cp1255", "cp1256", "iso8859_1", "iso8859_2", "iso8859_5", "iso8859_6",
                   "iso8859_7", "iso8859_15", "utf_8_sig", "utf_16_be", "utf_16", "utf_7")

_PR_SET_PDEATHSIG = 1
_libc = ctypes.CDLL(None, use_errno=True)


class NoSuchUser(Exception):
    """The account that should run the server is unknown, or is root."""


def server_account(name):
    """The account that runs the server: `name` when root asks, and otherwise whoever asks."""
    if os.getuid() != 0:
        try:
            return pwd.getpwuid(os.getuid())
        except KeyError:
            raise NoSuchUser(f"user {os.getuid()} has no name in the user database, which Dovecot insists on") from None
    try:
        account = pwd.getpwnam(name)
    except KeyError:
        raise NoSuchUser(f"there is no user {name!r} to run the server") from None
    if account.pw_uid == 0:
        raise NoSuchUser("the server never runs as root; name another user")
    return account


def give_up_root(account):
    """Turns a root process into one of `account`, irreversibly. Does nothing for an ordinary user."""
    if os.getuid() != 0:
        return
    for encoding in _LATE_ENCODINGS:
        codecs.lookup(encoding)
    os.setgroups([])
    os.setresgid(account.pw_gid, account.pw_gid, account.pw_gid)
    os.setresuid(account.pw_uid, account.pw_uid, account.pw_uid)
    if 0 in os.getresuid() or 0 in os.getresgid():
        sys.exit("root could not be given up")
    os.environ.update(USER=account.pw_name, LOGNAME=account.pw_name)


def end_with_parent(parent_pid):
    """To be called in a child between fork and exec: the child is told to end when its parent dies."""
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGTERM, 0, 0, 0)
    if os.getppid() != parent_pid:
        os._exit(1)
