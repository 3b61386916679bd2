"""The sample mailbox holds what it promises, and its sound messages are sound."""

import collections
import datetime
import email
import email.header
import email.utils
import io
import json
import os
import re
import struct
import unittest
import urllib.parse
import zipfile
import zlib

import support

from demo.mailbox import bulk, catalogue, maildir, mime  # noqa: E402  (support has set the path)

NOW = datetime.datetime(2025, 11, 21, 9, 30, tzinfo=datetime.timezone.utc)

LEAST_OF_EACH = {"attachment": 10, "bank": 5, "build": 12, "digest": 5, "forwarded": 5, "hostile": 30, "inline image": 8, "invitation": 6, "junk": 8,
                 "language": 25, "letter": 80, "list": 5, "newsletter": 12, "phishing": 8, "receipt": 6, "shipping": 8, "thread": 60}

CHARSETS = {"iso-2022-jp", "shift_jis", "euc-jp", "utf-8", "koi8-r", "windows-1251", "windows-1256", "iso-8859-6"}

RESERVED = re.compile(r"(^|\.)(example|test|invalid|localhost|example\.(com|net|org))$")
TEST_ADDRESS = re.compile(r"(192\.0\.2|198\.51\.100|203\.0\.113)\.\d+$|2001:db8:")


def parsed(message):
    return email.message_from_bytes(message.content)


def parts(message, media_type):
    return [part for part in parsed(message).walk() if part.get_content_type() == media_type]


def decoded(header):
    return str(email.header.make_header(email.header.decode_header(header)))


class MailboxTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.messages = catalogue.build(NOW)

    def of(self, category):
        return [message for message in self.messages if message.category == category]

    def sound(self):
        return [message for message in self.messages if message.category != "hostile"]

    def test_holds_at_least_three_hundred_messages_most_of_them_in_the_inbox(self):
        folders = collections.Counter(message.folder for message in self.messages)
        self.assertGreaterEqual(len(self.messages), 300)
        self.assertTrue(200 <= folders["INBOX"] <= 250, folders["INBOX"])

    def test_every_folder_holds_messages(self):
        folders = {message.folder for message in self.messages}
        self.assertEqual(folders, {"INBOX", *catalogue.SPECIAL_FOLDERS, "Projekte", "Projekte/Entwürfe & Ideen", "Projekte/Sommerfest", "旅行", "旅行/京都",
                                   "Архив", "Архив/2025", "Lists", "Lists/Bookbinders", "Vereine/Ruderclub"})

    def test_every_category_is_there(self):
        counts = collections.Counter(message.category for message in self.messages)
        self.assertEqual(set(counts), set(LEAST_OF_EACH))
        for category, least in LEAST_OF_EACH.items():
            self.assertGreaterEqual(counts[category], least, category)

    def test_the_newest_message_is_minutes_old_and_none_comes_from_the_future(self):
        newest = max(message.date for message in self.messages)
        self.assertTrue(datetime.timedelta(0) < NOW - newest < datetime.timedelta(minutes=15), newest)

    def test_the_same_moment_gives_the_same_bytes(self):
        self.assertEqual(catalogue.build(NOW), self.messages)

    def test_another_moment_moves_the_dates(self):
        later = catalogue.build(NOW + datetime.timedelta(days=3))
        self.assertEqual(max(message.date for message in later) - max(message.date for message in self.messages), datetime.timedelta(days=3))

    def test_read_unread_flagged_and_answered_are_mixed(self):
        inbox = [message for message in self.messages if message.folder == "INBOX"]
        unread = sum("S" not in message.flags for message in inbox)
        self.assertTrue(15 <= unread <= 100, unread)
        self.assertGreaterEqual(sum("F" in message.flags for message in inbox), 5)
        self.assertGreaterEqual(sum("R" in message.flags for message in inbox), 5)
        self.assertTrue(all("D" in message.flags for message in self.messages if message.folder == "Drafts"))

    def test_sound_messages_parse_without_a_defect(self):
        for message in self.sound():
            for part in parsed(message).walk():
                self.assertEqual(part.defects, [], message.subject)

    def test_sound_messages_have_the_headers_that_a_message_needs(self):
        for message in self.sound():
            head = parsed(message)
            self.assertTrue(head["From"] and head["Date"] and head["Message-ID"], message.subject)
            self.assertEqual(email.utils.parsedate_to_datetime(head["Date"]).astimezone(datetime.timezone.utc), message.date)

    def test_subjects_decode_to_what_was_meant(self):
        for message in self.sound():
            if message.subject != "unlabelled Latin-1":
                self.assertEqual(decoded(parsed(message)["Subject"]), message.subject)

    def test_no_header_line_is_longer_than_the_standard_allows(self):
        for message in self.sound():
            head = message.content.partition(b"\n\n")[0]
            self.assertLessEqual(max(map(len, head.split(b"\n"))), 998, message.subject)

    def test_texts_decode_in_the_charset_that_they_name(self):
        for message in self.sound():
            for part in parsed(message).walk():
                if part.get_content_maintype() == "text":
                    part.get_payload(decode=True).decode(part.get_content_charset("iso-8859-1"))

    def test_message_ids_are_unique(self):
        identities = [message.message_id for message in self.messages if message.message_id]
        self.assertEqual(len(identities), len(set(identities)))

    def test_hostile_messages_can_be_read_by_a_patient_parser(self):
        for message in self.of("hostile"):
            self.assertIsNotNone(parsed(message), message.subject)

    def test_old_and_new_charsets_of_three_scripts_are_there(self):
        bodies, subjects = set(), set()
        for message in self.of("language"):
            bodies |= {part.get_content_charset() for part in parsed(message).walk()}
            subjects |= {charset for _, charset in email.header.decode_header(parsed(message)["Subject"])}
        self.assertLessEqual(CHARSETS, bodies)
        self.assertLessEqual(CHARSETS, subjects)

    def test_a_thread_has_more_than_thirty_replies(self):
        replies = [message for message in self.messages if message.subject == "Re: Reading room shelves: oak or birch ply?"]
        start = next(message for message in self.messages if message.subject == "Reading room shelves: oak or birch ply?")
        self.assertGreater(len(replies), 30)
        for reply in replies:
            self.assertTrue(parsed(reply)["References"].startswith(f"<{start.message_id}>"))
            self.assertTrue(parsed(reply)["References"].endswith(parsed(reply)["In-Reply-To"]))
            self.assertIn("\n>", parsed(reply).get_payload(decode=True).decode())

    def test_replies_answer_messages_that_are_older(self):
        dates = {message.message_id: message.date for message in self.messages}
        for message in self.of("thread"):
            answered = parsed(message)["In-Reply-To"]
            if answered:
                self.assertLess(dates[answered.strip("<>")], message.date, message.subject)

    def test_flowed_text_carries_soft_line_breaks(self):
        flowed = [message for message in self.sound() if "format=flowed" in str(parsed(message)["Content-Type"])]
        self.assertGreater(len(flowed), 50)
        self.assertTrue(any(b" \n" in message.content.partition(b"\n\n")[2] or b"=20\n" in message.content for message in flowed))

    def test_newsletters_are_heavy_pages_with_everything_that_follows_the_reader(self):
        for message in self.of("newsletter"):
            page = parts(message, "text/html")[0].get_payload(decode=True)
            self.assertTrue(75_000 <= len(page) <= 125_000, len(page))
            for piece in (b"https://images.example/", b"utm_source=", b'width="1" height="1"', b"<style", b"<table", b"display:none", b"Harbour Street"
                          if b'lang="en"' in page else b"Hafenstra"):
                self.assertIn(piece, page, message.subject)

    def test_attached_files_are_whole(self):
        kinds = collections.Counter()
        for message in self.sound():
            for part in parsed(message).walk():
                data = part.get_payload(decode=True) or b""
                name = (part.get_filename() or "").lower()
                if name.endswith(".pdf"):
                    kinds["pdf"] += self.check_pdf(data)
                elif name.endswith(".zip"):
                    kinds["zip"] += zipfile.ZipFile(io.BytesIO(data)).testzip() is None
                elif name.endswith(".png"):
                    kinds["png"] += self.check_png(data)
                elif name.endswith(".ics"):
                    kinds["ics"] += data.startswith(b"BEGIN:VCALENDAR\r\n") and data.endswith(b"END:VCALENDAR\r\n")
        for kind, least in {"pdf": 5, "zip": 2, "png": 10, "ics": 5}.items():
            self.assertGreaterEqual(kinds[kind], least, kind)

    def check_pdf(self, data):
        table = int(re.search(rb"startxref\n(\d+)\n%%EOF\n$", data)[1])
        self.assertTrue(data.startswith(b"%PDF-") and data[table:].startswith(b"xref\n"))
        for number, offset in enumerate(re.findall(rb"(\d{10}) 00000 n ", data), 1):
            self.assertTrue(data[int(offset):].startswith(b"%d 0 obj" % number))
        return True

    def check_png(self, data):
        self.assertTrue(data.startswith(b"\x89PNG\r\n\x1a\n"))
        position, pixels, size = 8, b"", None
        while position < len(data):
            length, kind = struct.unpack(">I4s", data[position:position + 8])
            content = data[position + 8:position + 8 + length]
            self.assertEqual(zlib.crc32(kind + content), struct.unpack(">I", data[position + 8 + length:position + 12 + length])[0])
            size = struct.unpack(">II", content[:8]) if kind == b"IHDR" else size
            pixels += content if kind == b"IDAT" else b""
            position += 12 + length
        self.assertEqual(len(zlib.decompress(pixels)), size[1] * (size[0] * 3 + 1))
        return True

    def test_names_of_files_are_written_in_every_style(self):
        heads = b"\n".join(message.content for message in self.of("attachment"))
        for style in (b"filename*=UTF-8''", b"filename*0*=UTF-8''", b'filename="=?UTF-8?B?', "filename=\"Hallenplan Übersicht.png\"".encode()):
            self.assertIn(style, heads)
        names = {part.get_filename() for message in self.of("attachment") for part in parsed(message).walk()}
        self.assertLessEqual({"Auftragsbestätigung Lesesaal.pdf", "Stückliste & Maße.csv", "invoice-2217.pdf"}, names)

    def test_inline_pictures_are_found_by_the_page_that_shows_them(self):
        for message in self.of("inline image"):
            wanted = set(re.findall(r'src="cid:([^"]+)"', parts(message, "text/html")[0].get_payload(decode=True).decode()))
            given = {part["Content-ID"].strip("<>") for part in parts(message, "image/png")}
            self.assertTrue(wanted and wanted == given, message.subject)

    def test_forwarded_messages_are_whole_messages(self):
        embedded = [part for message in self.of("forwarded") for part in parts(message, "message/rfc822")]
        self.assertGreaterEqual(len(embedded), 5)
        for part in embedded:
            self.assertTrue(part.get_payload()[0]["Subject"])

    def test_hostile_messages_try_what_they_should(self):
        everything = b"\n".join(part.get_payload(decode=True) or b"" for message in self.of("hostile") for part in parsed(message).walk())
        for piece in (b"<script", b"onclick=", b"<iframe", b"<form", b'http-equiv="refresh"', b"javascript:", b"url(", b"@import", b"position:fixed", b"data:text/html",
                      b"<svg", b"xn--", b'width="1" height="1"'):
            self.assertIn(piece, everything)
        self.assertTrue(any("\u202e" in (part.get_filename() or "") for message in self.of("hostile") for part in parsed(message).walk()))
        deep = next(message for message in self.of("hostile") if message.subject == "Test: nine levels of multipart")
        self.assertEqual(sum(part.is_multipart() for part in parsed(deep).walk()), 9)
        endless = next(message for message in self.of("hostile") if message.subject == "Test: multipart without a boundary")
        self.assertTrue(parsed(endless).defects)

    def test_phishing_links_lead_elsewhere_than_they_say(self):
        links = [link for message in self.of("phishing") for part in parts(message, "text/html")
                 for link in re.findall(r'<a href="([^"]+)"[^>]*>([^<]+)</a>', part.get_payload(decode=True).decode())]
        self.assertGreaterEqual(len(links), 6)
        for target, shown in links:
            shown_host = urllib.parse.urlsplit(shown if "://" in shown else "https://" + shown).hostname
            self.assertNotEqual(urllib.parse.urlsplit(target).hostname, shown_host)

    def test_every_host_is_one_that_belongs_to_nobody(self):
        for message in self.messages:
            for host in self.hosts(message):
                self.assertTrue(RESERVED.search(host) or TEST_ADDRESS.match(host) or host in ("www.w3.org", "x"), f"{host} in {message.subject!r}")

    @staticmethod
    def hosts(message):
        """The hosts of all links and addresses of a message."""
        for part in parsed(message).walk():
            if part.get_content_maintype() == "text":
                text = (part.get_payload(decode=True) or b"").decode("utf-8", "replace")
                for link in re.findall(r"https?://[^\s<>\"'()\\]+", text):
                    yield urllib.parse.urlsplit(link).hostname or "x"
            for name in ("From", "To", "Cc", "Reply-To", "Return-Path"):
                for _, address in email.utils.getaddresses(map(str, part.get_all(name, []))):
                    if "@" in address:
                        yield address.rpartition("@")[2].strip("<>").lower()


class MaildirTest(unittest.TestCase):
    def test_names_of_folders_are_written_in_modified_utf7(self):
        # The third one is the example of RFC 3501, section 5.1.3.
        for name, wire in (("INBOX", "INBOX"), ("Entwürfe & Ideen", "Entw&APw-rfe &- Ideen"), ("~peter/mail/台北/日本語", "~peter/mail/&U,BTFw-/&ZeVnLIqe-"),
                           ("Архив", "&BBAEQARFBDgEMg-"), ("😀", "&2D3eAA-")):
            self.assertEqual(maildir.wire_name(name), wire)

    def test_a_file_tells_size_flags_and_time_of_its_message(self):
        folder = support.temporary_folder(self)
        messages = catalogue.build(NOW)
        maildir.write(os.path.join(folder, "Maildir"), messages)
        found = 0
        for path, _, files in os.walk(folder):
            for name in files:
                if os.path.basename(path) != "cur":
                    continue
                found += 1
                seconds, size, wire = re.fullmatch(r"(\d+)\.M\d+P\d+\.larkhaven,S=(\d+),W=(\d+):2,D?F?R?S?", name).groups()
                with open(os.path.join(path, name), "rb") as handle:
                    content = handle.read()
                self.assertEqual(len(content), int(size))
                self.assertEqual(len(re.sub(rb"(?<!\r)\n", b"\r\n", content)), int(wire))
                self.assertEqual(int(os.stat(os.path.join(path, name)).st_mtime), int(seconds))
        self.assertEqual(found, len(messages))

    def test_the_script_writes_the_tree_and_its_index(self):
        folder = support.temporary_folder(self)
        tree, index = os.path.join(folder, "Maildir"), os.path.join(folder, "index.json")
        support.run("make-mailbox", tree, "--now", "2025-11-21T09:30:00Z", "--index", index)
        with open(index, encoding="utf-8") as handle:
            entries = json.load(handle)
        self.assertEqual([entry["subject"] for entry in entries], [message.subject for message in catalogue.build(NOW)])
        self.assertTrue(os.path.isdir(os.path.join(tree, ".Projekte.Entw&APw-rfe &- Ideen", "cur")))
        self.assertEqual(support.run("make-mailbox", tree, check=False).returncode, 2)


class BulkTest(unittest.TestCase):
    def test_as_many_messages_as_asked_for_all_different_and_sound(self):
        messages = list(bulk.messages(2000, NOW))
        self.assertEqual(len({message.content for message in messages}), 2000)
        self.assertEqual(len({parsed(message)["Message-ID"] for message in messages}), 2000)
        for message in messages:
            self.assertEqual(decoded(parsed(message)["Subject"]), message.subject)
            self.assertFalse(parsed(message).defects)
        self.assertEqual(sorted(messages, key=lambda message: message.date), messages)
        self.assertEqual(list(bulk.messages(2000, NOW)), messages)

    def test_the_script_writes_ten_thousand(self):
        tree = os.path.join(support.temporary_folder(self), "Maildir")
        support.run("make-mailbox", tree, "--bulk", "10000", "--quiet")
        self.assertEqual(len(os.listdir(os.path.join(tree, "cur"))), 10000)


class MimeTest(unittest.TestCase):
    def test_encoded_words_are_short_and_whole(self):
        for charset in ("utf-8", "iso-2022-jp", "shift_jis", "euc-jp"):
            text = "東山の紅葉は十一月の十日すぎが見ごろになりそうです" * 4
            words = mime.encoded_words(text, charset).split("\n ")
            self.assertTrue(all(len(word) <= 75 for word in words))
            self.assertEqual("".join(decoded(word) for word in words), text)

    def test_a_folded_subject_unfolds_to_itself(self):
        text = " ".join(["several", "words", "with  two  spaces"] * 20)
        self.assertEqual(mime.fold(text).replace("\n", ""), text)
        self.assertLessEqual(max(map(len, mime.fold(text).split("\n"))), 78)


if __name__ == "__main__":
    support.main()
