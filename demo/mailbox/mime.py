"""Writes messages byte by byte, well-formed and otherwise, in the many ways that mail programs write them."""

import base64
import binascii
import re
from urllib.parse import quote

_MAX_ENCODED_WORD = 75
_WRAP = 72


class Part:
    """One MIME entity: header fields in order, as (name, value) with values already encoded, and the body as it travels."""

    def __init__(self, fields, body):
        self.fields = list(fields)
        self.body = body

    def render(self):
        return header_block(self.fields) + b"\n" + self.body

    def field(self, name, value):
        self.fields.append((name, value))
        return self


def header_block(fields):
    return b"".join(_raw(name) + b": " + _raw(value) + b"\n" for name, value in fields)


def _raw(value):
    return value if isinstance(value, bytes) else value.encode("utf-8")


# Header values

def encoded_words(text, charset="utf-8", scheme="B"):
    """RFC 2047: the text as encoded words, each whole in itself and short enough, folded."""
    words, chunk = [], ""
    for character in text:
        if len(_encoded_word(chunk + character, charset, scheme)) > _MAX_ENCODED_WORD:
            words.append(_encoded_word(chunk, charset, scheme))
            chunk = ""
        chunk += character
    words.append(_encoded_word(chunk, charset, scheme))
    return "\n ".join(words)


def _encoded_word(text, charset, scheme):
    data = text.encode(charset)
    if scheme == "B":
        body = base64.b64encode(data).decode()
    else:
        body = "".join(chr(byte) if chr(byte).isascii() and chr(byte).isalnum() else "_" if byte == 32 else f"={byte:02X}"
                       for byte in data)
    return f"=?{charset.upper()}?{scheme}?{body}?="


def unstructured(text, charset="utf-8", scheme=None):
    """A subject: bare where ASCII will do, otherwise encoded the shorter way."""
    if text.isascii():
        return fold(text)
    if scheme is None:
        foreign = sum(not character.isascii() for character in text)
        scheme = "Q" if foreign * 4 < len(text) else "B"
    return encoded_words(text, charset, scheme)


def fold(text, width=76):
    """Folds at spaces, as RFC 5322 asks; the folded text unfolds to the same."""
    lines, line = [], ""
    for word in text.split(" "):
        if line.strip() and len(line) + 1 + len(word) > width:
            lines.append(line)
            line = " " + word
        else:
            line = f"{line} {word}" if line else word
    return "\n".join([*lines, line])


def mailbox(name, address, charset="utf-8"):
    """One address of a From or To field."""
    if not name:
        return address
    if not name.isascii():
        return f"{encoded_words(name, charset, 'B')} <{address}>"
    if re.fullmatch(r"[A-Za-z0-9 '-]+", name):
        return f"{name} <{address}>"
    escaped = name.replace("\\", "\\\\").replace('"', '\\"')
    return f'"{escaped}" <{address}>'


# Bodies

def transfer(data, encoding):
    """The bytes of a body in a transfer encoding."""
    if encoding == "base64":
        return base64.encodebytes(data)
    if encoding == "quoted-printable":
        return binascii.b2a_qp(data, quotetabs=False, istext=True)
    return data


def text(content, charset="utf-8", subtype="plain", encoding=None, parameters=""):
    data = content.encode(charset)
    if not data.endswith(b"\n"):
        data += b"\n"
    if encoding is None:
        ascii_only = all(byte < 128 for byte in data)
        too_long = max(map(len, data.split(b"\n"))) > 900
        encoding = "7bit" if ascii_only and not too_long else "quoted-printable"
    return Part([("Content-Type", f"text/{subtype}; charset={charset}{parameters}"),
                 ("Content-Transfer-Encoding", encoding)], transfer(data, encoding))


def html(content, charset="utf-8", encoding="quoted-printable"):
    return text(content, charset, "html", encoding)


def flowed(content, charset="utf-8"):
    """RFC 3676: paragraphs are wrapped with a space before each soft line break; quoted lines and signatures stay."""
    lines = []
    for line in content.split("\n"):
        if line.startswith(">") or line == "-- ":
            lines.append(line)
        else:
            wrapped = wrap(line).split("\n")
            lines += [piece + " " for piece in wrapped[:-1]] + wrapped[-1:]
    return text("\n".join(_stuffed(line) for line in lines), charset, parameters="; format=flowed")


def _stuffed(line):
    return " " + line if line.startswith((" ", "From ")) else line


def wrap(line, width=_WRAP):
    """Breaks a paragraph at spaces."""
    lines, current = [], ""
    for word in line.split(" "):
        if current and len(current) + 1 + len(word) > width:
            lines.append(current)
            current = word
        else:
            current = f"{current} {word}" if current else word
    return "\n".join([*lines, current])


def wrapped(content):
    return "\n".join(line if line.startswith(">") else wrap(line) for line in content.split("\n"))


def quoted(content):
    """A text as a reply quotes it."""
    return "\n".join(">" + line if line.startswith(">") else "> " + line for line in wrapped(content).split("\n")).replace(
        "> \n", ">\n")


# Containers and attachments

def multipart(subtype, parts, boundary, parameters="", preamble="", epilogue=""):
    body = [preamble.encode()] if preamble else []
    for part in parts:
        body.append(b"--" + boundary.encode() + b"\n" + part.render() + (b"" if part.body.endswith(b"\n") else b"\n"))
    body.append(b"--" + boundary.encode() + b"--\n")
    body.append(epilogue.encode())
    return Part([("Content-Type", f'multipart/{subtype};\n boundary="{boundary}"{parameters}')], b"".join(body))


def attachment(name, data, media_type, style="plain", disposition="attachment", encoding="base64"):
    """A file. `style` is how its name is written: see `file_name_parameters`."""
    on_type, on_disposition = file_name_parameters(name, style)
    return Part([("Content-Type", media_type + on_type), ("Content-Disposition", disposition + on_disposition),
                 ("Content-Transfer-Encoding", encoding)], transfer(data, encoding))


def inline_image(name, data, content_id, media_type="image/png"):
    return attachment(name, data, media_type, disposition="inline").field("Content-ID", f"<{content_id}>")


def file_name_parameters(name, style):
    """What is appended to Content-Type and to Content-Disposition to name a file.

    plain       a quoted string
    rfc2231     an extended parameter with charset and percent signs
    continued   the same in numbered pieces
    rfc2047     encoded words inside the quotes: forbidden, and everywhere
    raw         the bare UTF-8 bytes inside the quotes
    """
    if style == "rfc2231":
        value = f";\n filename*=UTF-8''{quote(name, safe='')}"
        return "", value
    if style == "continued":
        value = quote(name, safe="")
        pieces = re.findall(r"(?:%..|[^%]){1,16}", value)
        pieces[0] = "UTF-8''" + pieces[0]
        return "", "".join(f";\n filename*{index}*={piece}" for index, piece in enumerate(pieces))
    if style == "rfc2047":
        words = encoded_words(name, "utf-8", "B")
        return f';\n name="{words}"', f';\n filename="{words}"'
    return f';\n name="{name}"', f';\n filename="{name}"'


def embedded(content, name=None):
    """A whole message inside another one."""
    disposition = "inline" if name is None else f'attachment; filename="{name}"'
    return Part([("Content-Type", "message/rfc822"), ("Content-Disposition", disposition)], content)
