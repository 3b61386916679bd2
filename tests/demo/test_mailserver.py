"""The sample mail server, spoken to by Python's own IMAP and SMTP clients."""

import base64
import contextlib
import imaplib
import json
import os
import pwd
import re
import signal
import smtplib
import socket
import ssl
import subprocess
import time
import unittest
import warnings

import support

from demo.mailbox import maildir  # noqa: E402  (support has set the path)

PASSWORD = 'p:ä "s\\s%&'
OWNER = "mara@larkhaven.example"
SPECIAL = {"Sent": "\\Sent", "Drafts": "\\Drafts", "Archive": "\\Archive", "Junk": "\\Junk", "Trash": "\\Trash"}
THEO = "theo@larkhaven.example"
NETWORK_TIMEOUT = 20
POSTFIX = "/usr/sbin/postfix"


def why_no_submission():
    """Where root can't be had, or nothing to start with it, there is nothing to test. Says why, or nothing."""
    if not os.access(POSTFIX, os.X_OK):
        return "Postfix is not installed"
    root = [] if os.getuid() == 0 else ["sudo", "-n"]
    try:
        outcome = subprocess.run([*root, "unshare", "--mount", "--pid", "--fork", "true"], capture_output=True, timeout=20, check=False)
    except FileNotFoundError:
        return "there is no sudo"
    return "" if outcome.returncode == 0 else "neither root nor namespaces are to be had"


needs_submission = unittest.skipIf(why_no_submission(), why_no_submission())


class ServerTest(unittest.TestCase):
    def setUp(self):
        self.folder = os.path.join(support.temporary_folder(self), "state")
        self.addCleanup(self.server, "kill", check=False)

    def server(self, command, *arguments, **options):
        return support.run("mailserver", command, self.folder, *arguments, **options)

    def start(self, *arguments, messages="empty", submission="no"):
        return self.server("start", "--messages", messages, "--submission", submission, *arguments,
                           env={**os.environ, "LARKHAVEN_DEMO_PASSWORD": PASSWORD})

    def read(self, name):
        with open(os.path.join(self.folder, name), encoding="utf-8") as handle:
            return handle.read()

    def port(self, name):
        return int(re.search(rf"^{name}=(\d+)$", self.read("ports"), re.MULTILINE)[1])

    def trust(self):
        return ssl.create_default_context(cafile=os.path.join(self.folder, "ca.pem"))

    def plain(self, host="localhost"):
        client = imaplib.IMAP4(host, self.port("IMAP_PORT"), timeout=NETWORK_TIMEOUT)
        self.addCleanup(self.close, client)
        return client

    def connect(self, host="localhost"):
        client = imaplib.IMAP4_SSL(host, self.port("IMAPS_PORT"), ssl_context=self.trust(), timeout=NETWORK_TIMEOUT)
        self.addCleanup(self.close, client)
        return client

    @staticmethod
    def close(client):
        with contextlib.suppress(OSError):  # a failed TLS handshake has closed it already
            client.shutdown()

    def sign_in(self, client, user=OWNER, password=PASSWORD):
        return client.authenticate("PLAIN", lambda _: f"\0{user}\0{password}".encode())

    def signed_in(self):
        client = self.connect()
        self.sign_in(client)
        return client

    def listed(self, client):
        """The folders as (name, attributes), names as the wire has them."""
        rows = (re.fullmatch(r'\((.*?)\) "(.)" "?(.*?)"?', line.decode()) for line in client.list()[1])
        return {row[3]: set(row[1].split()) for row in rows}

    def assert_stopped(self):
        self.assertEqual(self.server("status", check=False).returncode, 3)
        self.assertFalse(os.path.exists(os.path.join(self.folder, "dovecot.pid")))
        self.assertFalse(os.path.lexists(os.path.join(self.folder, "run")))
        with self.assertRaises(OSError):
            socket.create_connection(("127.0.0.1", self.port("IMAP_PORT")), timeout=2)


    def assert_on_loopback(self, ports):
        loopback = {"0100007F", "0200007F", "00000000000000000000000001000000"}
        found = set()
        for table in ("tcp", "tcp6"):
            with contextlib.suppress(FileNotFoundError), open(f"/proc/net/{table}", encoding="ascii") as handle:
                for line in handle.readlines()[1:]:
                    fields = line.split()
                    host, port = fields[1].split(":")
                    if fields[3] == "0A" and int(port, 16) in ports:
                        self.assertIn(host, loopback)
                        found.add(int(port, 16))
        self.assertEqual(found, ports)


class ConnectionTest(ServerTest):
    def test_signs_in_over_tls_on_every_host_that_the_certificate_names(self):
        self.start()
        for host in ("localhost", "127.0.0.1", "127.0.0.2"):
            self.assertEqual(self.sign_in(self.connect(host))[0], "OK")

    def test_signs_in_after_starttls(self):
        self.start()
        client = self.plain()
        self.assertIn("STARTTLS", client.capabilities)
        client.starttls(self.trust())
        self.assertLessEqual({"AUTH=PLAIN", "AUTH=LOGIN"}, set(client.capabilities))
        self.assertEqual(self.sign_in(client)[0], "OK")

    def test_refuses_the_right_password_without_tls(self):
        self.start()
        for host in ("localhost", "127.0.0.2"):
            with self.assertRaises(imaplib.IMAP4.error):
                self.sign_in(self.plain(host))
            with self.assertRaises(imaplib.IMAP4.error):
                self.plain(host).login(OWNER, "p")

    def test_tells_strangers_that_login_is_disabled_before_tls(self):
        self.start()
        self.assertIn("STRANGER_HOST=127.0.0.2\n", self.read("ports"))
        client = self.plain("127.0.0.2")
        self.assertIn("LOGINDISABLED", client.capabilities)
        client.starttls(self.trust())
        self.assertNotIn("LOGINDISABLED", client.capabilities)

    def test_refuses_a_wrong_password_at_once_and_again(self):
        self.start()
        for _ in range(3):
            with self.assertRaisesRegex(imaplib.IMAP4.error, "AUTHENTICATIONFAILED"):
                self.sign_in(self.connect(), password="wrong")

    def test_further_accounts_have_their_own_passwords(self):
        self.start("--user", "New@larkhaven.example:secret:ü", "--user", "plain@larkhaven.example")
        self.sign_in(self.connect(), "new@larkhaven.example", "secret:ü")
        self.sign_in(self.connect(), "plain@larkhaven.example")
        self.sign_in(self.connect(), "theo@larkhaven.example")

    def test_faulty_certificates_are_refused_for_their_fault(self):
        self.start()
        for kind, words in (("expired", "certificate has expired"), ("otherhost", "not valid for 'localhost'|[Hh]ostname mismatch"),
                            ("unknown", "unable to get local issuer|unable to verify"), ("selfsigned", "self.signed certificate")):
            self.server("restart", "--submission", "no", "--cert", kind)
            with self.assertRaisesRegex(ssl.SSLCertVerificationError, words):
                self.connect()
            with self.assertRaisesRegex(ssl.SSLCertVerificationError, words):
                self.plain().starttls(self.trust())
        self.server("restart", "--submission", "no", "--cert", "good")
        self.connect()

    def test_old_tls_is_refused(self):
        self.start()
        context = self.trust()
        context.set_ciphers("ALL:@SECLEVEL=0")
        with warnings.catch_warnings():
            warnings.simplefilter("ignore", DeprecationWarning)
            context.minimum_version = ssl.TLSVersion.TLSv1
            context.maximum_version = ssl.TLSVersion.TLSv1_1
        with self.assertRaises(ssl.SSLError):
            imaplib.IMAP4_SSL("localhost", self.port("IMAPS_PORT"), ssl_context=context, timeout=NETWORK_TIMEOUT)
        self.server("stop")
        self.assertRegex(self.read("dovecot.log"), "unsupported protocol|version too low")

    def test_listens_on_loopback_only(self):
        self.start("--lmtp-port", "0")
        self.assert_on_loopback({self.port(name) for name in ("IMAP_PORT", "IMAPS_PORT", "LMTP_PORT")})


class MailboxTest(ServerTest):
    def test_lists_the_sample_mailbox_with_its_roles_and_counts(self):
        self.start(messages="demo")
        client = self.signed_in()
        folders = self.listed(client)
        for name, role in SPECIAL.items():
            self.assertIn(role, folders[name])
        self.assertIn("\\Noselect", folders["Vereine"])
        for parent in ("Projekte", "旅行", "Lists"):
            self.assertNotIn("\\Noselect", folders[maildir.wire_name(parent)])
        expected = {}
        for entry in json.loads(self.read("index.json")):
            expected[entry["folder"]] = expected.get(entry["folder"], 0) + 1
        self.assertGreaterEqual(sum(expected.values()), 300)
        for name, count in expected.items():
            wire = maildir.wire_name(name)
            self.assertIn(wire, folders)
            self.assertEqual(client.select(f'"{wire}"', readonly=True), ("OK", [str(count).encode()]), name)

    def test_order_of_arrival_is_order_of_date(self):
        self.start(messages="demo")
        client = self.signed_in()
        client.select("INBOX", readonly=True)
        rows = client.uid("FETCH", "1:*", "(INTERNALDATE FLAGS)")[1]
        dates = [time.mktime(imaplib.Internaldate2tuple(row)) for row in rows]
        self.assertEqual(dates, sorted(dates))
        self.assertLess(time.time() - dates[-1], 15 * 60)
        self.assertTrue(any(b"\\Seen" in row for row in rows) and any(b"\\Seen" not in row for row in rows))

    def test_changes_outlive_a_restart(self):
        self.start(messages="bulk=20")
        client = self.signed_in()
        client.select("INBOX")
        client.store("3", "+FLAGS", "(\\Flagged \\Deleted)")
        client.expunge()
        validity = client.response("UIDVALIDITY")[1]
        self.server("restart", "--submission", "no", "--messages", "bulk=20")
        client = self.signed_in()
        self.assertEqual(client.select("INBOX"), ("OK", [b"19"]))
        self.assertEqual(client.response("UIDVALIDITY")[1], validity)

    def test_fresh_throws_everything_away(self):
        self.start(messages="bulk=20")
        self.server("restart", "--submission", "no", "--messages", "bulk=5", "--fresh")
        self.assertEqual(self.signed_in().select("INBOX"), ("OK", [b"5"]))

    def test_a_large_mailbox_is_served_at_once(self):
        self.start(messages="bulk=3000")
        client = self.signed_in()
        self.assertEqual(client.select("INBOX"), ("OK", [b"3000"]))
        self.assertEqual(len(client.uid("SEARCH", "ALL")[1][0].split()), 3000)

    def test_folders_can_live_below_the_inbox(self):
        self.start("--hierarchy", "inbox", messages="demo")
        folders = self.listed(self.signed_in())
        self.assertTrue(all(name == "INBOX" or name.startswith("INBOX.") for name in folders), folders)
        self.assertIn("INBOX.&ZcWITA-.&TqyQ,Q-", folders)
        self.assertIn("\\Sent", folders["INBOX.Sent"])

    def test_settings_of_the_server_can_be_changed(self):
        self.start("--set", "imap_capability=IMAP4rev1 UIDPLUS")
        client = self.signed_in()
        self.assertEqual(client.capability()[1][0], b"IMAP4rev1 UIDPLUS")

    def test_delivers_through_its_socket_and_its_port(self):
        self.start("--lmtp-port", "0")
        message = "From: a@example.org\nTo: mara@larkhaven.example\nSubject: just in\n\nHello.\n"
        self.server("deliver", "--to", OWNER, "--to", "theo@larkhaven.example", input=message)
        client = self.signed_in()
        self.assertEqual(client.select("INBOX"), ("OK", [b"1"]))
        self.assertIn(b"Subject: just in", client.fetch("1", "(BODY[HEADER])")[1][0][1])
        outcome = self.server("deliver", "--to", "nobody@larkhaven.example", input=message, check=False)
        self.assertEqual(outcome.returncode, 1)
        self.assertIn("User doesn't exist", outcome.stderr)
        with socket.create_connection(("localhost", self.port("LMTP_PORT")), timeout=NETWORK_TIMEOUT) as connection:
            self.assertTrue(connection.recv(4096).startswith(b"220 "))

    def test_doveadm_works_on_its_mail(self):
        self.start(messages="bulk=4")
        outcome = self.server("doveadm", "--", "mailbox", "status", "-u", OWNER, "messages", "INBOX")
        self.assertIn("INBOX messages=4", outcome.stdout)


@needs_submission
class SubmissionTest(ServerTest):
    MESSAGE = "From: mara@larkhaven.example\r\nTo: theo@larkhaven.example\r\nSubject: from me to you\r\n\r\nHello.\r\n"

    def start(self, *arguments, messages="empty", submission="yes"):
        return super().start(*arguments, messages=messages, submission=submission)

    def over_tls(self, host="localhost"):
        client = smtplib.SMTP_SSL(host, self.port("SMTPS_PORT"), context=self.trust(), timeout=NETWORK_TIMEOUT)
        self.addCleanup(client.close)
        return client

    def over_starttls(self, host="localhost"):
        client = self.without_tls("SMTP_PORT", host)
        client.starttls(context=self.trust())
        return client

    def without_tls(self, port, host="localhost"):
        client = smtplib.SMTP(host, self.port(port), timeout=NETWORK_TIMEOUT)
        self.addCleanup(client.close)
        return client

    @staticmethod
    def log_in(client, user=OWNER, password=PASSWORD):
        """As smtplib's own "login" does, but with any password."""
        client.ehlo_or_helo_if_needed()
        code, text = client.docmd("AUTH", "PLAIN " + base64.b64encode(f"\0{user}\0{password}".encode()).decode())
        if code != 235:
            raise smtplib.SMTPAuthenticationError(code, text)

    def inbox(self, user):
        client = self.connect()
        self.sign_in(client, user)
        client.select("INBOX")
        return client

    def wait_for_mail(self, user, count):
        end = time.monotonic() + NETWORK_TIMEOUT
        client = self.inbox(user)
        while (found := int(client.select("INBOX")[1][0])) < count and time.monotonic() < end:
            time.sleep(0.05)
        self.assertEqual(found, count)
        return client

    def test_what_is_sent_arrives_unchanged_on_both_ports_and_hosts(self):
        self.start()
        for connect in (self.over_tls, self.over_starttls):
            for host in ("localhost", "127.0.0.1"):
                client = connect(host)
                self.log_in(client)
                client.sendmail(OWNER, [THEO], self.MESSAGE)
                client.quit()
        client = self.wait_for_mail(THEO, 4)
        self.assertTrue(client.fetch("1", "(BODY[])")[1][0][1].endswith(self.MESSAGE.encode()))

    def test_offers_plain_and_login_only_under_tls(self):
        self.start()
        client = self.without_tls("SMTP_PORT")
        client.ehlo()
        self.assertTrue(client.has_extn("starttls"))
        self.assertFalse(client.has_extn("auth"))
        self.assertNotEqual(client.docmd("AUTH PLAIN AGEAYg==")[0], 235)
        client.starttls(context=self.trust())
        client.ehlo()
        self.assertEqual(set(client.esmtp_features["auth"].split()), {"PLAIN", "LOGIN"})

    def test_a_wrong_password_and_no_password_are_refused(self):
        self.start()
        client = self.over_tls()
        with self.assertRaises(smtplib.SMTPAuthenticationError):
            self.log_in(client, password="wrong")
        for client in (self.over_tls(), self.without_tls("SMTP_PLAIN_PORT")):
            with self.assertRaises(smtplib.SMTPRecipientsRefused):
                client.sendmail(OWNER, [THEO], self.MESSAGE)

    def test_one_port_offers_neither_tls_nor_login(self):
        self.start()
        client = self.without_tls("SMTP_PLAIN_PORT")
        client.ehlo()
        self.assertFalse(client.has_extn("starttls") or client.has_extn("auth"))

    def test_nothing_is_taken_for_other_domains_or_for_nobody(self):
        self.start()
        client = self.over_tls()
        self.log_in(client)
        client.mail(OWNER)
        for receiver in ("someone@example.org", "root@localhost", "root", "someone%example.org@localhost",
                         "nobody@larkhaven.example"):
            self.assertGreaterEqual(client.docmd("RCPT", f"TO:<{receiver}>")[0], 500, receiver)

    def test_a_report_to_another_domain_stays_here(self):
        # Dovecot refuses a receiver whom Postfix has taken: the report about that goes to the sender.
        self.start("--smtp-set", "virtual_mailbox_maps=static:known")
        client = self.over_tls()
        self.log_in(client)
        client.sendmail("someone@example.org", ["nobody@larkhaven.example"], self.MESSAGE)
        fate = r"to=<someone@example.org>, relay=none, .*status=bounced \(no mail leaves this machine\)"
        end = time.monotonic() + NETWORK_TIMEOUT
        while not re.search(fate, self.read("submission.log")) and time.monotonic() < end:
            time.sleep(0.05)
        self.assertRegex(self.read("submission.log"), fate)

    def test_further_accounts_have_mailboxes_and_passwords(self):
        self.start("--user", "New@larkhaven.example:secret", "--user", "far@elsewhere.example:other")
        client = self.over_tls()
        self.log_in(client, "new@larkhaven.example", "secret")
        client.sendmail("new@larkhaven.example", ["far@elsewhere.example"], self.MESSAGE)
        reader = self.connect()
        self.sign_in(reader, "far@elsewhere.example", "other")
        end = time.monotonic() + NETWORK_TIMEOUT
        while reader.select("INBOX")[1] == [b"0"] and time.monotonic() < end:
            time.sleep(0.05)
        self.assertEqual(reader.select("INBOX")[1], [b"1"])

    def test_faulty_certificates_can_be_shown_by_it_alone(self):
        self.start("--smtp-cert", "expired")
        self.signed_in()
        with self.assertRaisesRegex(ssl.SSLCertVerificationError, "certificate has expired"):
            self.over_tls()
        with self.assertRaisesRegex(ssl.SSLCertVerificationError, "certificate has expired"):
            self.over_starttls()

    def test_listens_on_loopback_only(self):
        self.start()
        ports = {self.port(name) for name in ("SMTP_PORT", "SMTPS_PORT", "SMTP_PLAIN_PORT")}
        self.assert_on_loopback(ports)

    def test_it_can_be_ended_and_started_alone_on_the_same_ports(self):
        self.start()
        ports, pid = self.read("ports"), self.read("dovecot.pid")
        for command in ("stop", "kill"):
            self.server(command, "--submission-only")
            self.assertNotIn("SMTP", self.server("status").stdout)
            with self.assertRaises(OSError):
                self.over_tls()
            self.signed_in()
            self.start()
            self.assertEqual(self.server("status").stdout, ports)
            self.log_in(self.over_tls())
        self.assertEqual(self.read("dovecot.pid"), pid)

    def test_it_ends_with_dovecot_however_that_ends(self):
        for end in (lambda: self.server("stop"), lambda: self.server("kill"), lambda: os.kill(int(self.read("dovecot.pid")), signal.SIGKILL)):
            self.start()
            end()
            deadline = time.monotonic() + NETWORK_TIMEOUT
            while time.monotonic() < deadline:
                try:
                    self.over_tls().close()
                except ConnectionRefusedError:
                    break
                except OSError:
                    pass  # on its way out
                time.sleep(0.05)
            else:
                self.fail("it goes on without Dovecot")

    def test_several_run_side_by_side_and_touch_no_place_of_the_system(self):
        def places():
            return sorted(os.listdir("/var/spool/postfix") if os.path.isdir("/var/spool/postfix") else [])
        before = places()
        self.start()
        first = self.folder
        self.folder = os.path.join(support.temporary_folder(self), "second")
        self.addCleanup(support.run, "mailserver", "kill", self.folder, check=False)
        self.start()
        self.log_in(self.over_tls())
        self.server("stop")
        self.folder = first
        self.log_in(self.over_tls())
        self.assertEqual(places(), before)
        self.assertFalse(os.path.exists("/var/spool/postfix/configuration"))

    def test_settings_can_be_changed(self):
        self.start("--smtp-set", "smtpd_sasl_mechanism_filter=login")
        client = self.over_tls()
        client.ehlo()
        self.assertEqual(client.esmtp_features["auth"].split(), ["LOGIN"])

    @unittest.skipUnless(os.getuid() == 0, "only root can become another user")
    def test_where_root_cannot_be_had_a_line_says_so_and_mail_can_be_read(self):
        os.mkdir(self.folder)
        os.chown(self.folder, pwd.getpwnam("nobody").pw_uid, -1)
        command = ["setpriv", "--reuid=nobody", f"--regid={pwd.getpwnam('nobody').pw_gid}", "--clear-groups", "--no-new-privs", "/usr/bin/python3",
                   os.path.join(support.DEMO, "mailserver"), "start", self.folder, "--messages", "empty", "--password", PASSWORD]
        outcome = subprocess.run(command, timeout=support.TIMEOUT, capture_output=True, text=True, check=False)
        self.assertEqual(outcome.returncode, 0, outcome.stderr)
        self.assertRegex(outcome.stderr, r"\Amailserver: there is no submission server, so mail can be read but not sent: [^\n]+\n\Z")
        self.assertNotIn("SMTP", outcome.stdout)
        self.signed_in()
        self.server("stop")
        outcome = subprocess.run([*command, "--submission", "yes"], timeout=support.TIMEOUT, capture_output=True, text=True, check=False)
        self.assertEqual(outcome.returncode, 1)
        self.assertIn("no submission server", outcome.stderr)


class LifeTest(ServerTest):
    def test_never_runs_as_root(self):
        self.start()
        pid = int(self.read("dovecot.pid"))
        self.assertNotEqual(os.stat(f"/proc/{pid}").st_uid, 0)
        self.assertEqual(self.read("password"), PASSWORD + "\n")
        self.assertEqual(os.stat(os.path.join(self.folder, "password")).st_mode & 0o777, 0o600)

    def test_a_second_start_changes_nothing(self):
        self.start()
        pid, ports = self.read("dovecot.pid"), self.read("ports")
        self.assertEqual(self.server("start", "--submission", "no").stdout, ports)
        self.assertEqual((self.read("dovecot.pid"), self.read("ports")), (pid, ports))

    def test_stops_cleanly_and_twice(self):
        self.start()
        self.assertEqual(self.server("status").stdout, self.read("ports"))
        self.server("stop")
        self.assert_stopped()
        self.server("stop")

    def test_stop_without_a_start_is_no_failure(self):
        self.server("stop")
        self.assertFalse(os.path.exists(self.folder))

    def test_a_stale_process_id_harms_nobody(self):
        self.start()
        self.server("kill")
        bystander = subprocess.Popen(["sleep", "60"])
        self.addCleanup(bystander.wait)
        self.addCleanup(bystander.kill)
        with open(os.path.join(self.folder, "dovecot.pid"), "w", encoding="ascii") as handle:
            handle.write(f"{bystander.pid}\n")
        self.assertEqual(self.server("status", check=False).returncode, 3)
        self.server("stop")
        self.assertIsNone(bystander.poll())

    def test_a_restart_keeps_ports_and_password(self):
        self.start()
        ports = self.read("ports")
        self.server("restart", "--submission", "no")
        self.assertEqual(self.read("ports"), ports)
        self.signed_in()

    def test_takes_the_ports_that_it_is_given(self):
        self.start()
        chosen = self.port("IMAP_PORT")
        self.server("stop")
        self.start("--imap-port", str(chosen))
        self.assertEqual(self.port("IMAP_PORT"), chosen)

    def test_chooses_another_port_when_the_last_one_is_taken(self):
        self.start()
        self.server("stop")
        former = self.port("IMAP_PORT")
        with socket.create_server(("127.0.0.1", former)):
            self.start()
            self.assertNotEqual(self.port("IMAP_PORT"), former)
            self.signed_in()

    def test_a_kill_ends_open_sessions_and_loses_no_mail(self):
        self.start(messages="bulk=50")
        client = self.signed_in()
        client.select("INBOX")
        self.server("kill")
        with self.assertRaises((imaplib.IMAP4.abort, OSError)):
            client.noop()
        self.assert_stopped()
        self.start()
        self.assertEqual(self.signed_in().select("INBOX"), ("OK", [b"50"]))

    def test_starts_again_after_a_crash_that_left_everything_behind(self):
        self.start()
        os.kill(int(self.read("dovecot.pid")), signal.SIGKILL)
        self.server("start", "--submission", "no")
        self.signed_in()

    def test_several_servers_run_side_by_side(self):
        self.start()
        first = self.folder
        self.folder = os.path.join(support.temporary_folder(self), "second")
        self.addCleanup(support.run, "mailserver", "kill", self.folder, check=False)
        self.start()
        self.signed_in()
        self.server("stop")
        self.folder = first
        self.signed_in()

    def test_a_long_or_strange_path_is_no_obstacle(self):
        for name in ("x" * 150, "a b %u \"q\" ü'$x #y"):
            self.folder = os.path.join(support.temporary_folder(self), name)
            self.addCleanup(support.run, "mailserver", "kill", self.folder, check=False)
            self.start(messages="bulk=3")
            run = os.path.realpath(os.path.join(self.folder, "run"))
            self.assertLess(len(run), 40)
            self.assertEqual(self.signed_in().select("INBOX"), ("OK", [b"3"]))
            self.server("stop")
            self.assertFalse(os.path.exists(run))

    def test_refuses_a_folder_with_other_files(self):
        os.mkdir(self.folder)
        with open(os.path.join(self.folder, "diary.txt"), "w", encoding="ascii") as handle:
            handle.write("mine")
        before = os.stat(self.folder)
        outcome = self.server("start", check=False)
        self.assertEqual(outcome.returncode, 1)
        self.assertIn("holds other files", outcome.stderr)
        self.assertEqual(os.listdir(self.folder), ["diary.txt"])
        self.assertEqual(os.stat(self.folder).st_uid, before.st_uid)

    def test_a_setting_that_dovecot_rejects_is_reported(self):
        outcome = self.server("start", "--messages", "empty", "--set", "no_such_setting=1", check=False)
        self.assertEqual(outcome.returncode, 1)
        self.assertIn("no_such_setting", outcome.stderr)

    @unittest.skipUnless(os.getuid() == 0, "only root has something to give up")
    def test_root_hands_the_folder_to_the_user_who_runs_the_server(self):
        self.start()
        self.assertEqual(os.stat(self.folder).st_uid, pwd.getpwnam(os.environ.get("LARKHAVEN_DEMO_USER", "nobody")).pw_uid)
        outcome = support.run("mailserver", "start", self.folder + "2", "--run-as", "root", check=False)
        self.assertEqual(outcome.returncode, 1)
        self.assertIn("never runs as root", outcome.stderr)

    @unittest.skipUnless(os.getuid() == 0, "only root can become another user")
    def test_an_ordinary_user_runs_everything_too(self):
        os.mkdir(self.folder)
        os.chown(self.folder, pwd.getpwnam("nobody").pw_uid, -1)
        command = ["setpriv", "--reuid=nobody", f"--regid={pwd.getpwnam('nobody').pw_gid}", "--clear-groups", "/usr/bin/python3", os.path.join(support.DEMO, "mailserver")]
        subprocess.run([*command, "start", self.folder, "--messages", "bulk=2", "--password", PASSWORD], check=True, timeout=support.TIMEOUT,
                       stdout=subprocess.DEVNULL)
        self.assertEqual(self.signed_in().select("INBOX"), ("OK", [b"2"]))
        subprocess.run([*command, "stop", self.folder], check=True, timeout=support.TIMEOUT)
        self.assert_stopped()


class ForegroundTest(ServerTest):
    def run_in_foreground(self):
        process = subprocess.Popen([os.path.join(support.DEMO, "mailserver"), "start", self.folder, "--messages", "empty", "--submission", "no", "--foreground"],
                                   stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        lines = [process.stdout.readline() for _ in self.expected_lines()]
        self.assertEqual("".join(lines), self.read("ports"))
        return process

    @staticmethod
    def expected_lines():
        return ("IMAP_HOST", "IMAP_PORT", "IMAPS_PORT", "STRANGER_HOST", "LMTP_SOCKET")

    def wait_until_gone(self, pid):
        end = time.monotonic() + NETWORK_TIMEOUT
        while time.monotonic() < end:
            try:
                with open(f"/proc/{pid}/stat", "rb") as handle:
                    if handle.read().rpartition(b")")[2].split()[0] == b"Z":
                        return
            except (FileNotFoundError, ProcessLookupError):
                return
            time.sleep(0.05)
        self.fail(f"process {pid} still runs")

    def test_ends_with_a_terminating_signal(self):
        process = self.run_in_foreground()
        process.terminate()
        self.assertEqual(process.wait(NETWORK_TIMEOUT), 0)
        self.assert_stopped()

    def test_ends_when_somebody_else_stops_it(self):
        process = self.run_in_foreground()
        self.server("stop")
        self.assertEqual(process.wait(NETWORK_TIMEOUT), 0)

    def test_tells_when_dovecot_dies(self):
        process = self.run_in_foreground()
        os.kill(int(self.read("dovecot.pid")), signal.SIGKILL)
        self.assertEqual(process.wait(NETWORK_TIMEOUT), 1)

    def test_does_not_outlive_a_killed_parent(self):
        process = self.run_in_foreground()
        pid = int(self.read("dovecot.pid"))
        process.kill()
        self.wait_until_gone(pid)

    def test_refuses_to_take_over_a_running_server(self):
        self.start()
        outcome = self.server("start", "--foreground", check=False)
        self.assertEqual(outcome.returncode, 1)
        self.assertIn("runs already", outcome.stderr)


if __name__ == "__main__":
    support.main()
