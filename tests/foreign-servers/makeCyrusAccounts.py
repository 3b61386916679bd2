"""Makes the accounts of the tests on a Cyrus server that has just been started on 127.0.0.1.

usage: makeCyrusAccounts.py PORT

Mara has an INBOX alone. Bob has a mailbox for each role, and lets Nora do everything in them.
"""

import imaplib
import sys
import time

PATIENCE = 20  # seconds
ALL_RIGHTS = "lrswipkxtea"


def connect(port):
    deadline = time.monotonic() + PATIENCE
    while True:
        try:
            return imaplib.IMAP4("127.0.0.1", port)
        except OSError:
            if time.monotonic() > deadline:
                raise
            time.sleep(0.1)


def sign_in(port, name):
    connection = connect(port)
    connection.login(name, "any")
    return connection


def check(answer):
    status, words = answer
    if status != "OK":
        raise RuntimeError(words)
    return words


def main():
    port = int(sys.argv[1])
    administrator = sign_in(port, "cyrus")
    delimiter = check(administrator.namespace())[0].decode().split('"')[3]
    for name in ("mara", "nora", "bob"):
        check(administrator.create(f"user{delimiter}{name}"))
    for role in ("Sent", "Drafts", "Archive", "Junk", "Trash"):
        mailbox = f"user{delimiter}bob{delimiter}{role}"
        check(administrator.create(mailbox))
        check(administrator.setacl(mailbox, "nora", ALL_RIGHTS))
    administrator.logout()


if __name__ == "__main__":
    main()
