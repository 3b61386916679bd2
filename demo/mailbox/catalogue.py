"""Puts the whole sample mailbox together."""

import collections
import json

from demo.mailbox import hostile, languages, letters, newsletters, notices, threads
from demo.mailbox.post import Post

SPECIAL_FOLDERS = ("Sent", "Drafts", "Archive", "Junk", "Trash")


def build(now):
    """All messages of the sample mailbox, the oldest first. `now` is the moment that they are about."""
    post = Post(now)
    for module in (threads, letters, newsletters, notices, languages, hostile):
        module.add(post)
    return sorted(post.messages, key=lambda message: message.date)


def index(messages):
    """What the mailbox holds, as JSON: one object for each message, the oldest first."""
    return json.dumps([{"category": message.category, "folder": message.folder, "subject": message.subject, "date": message.date.isoformat(),
                        "flags": message.flags, "messageID": message.message_id, "size": len(message.content)} for message in messages],
                      ensure_ascii=False, indent=1) + "\n"


def summary(messages):
    """Counts by folder and by category, for people."""
    lines = []
    for title, key in (("folder", lambda message: message.folder), ("category", lambda message: message.category)):
        lines.append(f"By {title}:")
        lines += [f"  {count:4}  {name}" for name, count in collections.Counter(map(key, messages)).most_common()]
    return "\n".join([*lines, f"Total: {len(messages)}", ""])
