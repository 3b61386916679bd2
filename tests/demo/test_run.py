"""The lines of "./run" itself, and as whom it runs what. Its packages are installed already, and what it would build is put in place by a
"cmake" that stands before the system's."""

import json
import os
import re
import shutil
import stat
import subprocess
import unittest

import support

TOUR = os.environ["LARKHAVEN_TOUR"]
BUILDING = "Building Larkhaven; the first time takes several minutes. What the build says goes to build/run.log."
NO_DISPLAY = "There is no display: Larkhaven opens under Xvfb and leaves screenshots in "
PICTURES = 14

# Notes what it is called with, says as much as a build does, and fails where it is told to.
CMAKE = """#!/usr/bin/python3
import os, shutil, sys
with open(os.environ["CMAKE_NOTES"], "a", encoding="utf-8") as notes:
    notes.write(" ".join(sys.argv[1:]) + "\\n")
if "--build" in sys.argv:
    for number in range(60):
        print(f"[{number}/60] a line of the build")
    print("a warning of the build", file=sys.stderr)
    os.makedirs("build/release/app", exist_ok=True)
    for name in ("larkhaven", "larkhaven-tour"):
        shutil.copy(os.environ["BUILT_PROGRAM"], os.path.join("build/release/app", name))
    sys.exit(int(os.environ.get("BUILD_FAILS", "0")))
"""

# Prints who it is, what it was called as and with, and which of what runs it could change.
PROGRAM = """#!/usr/bin/python3
import json, os, sys
own = os.path.dirname(os.path.realpath(__file__))
files = [own, *(os.path.join(folder, name) for folder, folders, names in os.walk(own) for name in folders + names)]
print(json.dumps({"user": os.getuid(), "name": os.path.basename(__file__), "arguments": sys.argv[1:], "home": os.environ["HOME"],
                  "display": os.environ.get("DISPLAY", ""), "changeable": [name for name in files if os.access(name, os.W_OK)]}))
sys.exit(7)
"""


class RunTest(unittest.TestCase):
    def setUp(self):
        self.folder = support.temporary_folder(self)
        # The path of the copy has a space in it.
        self.root = os.path.join(self.folder, "the sources")
        os.mkdir(self.root)
        shutil.copy(os.path.join(support.ROOT, "run"), self.root)
        for name in ("demo", "packaging"):
            shutil.copytree(os.path.join(support.ROOT, name), os.path.join(self.root, name))
        self.write("bin/cmake", CMAKE)
        self.write("program", PROGRAM)
        self.state = ""
        self.addCleanup(self.end)

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as handle:
            handle.write(text)
        os.chmod(path, 0o755)

    def end(self):
        if not self.state:
            return
        support.run("mailserver", "kill", os.path.join(self.state, "session", "server"), check=False)
        # Root's lies below /tmp for the user to look at.
        if self.state.startswith("/tmp/larkhaven-demo."):
            shutil.rmtree(self.state, ignore_errors=True)

    def run_all(self, program=None, display="", **variables):
        environment = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY")}
        environment |= {"PATH": os.path.join(self.folder, "bin") + ":/usr/bin:/bin:/usr/sbin:/sbin",
                        "CMAKE_NOTES": os.path.join(self.folder, "notes"), "BUILT_PROGRAM": program or os.path.join(self.folder, "program")}
        if display:
            environment["DISPLAY"] = display
        outcome = subprocess.run([os.path.join(self.root, "run")], capture_output=True, text=True, timeout=240, check=False, cwd="/",
                                 env=environment | variables)
        self.assertEqual(outcome.stdout.splitlines()[:1], [BUILDING], outcome.stderr)
        return outcome

    def read(self, *names):
        with open(os.path.join(self.folder, *names), encoding="utf-8") as handle:
            return handle.read()

    def state_of(self, line):
        """The folder that the line without a display names."""
        self.assertTrue(line.startswith(NO_DISPLAY) and line.endswith("/screenshots"), line)
        self.state = os.path.dirname(line.removeprefix(NO_DISPLAY))
        return self.state

    def seen(self, outcome):
        return json.loads(outcome.stdout.splitlines()[-1])

    def test_it_writes_a_line_for_the_build_one_for_the_missing_display_and_one_for_each_picture(self):
        outcome = self.run_all(program=TOUR)
        self.assertEqual(outcome.returncode, 0, outcome.stderr)
        lines = outcome.stdout.splitlines()
        screenshots = os.path.join(self.state_of(lines[1]), "screenshots")
        pictures = lines[2:]
        self.assertEqual(len(pictures), PICTURES)
        for line in pictures:
            self.assertRegex(line, f"^screenshot: {re.escape(screenshots)}/[a-z-]+\\.png$")
            self.assertGreater(os.path.getsize(line.removeprefix("screenshot: ")), 0)
        self.assertEqual(support.without_ours(outcome.stderr), "")
        self.assertEqual(self.read("notes").splitlines(), ["--preset release -DLARKHAVEN_TESTS=OFF", "--build --preset release -j2"])
        log = self.read(self.root, "build", "run.log")
        self.assertIn("[59/60] a line of the build", log)
        self.assertIn("a warning of the build", log)

    def test_a_build_that_fails_is_told_by_its_last_lines_and_nothing_is_started(self):
        outcome = self.run_all(BUILD_FAILS="2")
        self.assertEqual(outcome.returncode, 1)
        self.assertEqual(outcome.stdout.splitlines(), [BUILDING])
        log = self.read(self.root, "build", "run.log").splitlines()
        self.assertEqual(outcome.stderr.splitlines(), log[-40:])
        self.assertEqual(len(log), 61)

    def test_without_a_display_the_tour_runs_on_one_of_its_own_and_its_end_is_that_of_all(self):
        outcome = self.run_all()
        state = self.state_of(outcome.stdout.splitlines()[1])
        self.assertEqual(outcome.returncode, 7, outcome.stderr)
        self.assertEqual(len(outcome.stdout.splitlines()), 3)
        seen = self.seen(outcome)
        self.assertEqual((seen["name"], seen["arguments"]), ("larkhaven-tour", [os.path.join(state, "screenshots")]))
        self.assertRegex(seen["display"], "^:[0-9]+$")

    def test_with_a_display_the_program_runs_there_without_arguments_and_without_another_word(self):
        for display in ({"DISPLAY": ":4711"}, {"WAYLAND_DISPLAY": "wayland-4711"}):
            with self.subTest(display=display):
                outcome = self.run_all(**display)
                self.assertEqual(outcome.returncode, 7, outcome.stderr)
                self.assertEqual(len(outcome.stdout.splitlines()), 2)
                seen = self.seen(outcome)
                self.state = os.path.dirname(os.path.dirname(seen["home"]))
                self.assertEqual((seen["name"], seen["arguments"]), ("larkhaven", []))
                self.assertEqual(seen["display"], display.get("DISPLAY", ""))
                self.end()

    def test_the_program_runs_as_an_ordinary_user_who_can_change_nothing_of_what_root_runs(self):
        outcome = self.run_all()
        state = self.state_of(outcome.stdout.splitlines()[1])
        seen = self.seen(outcome)
        self.assertNotEqual(seen["user"], 0)
        if os.getuid() != 0:
            self.assertEqual(state, os.path.join(self.root, "build", "demo"))
            return
        self.assertRegex(state, r"^/tmp/larkhaven-demo\.[A-Za-z0-9]+$")
        self.assertEqual(os.stat(os.path.join(state, "screenshots")).st_uid, seen["user"])
        self.assertEqual(seen["changeable"], [])
        for name in (state, os.path.join(state, "program"), os.path.join(state, "program", "demo", "play")):
            self.assertEqual((os.stat(name).st_uid, os.stat(name).st_mode & (stat.S_IWGRP | stat.S_IWOTH)), (0, 0), name)


if __name__ == "__main__":
    support.main()
