"""The private keyring, spoken to by libsecret's own tool."""

import os
import shutil
import signal
import subprocess
import time
import unittest

import support

STORE = "printf %s geheim | secret-tool store --label=Test service mail account mara"
LOOKUP = "secret-tool lookup service mail account mara"


class KeyringTest(unittest.TestCase):
    def setUp(self):
        self.home = os.path.join(support.temporary_folder(self), "home")

    def run_in(self, script, *options, check=True, **more):
        return support.run("keyring", *options, self.home, "--", "sh", "-c", script, check=check, **more)

    def test_stores_and_looks_up_without_asking(self):
        self.assertEqual(self.run_in(f"{STORE} && {LOOKUP}").stdout, "geheim")

    def test_secrets_outlive_the_session(self):
        self.run_in(STORE)
        self.assertEqual(self.run_in(LOOKUP).stdout, "geheim")

    def test_secrets_can_be_removed(self):
        self.run_in(STORE)
        self.assertEqual(self.run_in(f"secret-tool clear service mail account mara; {LOOKUP}", check=False).returncode, 1)

    def test_another_home_has_other_secrets(self):
        self.run_in(STORE)
        self.home += "2"
        self.assertEqual(self.run_in(LOOKUP, check=False).returncode, 1)

    def test_secrets_are_not_in_the_file_in_the_clear(self):
        self.run_in(STORE)
        with open(os.path.join(self.home, ".local/share/keyrings/login.keyring"), "rb") as handle:
            self.assertNotIn(b"geheim", handle.read())

    def test_the_exit_code_is_that_of_the_command(self):
        self.assertEqual(self.run_in("exit 42", check=False).returncode, 42)
        self.assertEqual(self.run_in("kill -9 $$", check=False).returncode, 128 + 9)
        self.assertEqual(support.run("keyring", self.home, "--", "/nonexistent/program", check=False).returncode, 127)
        self.assertEqual(support.run("keyring", self.home, "--", "/etc/passwd", check=False).returncode, 126)

    def test_a_missing_command_is_explained(self):
        for arguments in ((self.home,), (self.home, "--"), ()):
            outcome = support.run("keyring", *arguments, check=False)
            self.assertEqual(outcome.returncode, 2)
            self.assertIn("usage:", outcome.stderr)

    def test_standard_input_belongs_to_the_command(self):
        self.assertEqual(self.run_in("cat", input="from outside").stdout, "from outside")

    def test_the_command_lives_in_the_given_home(self):
        lines = self.run_in('echo "$HOME"; echo "$XDG_DATA_HOME"; echo "$XDG_CONFIG_HOME"; echo "$XDG_CACHE_HOME"').stdout.splitlines()
        self.assertEqual(lines, [self.home, f"{self.home}/.local/share", f"{self.home}/.config", f"{self.home}/.cache"])

    def test_the_commands_home_can_be_kept(self):
        outcome = self.run_in(f'echo "$HOME"; {STORE} && {LOOKUP}', "--keep-home", env={**os.environ, "HOME": "/somewhere"})
        self.assertEqual(outcome.stdout, "/somewhere\ngeheim")

    def test_the_bus_is_a_private_one(self):
        outer = {**os.environ, "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent/bus", "GNOME_KEYRING_CONTROL": "/nonexistent"}
        outcome = self.run_in(f'echo "$DBUS_SESSION_BUS_ADDRESS"; {STORE} && {LOOKUP}', env=outer)
        address, secret = outcome.stdout.splitlines()
        self.assertTrue(address.startswith("unix:path=/tmp/larkhaven-"), address)
        self.assertEqual(secret, "geheim")
        self.assertFalse(os.path.exists(os.path.dirname(address.partition("=")[2])))

    def test_the_bus_starts_services_of_the_home_only(self):
        script = ("dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus.ListActivatableNames")
        self.assertNotIn("org.freedesktop.secrets", self.run_in(script).stdout)
        services = os.path.join(self.home, ".local/share/dbus-1/services")
        with open(os.path.join(services, "com.example.Own.service"), "w", encoding="ascii") as handle:
            handle.write("[D-BUS Service]\nName=com.example.Own\nExec=/bin/true\n")
        self.assertIn("com.example.Own", self.run_in(script).stdout)

    def test_no_daemon_outlives_the_command(self):
        daemons = self.run_in("ps -o pid= --ppid $PPID").stdout.split()
        self.assertGreaterEqual(len(daemons), 3)  # the bus, the keyring and the shell itself
        self.assertEqual([pid for pid in daemons if self.runs(pid)], [])

    def test_a_signal_reaches_the_command_and_ends_everything(self):
        process, children = self.start_sleeping()
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(support.TIMEOUT), 128 + signal.SIGTERM)
        self.assertEqual([pid for pid in children if self.runs(pid)], [])

    def test_everything_ends_when_the_script_is_killed(self):
        process, children = self.start_sleeping()
        process.kill()
        process.wait(support.TIMEOUT)
        end = time.monotonic() + support.TIMEOUT
        while any(self.runs(pid) for pid in children) and time.monotonic() < end:
            time.sleep(0.05)
        self.assertEqual([pid for pid in children if self.runs(pid)], [])

    def start_sleeping(self):
        process = subprocess.Popen([os.path.join(support.DEMO, "keyring"), self.home, "--", "sh", "-c",
                                    "ps -o pid= --ppid $PPID; echo $DBUS_SESSION_BUS_ADDRESS; echo end; exec sleep 60"],
                                   stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        *children, address = [line.strip() for line in iter(process.stdout.readline, "end\n")]
        # A script that is killed can't remove its folder any more.
        self.addCleanup(shutil.rmtree, os.path.dirname(address.partition("=")[2]), ignore_errors=True)
        self.assertGreaterEqual(len(children), 3)
        return process, children

    @staticmethod
    def runs(pid):
        try:
            with open(f"/proc/{pid}/stat", "rb") as handle:
                return handle.read().rpartition(b")")[2].split()[0] != b"Z"
        except (FileNotFoundError, ProcessLookupError):
            return False

    @unittest.skipUnless(os.getuid() == 0, "only root can become another user")
    def test_works_for_an_ordinary_user_without_capabilities(self):
        os.mkdir(self.home)
        os.chown(self.home, 65534, 65534)
        command = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--bounding-set=-all", "--inh-caps=-all", "--no-new-privs",
                   "/usr/bin/python3", os.path.join(support.DEMO, "keyring"), self.home, "--", "sh", "-c", f"{STORE} && {LOOKUP}"]
        outcome = subprocess.run(command, capture_output=True, text=True, timeout=support.TIMEOUT, check=False)
        self.assertEqual((outcome.returncode, outcome.stdout), (0, "geheim"), outcome.stderr)


if __name__ == "__main__":
    support.main()
