"""A program on the sample mailbox: what it finds there, and who it is."""

import json
import os
import re
import subprocess
import unittest

import support

# Prints what the program sees: its user, its settings, its secret and the ports of the server, and sends a message if it can.
PROGRAM = """
import base64, json, os, smtplib, ssl, subprocess
with open(os.path.join(os.environ["XDG_CONFIG_HOME"], "larkhaven", "larkhaven.ini"), encoding="utf-8") as handle:
    settings = handle.read()
account = json.loads(settings.partition("@ByteArray(")[2].rpartition(")")[0].replace('\\\\"', '"'))[0]
secret = subprocess.run(["secret-tool", "lookup", "account", account["id"]], capture_output=True, text=True, check=True).stdout
seen = {"user": os.getuid(), "settings": settings, "account": account, "sent": False}
server = account["server"]
try:
    with smtplib.SMTP(server["smtpHost"], server["smtpPort"], timeout=60) as client:
        client.starttls(context=ssl.create_default_context(cafile=os.environ["SSL_CERT_FILE"]))
        client.login(server["username"], json.loads(secret)["password"]["_0"])
        client.sendmail(account["email"], ["theo@larkhaven.example"], "Subject: hello\\n\\nhello\\n")
    seen["sent"] = True
except ConnectionRefusedError:
    pass
print(json.dumps(seen))
"""


class PlayTest(unittest.TestCase):
    def setUp(self):
        self.folder = os.path.join(support.temporary_folder(self), "session")
        self.addCleanup(support.run, "mailserver", "kill", os.path.join(self.folder, "server"), check=False)

    def play(self, *command, fresh=False, **options):
        arguments = ["--fresh"] if fresh else []
        return support.run("play", *arguments, self.folder, *command, cwd="/", **options)

    def seen(self, **options):
        outcome = self.play("/usr/bin/python3", "-c", PROGRAM, **options)
        return json.loads(outcome.stdout), outcome.stderr

    def test_the_program_finds_an_account_that_can_send(self):
        seen, complaint = self.seen()
        self.assertEqual(seen["account"]["server"]["smtpSecurity"], "startTLS")
        self.assertEqual(seen["sent"], "no submission server" not in complaint)

    def test_where_no_server_takes_mail_the_account_points_to_none(self):
        command = ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"] if os.getuid() == 0 else []
        parent = os.path.dirname(self.folder)
        if os.getuid() == 0:
            os.chmod(parent, 0o777)
        outcome = subprocess.run([*command, "setpriv", "--no-new-privs", os.path.join(support.DEMO, "play"), self.folder,
                                  "/usr/bin/python3", "-c", PROGRAM], capture_output=True, text=True, timeout=support.TIMEOUT, check=False,
                                 cwd="/", env={**os.environ, "PATH": "/usr/bin:/bin:/usr/sbin:/sbin"})
        self.assertEqual(outcome.returncode, 0, outcome.stderr)
        seen = json.loads(outcome.stdout)
        self.assertEqual(seen["account"]["server"]["smtpPort"], 1)
        self.assertFalse(seen["sent"])
        self.assertIn("no submission server", outcome.stderr)

    def test_the_program_is_never_root(self):
        self.assertNotEqual(self.seen()[0]["user"], 0)

    def test_what_the_user_set_stays_and_the_account_follows_the_ports(self):
        self.seen()
        settings = os.path.join(self.folder, "home", ".config", "larkhaven", "larkhaven.ini")
        with open(settings, "a", encoding="utf-8") as handle:
            handle.write("other=kept\n")
        text = self.seen()[0]["settings"]
        self.assertIn("other=kept\n", text)
        self.assertEqual(len(re.findall(r"^accounts\.v2=", text, re.MULTILINE)), 1)
        self.assertNotIn("other=kept\n", self.seen(fresh=True)[0]["settings"])

    def test_the_exit_code_is_that_of_the_program_and_the_server_ends(self):
        self.assertEqual(self.play("sh", "-c", "exit 7", check=False).returncode, 7)
        self.assertEqual(support.run("mailserver", "status", os.path.join(self.folder, "server"), check=False).returncode, 3)


if __name__ == "__main__":
    support.main()
