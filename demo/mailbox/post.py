"""The post bag: gives each message its envelope, its age and its flags, and keeps the whole in order."""

import datetime
import random
from dataclasses import dataclass

from demo.mailbox import mime
from demo.mailbox.people import MARA

_SEED = 20240229
_ZONES = {"larkhaven.example": 1, "kyoto-ryokan.example": 9, "arkhiv.example": 3, "maktaba.example": 3}
_PROGRAMS = ("Quillpost 4.2", "Brigantine Mail 11", "Kestrel 2.9.1", "Postbox of Tin 0.8", "Webpost (Pigeonhole 7)")
_TEST_NETWORKS = ("192.0.2", "198.51.100", "203.0.113")


@dataclass(frozen=True)
class Message:
    """One message of the mailbox. `flags` are those of Maildir: D, F, P, R, S, T."""

    category: str
    folder: str
    date: datetime.datetime
    flags: str
    subject: str
    content: bytes
    message_id: str = ""


class Post:
    """Collects messages. Everything in them depends on `now` alone."""

    def __init__(self, now):
        self.now = now
        self.random = random.Random(_SEED)
        self.messages = []
        self._serial = 0
        self._chains = {}

    def boundary(self):
        return f"=_{self.random.getrandbits(64):016x}"

    def content_id(self, name):
        return f"{name}.{self.random.getrandbits(32):08x}@larkhaven.example"

    def multipart(self, subtype, *parts, parameters=""):
        return mime.multipart(subtype, parts, self.boundary(), parameters)

    def alternative(self, plain, rich):
        return self.multipart("alternative", plain, rich)

    def time(self, age):
        """The moment `age` ago; an age is a time span, or a number of hours."""
        return self.now - (age if isinstance(age, datetime.timedelta) else datetime.timedelta(hours=age))

    def add(self, category, sender, subject, part, age, *, folder="INBOX", flags=None, to=(MARA,), cc=(), extra=(),
            charset="utf-8", scheme=None, reply_to=None, parent=None, message_id=None):
        """Puts one message into the bag and returns it. `parent` is the message that it answers."""
        date = self.time(age).replace(microsecond=0)
        message_id = message_id or self._message_id(sender)
        fields = self._trace(sender, date) if folder not in ("Sent", "Drafts") else []
        fields += [("Date", self._date_text(sender, date)), ("From", sender.written(charset)),
                   ("To", ",\n ".join(person.written() for person in to))]
        if cc:
            fields.append(("Cc", ",\n ".join(person.written() for person in cc)))
        fields += [("Subject", mime.unstructured(subject, charset, scheme)), ("Message-ID", f"<{message_id}>")]
        if parent is not None:
            fields += [("In-Reply-To", f"<{parent.message_id}>"), ("References", self._references(parent, message_id))]
        if reply_to:
            fields.append(("Reply-To", reply_to.written()))
        fields += [*extra, ("MIME-Version", "1.0")]
        content = mime.header_block(fields) + part.render()
        return self._keep(Message(category, folder, date, self._flags(flags, folder, date), subject, content, message_id))

    def add_raw(self, category, subject, content, age, *, folder="INBOX", flags=None):
        """Puts in a message that is already written, such as a broken one. "{date}" in it becomes its date."""
        date = self.time(age).replace(microsecond=0)
        content = content.replace(b"{date}", date.strftime("%a, %d %b %Y %H:%M:%S +0000").encode())
        return self._keep(Message(category, folder, date, self._flags(flags, folder, date), subject, content))

    def _keep(self, message):
        self.messages.append(message)
        return message

    def _message_id(self, sender):
        self._serial += 1
        return f"{self.random.getrandbits(40):010x}.{self._serial}@{sender.domain}"

    def _references(self, parent, message_id):
        chain = [*self._chains.get(parent.message_id, ()), parent.message_id]
        self._chains[message_id] = chain
        # A long thread names its first message and the latest ones.
        return "\n ".join(f"<{each}>" for each in chain[:1] + chain[1:][-12:])

    def _date_text(self, sender, date):
        zone = datetime.timezone(datetime.timedelta(hours=_ZONES.get(sender.domain, 0)))
        return date.astimezone(zone).strftime("%a, %d %b %Y %H:%M:%S %z")

    def _trace(self, sender, date):
        """What the servers on the way leave behind."""
        host = f"{self.random.choice(_TEST_NETWORKS)}.{self.random.randrange(1, 255)}"
        identity = f"{self.random.getrandbits(44):011X}"
        fields = [("Return-Path", f"<{sender.address}>"),
                  ("Received", f"from out.{sender.domain} (out.{sender.domain} [{host}])\n by mx.larkhaven.example with ESMTPS "
                               f"id {identity}\n for <{MARA.address}>; {date:%a, %d %b %Y %H:%M:%S +0000}")]
        if self.random.random() < 0.5:
            fields.append(("Authentication-Results", f"mx.larkhaven.example;\n spf=pass smtp.mailfrom={sender.domain};\n "
                                                     f"dkim=pass header.d={sender.domain}"))
        if self.random.random() < 0.5:
            fields.append(("User-Agent", self.random.choice(_PROGRAMS)))
        return fields

    def _flags(self, flags, folder, date):
        """What was not said: old mail is read, of the mail of the last days about half."""
        if flags is not None:
            return flags
        days = (self.now - date).total_seconds() / 86400
        seen = folder in ("Sent", "Archive") or self.random.random() < (0.35 if days < 1 else 0.6 if days < 3 else 0.93)
        return ("S" if seen else "") + ("F" if self.random.random() < 0.05 else "")
