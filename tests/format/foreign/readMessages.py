"""Lets two other parsers read what the composer writes, field by field: Python's email package and GMime.

usage: readMessages.py COMPOSE_MESSAGES COUNT
"""

import base64
import ctypes
import email
import email.policy
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unicodedata

import gi

gi.require_version("GMime", "3.0")
from gi.repository import GMime  # noqa: E402

STRICT = email.policy.default.clone(raise_on_defect=True)
# An attachment whose name isn't ASCII has it in both forms. Each parser takes the first one and tells of the other,
# which is no defect of the message.
PYTHON_TWO_FORMS = "duplicate parameter name; duplicate(s) ignored"
GMIME_TWO_FORMS = (int(GMime.ParserWarning.CRIT_CONFLICTING_PARAMETER), b"filename")

# --- What must be read, told from what was written


def header_safe(text):
    return "".join(" " if ord(c) < 32 or ord(c) == 127 else c for c in text)


def phrase(name):
    """A name as parsers hand it out: blanks are folding white space to them."""
    return re.sub(" +", " ", name).strip(" ")


def expected_address(name, address):
    bare = re.sub(r'[ <>,;"()\[\]\\]', "", header_safe(address))
    return [phrase(header_safe(name or "")), bare]


def expected_subject(subject):
    safe = header_safe(subject)
    # Blanks at the ends of a header line are no part of its value; those of an encoded one are.
    return safe.strip(" ") if safe.isascii() else safe


def expected_text(text):
    return text.replace("\r\n", "\n").replace("\n", "\r\n").encode()


def expected_filename(name):
    name = re.sub("[\u200b-\u200f\u202a-\u202e\u2066-\u2069\u061c\ufeff]", "", header_safe(name))
    name = "".join("_" if c in "/\\:" or unicodedata.category(c) == "Cc" else c for c in name)
    while name and (name[0] in ".\t" or unicodedata.category(name[0]) == "Zs"):
        name = name[1:]
    while name and (name[-1] in ".\t" or unicodedata.category(name[-1]) == "Zs"):
        name = name[:-1]
    return name or "attachment"


def ascii_filename(name):
    return re.sub(r'[^\x00-\x7f]|[\\"]', "_", name)


def expected_type(mime_type):
    word = r"[A-Za-z0-9][A-Za-z0-9!#$&^_.+-]*"
    return mime_type.lower() if re.fullmatch(f"{word}/{word}", mime_type) else "application/octet-stream"


def expected(told):
    return {
        **{field: [expected_address(*one) for one in told[field]] for field in ("from", "to", "cc", "bcc")},
        "subject": expected_subject(told["subject"]),
        "date": told["date"],
        "inReplyTo": told["inReplyTo"],
        "references": [reference for reference in told["references"] if reference],
        "text": expected_text(told["text"]),
        "html": expected_text(told["html"]) if told["html"] else None,
        "attachments": [
            {
                "filename": expected_filename(file["filename"]),
                "ascii": ascii_filename(expected_filename(file["filename"])),
                "type": expected_type(file["type"]),
                "data": base64.b64decode(file["data"]),
            }
            for file in told["attachments"]
        ],
    }


# --- Errors of the parsers


def with_joined_words(raw):
    """The message with the encoded words of each value made one, where the parser at hand can't do that."""
    pair = re.compile(rb"=\?UTF-8\?B\?([A-Za-z0-9+/=]+)\?=\r\n =\?UTF-8\?B\?([A-Za-z0-9+/=]+)\?=")
    head, body = raw.split(b"\r\n\r\n", 1)
    count = 1
    while count:
        head, count = pair.subn(
            lambda match: b"=?UTF-8?B?%b?=" % base64.b64encode(b"".join(map(base64.b64decode, match.groups()))), head
        )
    return head + b"\r\n\r\n" + body


def python_joins_words():
    """Python before 3.12.9 puts a blank between two encoded words of a name."""
    message = email.message_from_string("To: =?UTF-8?B?QQ==?= =?UTF-8?B?QQ==?= <a@x>\n\n", policy=STRICT)
    return message["To"].addresses[0].display_name == "AA"


def gmime_joins_words():
    """GMime 3.2.8 to 3.2.13 loses every encoded word that follows a padded one."""
    return GMime.utils_header_decode_text(None, "=?UTF-8?B?QQ==?= =?UTF-8?B?QQ==?=") == "AA"


# --- What Python's email package reads


def only_extended(disposition):
    """The field as a reader sees it that prefers the extended form of the name."""
    return re.sub(r'; filename="[^"]*"(?=; filename\*)', "", disposition)


def python_addresses(message, field):
    header = message[field]
    return [[phrase(one.display_name), one.addr_spec] for one in header.addresses] if header else []


def python_attachment(part):
    raw = dict(part.raw_items())["Content-Disposition"]
    alone = email.message_from_string("Content-Disposition: " + only_extended(raw) + "\n\n", policy=STRICT)
    assert not alone["Content-Disposition"].defects
    assert part.get_content_disposition() == "attachment"
    assert part["Content-Type"].params["name"] == part["Content-Disposition"].params["filename"]
    return {
        "filename": alone.get_filename(),
        "ascii": part.get_filename(),
        "type": part.get_content_type(),
        "data": part.get_payload(decode=True),
    }


def python_defects(message):
    for part in message.walk():
        yield from part.defects
        for name, value in part.items():
            for defect in value.defects:
                has_two_forms = name == "Content-Disposition" and "; filename*=" in str(dict(part.raw_items())[name])
                if not (has_two_forms and str(defect) == PYTHON_TWO_FORMS):
                    yield name, defect


def check_shape(message, has_html, has_files):
    """Mixed holds alternative holds text and HTML, and each is left out where it holds nothing more."""
    assert message.get_content_type() == (
        "multipart/mixed" if has_files else "multipart/alternative" if has_html else "text/plain"
    )
    content = message.get_payload()[0] if has_files else message
    assert content.get_content_type() == ("multipart/alternative" if has_html else "text/plain")
    if has_html:
        assert [part.get_content_type() for part in content.get_payload()] == ["text/plain", "text/html"]
        content = content.get_payload()[0]
    return content


def read_with_python(raw):
    message = email.message_from_bytes(raw, policy=STRICT)
    defects = list(python_defects(message))
    assert not defects, defects
    named = message if python_joins_words() else email.message_from_bytes(with_joined_words(raw), policy=STRICT)
    leaves = [part for part in message.walk() if not part.is_multipart()]
    bodies = [part for part in leaves if not part.get_content_disposition()]
    for part in bodies:
        assert part.get_content_charset() == "utf-8"
        part.get_payload(decode=True).decode("utf-8")
    files = leaves[len(bodies):]
    check_shape(message, len(bodies) == 2, bool(files))
    return {
        **{field: python_addresses(named, field) for field in ("from", "to", "cc", "bcc")},
        "subject": str(message["Subject"]),
        "date": int(message["Date"].datetime.timestamp()),
        "inReplyTo": str(message["In-Reply-To"]) if message["In-Reply-To"] else None,
        "references": str(message["References"] or "").split(),
        "text": bodies[0].get_payload(decode=True),
        "html": bodies[1].get_payload(decode=True) if len(bodies) == 2 else None,
        "attachments": [python_attachment(part) for part in files],
    }


# --- What GMime reads


class GMimeWarnings:
    """What GMime complains of while it parses. Its bindings leave this out, so it is asked for through C."""

    def __init__(self):
        library = ctypes.CDLL("libgmime-3.0.so.0")
        kind = ctypes.CFUNCTYPE(None, ctypes.c_int64, ctypes.c_int, ctypes.c_char_p, ctypes.c_void_p)
        self.seen = []
        self.callback = kind(lambda _offset, code, item, _data: self.seen.append((code, item)))
        library.g_mime_parser_options_get_default.restype = ctypes.c_void_p
        library.g_mime_parser_options_set_warning_callback.argtypes = [ctypes.c_void_p, kind, ctypes.c_void_p]
        library.g_mime_parser_options_set_warning_callback(
            library.g_mime_parser_options_get_default(), self.callback, None
        )

    def taken(self):
        seen, self.seen[:] = list(self.seen), []
        return seen


def gmime_addresses(addresses):
    found = []
    for index in range(addresses.length() if addresses else 0):
        address = addresses.get_address(index)
        found.append([phrase(address.get_name() or ""), address.get_idn_addr()])
    return found


def gmime_data(part):
    stream = GMime.StreamMem.new()
    part.get_content().write_to_stream(stream)
    return stream.get_byte_array()


def gmime_leaves(entity):
    if isinstance(entity, GMime.Multipart):
        return [leaf for index in range(entity.get_count()) for leaf in gmime_leaves(entity.get_part(index))]
    return [entity]


def gmime_attachment(part):
    raw = part.get_header_list().get_header("Content-Disposition").get_raw_value().strip()
    alone = GMime.ContentDisposition.parse(None, only_extended(raw))
    return {
        "filename": alone.get_parameter("filename"),
        "ascii": part.get_filename(),
        "type": part.get_content_type().get_mime_type(),
        "data": gmime_data(part),
    }


def read_with_gmime(raw, warnings):
    bytes_read = raw if gmime_joins_words() else with_joined_words(raw)
    message = GMime.Parser.new_with_stream(GMime.StreamMem.new_with_buffer(bytes_read)).construct_message(None)
    leaves = gmime_leaves(message.get_mime_part())
    bodies = [part for part in leaves if not part.get_content_disposition()]
    files = leaves[len(bodies):]
    references = message.get_header("References")
    result = {
        "from": gmime_addresses(message.get_from()),
        "to": gmime_addresses(message.get_to()),
        "cc": gmime_addresses(message.get_cc()),
        "bcc": gmime_addresses(message.get_bcc()),
        "subject": message.get_subject(),
        "date": message.get_date().to_unix(),
        "inReplyTo": message.get_header("In-Reply-To"),
        "references": (references or "").split(),
        "text": gmime_data(bodies[0]),
        "html": gmime_data(bodies[1]) if len(bodies) == 2 else None,
        "attachments": [gmime_attachment(part) for part in files],
    }
    complaints = warnings.taken()
    assert complaints == [GMIME_TWO_FORMS] * raw.count(b"; filename*="), complaints
    return result


# --- The test


def differences(read, wanted):
    for field in wanted:
        if read[field] != wanted[field]:
            yield f"{field}: read {read[field]!r}, wanted {wanted[field]!r}"


def check(number, folder, warnings):
    raw = (folder / f"{number}.eml").read_bytes()
    wanted = expected(json.loads((folder / f"{number}.json").read_text(encoding="utf-8")))
    faults = 0
    readers = {"email": read_with_python, "GMime": lambda message: read_with_gmime(message, warnings)}
    for name, read in readers.items():
        try:
            found = list(differences(read(raw), wanted))
        except Exception as error:  # A parser that fails is a fault like any other, and the rest is still told.
            found = [repr(error)]
        for fault in found:
            print(f"message {number}, {name}: {fault[:1000]}")
        faults += len(found)
    return faults


def main():
    program, count = sys.argv[1], int(sys.argv[2])
    GMime.init()
    warnings = GMimeWarnings()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        subprocess.run([program, name, str(count)], check=True, timeout=60)
        faults = sum(check(number, folder, warnings) for number in range(count))
    if faults or count < 1:
        sys.exit(f"{faults} faults in {count} messages")
    print(f"{count} messages read alike")


if __name__ == "__main__":
    main()
