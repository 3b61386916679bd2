"""Writes messages into a Maildir++ tree, as an IMAP server keeps it."""

import base64
import datetime
import os

_HOST = "larkhaven"


def moment(text):
    """A point in time from ISO 8601; without an offset it is UTC."""
    value = datetime.datetime.fromisoformat(text.replace("Z", "+00:00"))
    return value if value.tzinfo else value.replace(tzinfo=datetime.timezone.utc)


def wire_name(name):
    """A folder's name in the modified UTF-7 of RFC 3501, section 5.1.3."""
    out, run = [], ""
    for character in name + "\0":
        if character.isascii() and character.isprintable() or character == "\0":
            if run:
                coded = base64.b64encode(run.encode("utf-16-be")).decode().rstrip("=").replace("/", ",")
                out.append(f"&{coded}-")
                run = ""
            out.append("&-" if character == "&" else character)
        else:
            run += character
    return "".join(out)[:-1]


def folder_path(root, folder):
    """Where a folder such as "Projects/Ideas" lives below the root, which is the inbox itself."""
    return root if folder == "INBOX" else os.path.join(root, "." + wire_name(folder).replace("/", "."))


def write(root, messages, folders=()):
    """Writes the messages, and makes `folders` even where they stay empty. Order of arrival is order of date."""
    made = set()
    for folder in ("INBOX", *folders):
        _make(root, folder, made)
    for number, message in enumerate(sorted(messages, key=lambda each: each.date)):
        _make(root, message.folder, made)
        _write_message(folder_path(root, message.folder), number, message)


def _make(root, folder, made):
    if folder in made:
        return
    made.add(folder)
    path = folder_path(root, folder)
    for name in ("cur", "new", "tmp"):
        os.makedirs(os.path.join(path, name), mode=0o700, exist_ok=True)
    if folder != "INBOX":
        with open(os.path.join(path, "maildirfolder"), "w", encoding="utf-8"):
            pass


def _write_message(path, number, message):
    content = message.content
    seconds = int(message.date.timestamp())
    on_the_wire = len(content) + content.count(b"\n") - content.count(b"\r\n")
    flags = "".join(sorted(message.flags))
    name = f"{seconds}.M{number % 1000000:06d}P{number}.{_HOST},S={len(content)},W={on_the_wire}:2,{flags}"
    target = os.path.join(path, "cur", name)
    descriptor = os.open(target, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600)
    try:
        with open(descriptor, "wb", buffering=0, closefd=False) as handle:
            handle.write(content)
        os.utime(descriptor, (seconds, seconds))
    finally:
        os.close(descriptor)
