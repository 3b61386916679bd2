"""Files that people attach: small, valid, and made here."""

import io
import textwrap
import zipfile


def pdf(title, lines):
    """One page of plain text."""
    lines = [piece for line in lines for piece in (textwrap.wrap(line, 82) or [""])]
    commands = ["BT /F2 18 Tf 60 780 Td", f"({_escaped(title)}) Tj", "/F1 11 Tf 0 -34 Td 16 TL"]
    commands += [f"({_escaped(line)}) Tj T*" for line in lines]
    stream = "\n".join([*commands, "ET"]).encode("cp1252")
    objects = [
        b"<< /Type /Catalog /Pages 2 0 R >>",
        b"<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R /Resources << /Font << /F1 5 0 R /F2 6 0 R >> >> >>",
        b"<< /Length %d >>\nstream\n%s\nendstream" % (len(stream), stream),
        b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>",
        b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica-Bold /Encoding /WinAnsiEncoding >>",
    ]
    out = bytearray(b"%PDF-1.4\n")
    offsets = []
    for number, content in enumerate(objects, 1):
        offsets.append(len(out))
        out += b"%d 0 obj\n%s\nendobj\n" % (number, content)
    table = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    out += b"".join(b"%010d 00000 n \n" % offset for offset in offsets)
    out += b"trailer\n<< /Size %d /Root 1 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, table)
    return bytes(out)


def _escaped(text):
    return text.replace("\\", "\\\\").replace("(", "\\(").replace(")", "\\)")


def archive(files):
    """A ZIP of (name, bytes) pairs, the same at every run."""
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w", zipfile.ZIP_DEFLATED) as target:
        for name, data in files:
            target.writestr(zipfile.ZipInfo(name, (2024, 1, 1, 12, 0, 0)), data, zipfile.ZIP_DEFLATED)
    return buffer.getvalue()


def table(rows, separator=";"):
    return "".join(separator.join(map(str, row)) + "\r\n" for row in rows)


def calendar(method, uid, start, end, summary, place, organizer, attendees, text, sequence=0, rule=None):
    """An iCalendar object (RFC 5545) with one event; times are UTC."""
    lines = ["BEGIN:VCALENDAR", "PRODID:-//Larkhaven Library//Diary//EN", "VERSION:2.0", f"METHOD:{method}", "BEGIN:VEVENT",
             f"UID:{uid}", f"SEQUENCE:{sequence}", f"DTSTAMP:{start:%Y%m%dT%H%M%SZ}", f"DTSTART:{start:%Y%m%dT%H%M%SZ}",
             f"DTEND:{end:%Y%m%dT%H%M%SZ}", f"SUMMARY:{_calendar_text(summary)}", f"LOCATION:{_calendar_text(place)}",
             f"DESCRIPTION:{_calendar_text(text)}", f"ORGANIZER;CN={organizer.name}:mailto:{organizer.address}"]
    lines += [f"ATTENDEE;CN={person.name};PARTSTAT=NEEDS-ACTION;RSVP=TRUE:mailto:{person.address}" for person in attendees]
    if rule:
        lines.append(f"RRULE:{rule}")
    lines += ["STATUS:" + ("CANCELLED" if method == "CANCEL" else "CONFIRMED"), "END:VEVENT", "END:VCALENDAR"]
    return "".join(_calendar_fold(line) + "\r\n" for line in lines)


def _calendar_text(text):
    return text.replace("\\", "\\\\").replace(";", "\\;").replace(",", "\\,").replace("\n", "\\n")


def _calendar_fold(line):
    return "\r\n ".join(line[index:index + 60] for index in range(0, len(line), 60))


def card(name, address, telephone):
    return f"BEGIN:VCARD\r\nVERSION:3.0\r\nFN:{name}\r\nEMAIL:{address}\r\nTEL:{telephone}\r\nEND:VCARD\r\n"
