"""The tour on the sample mailbox, as "./run" begins it where there is no display: what it writes to the terminal."""

import os
import re
import shutil
import subprocess
import unittest

import support

TOUR = os.environ["LARKHAVEN_TOUR"]
PICTURES = ("list", "newsletter", "attachments", "plain", "reply", "settings", "account")


class TourTest(unittest.TestCase):
    def setUp(self):
        self.folder = support.temporary_folder(self)
        # Root plays as another user, who may not be able to reach the build.
        self.program = shutil.copy(TOUR, self.folder)
        self.session = os.path.join(self.folder, "session")
        self.screenshots = os.path.join(self.folder, "screenshots")
        os.mkdir(self.screenshots)
        os.chmod(self.screenshots, 0o777)
        self.addCleanup(support.run, "mailserver", "kill", os.path.join(self.session, "server"), check=False)

    def tour(self, program, **variables):
        if os.getuid() == 0:
            os.chmod(self.folder, 0o777)
        command = [os.path.join(support.DEMO, "play"), "--fresh", self.session, "xvfb-run", "-a", "-s", "-screen 0 1280x800x24", *program]
        return subprocess.run(command, capture_output=True, text=True, timeout=200, check=False, cwd="/", env={**os.environ, **variables})

    def test_it_writes_its_own_lines_and_nothing_of_the_engine(self):
        outcome = self.tour([self.program, self.screenshots])
        self.assertEqual(outcome.returncode, 0, outcome.stderr)
        lines = outcome.stdout.splitlines()
        self.assertTrue(lines)
        for line in lines:
            self.assertRegex(line, f"^screenshot: {re.escape(self.screenshots)}/[a-z-]+\\.png$")
        names = [f"{name}-{scheme}.png" for name in PICTURES for scheme in ("light", "dark")]
        self.assertEqual([os.path.basename(line) for line in lines], names)
        self.assertEqual(sorted(os.listdir(self.screenshots)), sorted(names))
        self.assertEqual(support.without_ours(outcome.stderr), "")
        home = os.path.join(self.session, "home")
        ours = [os.path.join(root, name) for place in (".cache/Larkhaven", ".config/larkhaven") for root, folders, files in
                os.walk(os.path.join(home, place)) for name in [".", *files]]
        self.assertTrue(any(name.endswith("larkhaven.ini") for name in ours))
        self.assertTrue(any(os.sep + "messages" + os.sep in name for name in ours))
        self.assertEqual([name for name in ours if os.stat(name).st_mode & 0o077], [], "others can reach these")

    def test_what_the_engine_says_can_be_asked_for_and_so_can_our_own_complaints_be_seen(self):
        outcome = self.tour([self.program, self.screenshots], QT_LOGGING_RULES="qt.webenginecontext.info=true")
        self.assertIn("qt.webenginecontext", outcome.stderr)
        self.assertIn("log-level 3", outcome.stderr, "the engine's processes write nothing but what ends them")
        outcome = self.tour(["sh", "-c", "echo a complaint >&2; exit 3"])
        self.assertEqual(outcome.returncode, 3)
        self.assertIn("a complaint", outcome.stderr)


if __name__ == "__main__":
    support.main()
