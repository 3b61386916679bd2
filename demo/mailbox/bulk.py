"""A mailbox of any size: small messages that differ in sender, subject, age, flags, charset and shape."""

import datetime
import random

from demo.mailbox import mime
from demo.mailbox.post import Message

_PEOPLE = (("Ada Winter", "ada"), ("Bram de Wit", "bram"), ("Chiara Conti", "chiara"), ("Dov Peled", "dov"),
           ("Eszter Nagy", "eszter"), ("Finn O'Hara", "finn"), ("Grażyna Lis", "grazyna"), ("Håkon Berg", "hakon"),
           ("いとう 花", "ito"), ("Юлия Орлова", "yulia"), ("Zoë Aydın", "zoe"), ("", "noreply"))
_SUBJECTS = ("Key to the boat shed", "Minutes of the meeting", "Your order is ready", "Kör på fredag?", "Books due back soon",
             "Angebot für das Dach", "Пропуск в хранилище", "展示のお知らせ", "Photos from Sunday", "Rota for next week",
             "Question about the invoice", "Le programme du mois")
_SENTENCES = ("The tide is right just after nine, so let us meet at the jetty.", "I have put the folder on your desk.",
              "Could you look at the second page before Thursday?", "The oven is on again and the first loaves look fine.",
              "Nobody has asked for the key, so it still hangs behind the door.", "Thank you for the lift.",
              "We counted twice and came to the same number.", "The parcel went to the wrong harbour again.")
_STEP = datetime.timedelta(minutes=7)


def messages(count, now, seed=1):
    """`count` messages of the inbox, the newest a few minutes old. The same arguments give the same messages."""
    generator = random.Random(seed)
    for number in range(count):
        date = now - _STEP * (count - number) - datetime.timedelta(seconds=generator.randrange(300))
        name, user = generator.choice(_PEOPLE)
        subject = f"{generator.choice(_SUBJECTS)} #{number + 1}"
        body = _body(generator, number)
        fields = [("Date", date.strftime("%a, %d %b %Y %H:%M:%S +0000")),
                  ("From", mime.mailbox(name, f"{user}@example.org")), ("To", "mara@larkhaven.example"),
                  ("Subject", mime.unstructured(subject)), ("Message-ID", f"<bulk.{seed}.{number}@example.org>"),
                  ("MIME-Version", "1.0")]
        flags = ("S" if generator.random() < 0.8 else "") + ("F" if generator.random() < 0.03 else "")
        yield Message("bulk", "INBOX", date, flags, subject, mime.header_block(fields) + body.render())


def _body(generator, number):
    sentences = " ".join(generator.sample(_SENTENCES, generator.randint(1, 4)))
    text = mime.text(f"{mime.wrap(sentences)}\n\n-- \nSent from the pier, number {number + 1}\n")
    if number % 5:
        return text
    return mime.multipart("alternative", [text, mime.text(f"<p>{sentences}</p>", subtype="html")], f"=_bulk_{number}")
