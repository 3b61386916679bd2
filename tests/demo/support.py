"""What the tests of the demo share."""

import os
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
DEMO = os.path.join(ROOT, "demo")
TIMEOUT = 120

# The tests' own folder leaves the path: the demo is found as the package "demo" of the folder above.
sys.path[0] = ROOT


def run(script, *arguments, check=True, **options):
    """Runs a script of the demo to its end."""
    outcome = subprocess.run([os.path.join(DEMO, script), *arguments], capture_output=True, text=True, timeout=TIMEOUT, check=False, **options)
    if check and outcome.returncode != 0:
        raise AssertionError(f"{script} {' '.join(arguments)} ended with {outcome.returncode}:\n{outcome.stdout}{outcome.stderr}")
    return outcome


def temporary_folder(test):
    """A folder below /tmp that every user may pass through, removed after the test."""
    folder = tempfile.TemporaryDirectory(prefix="larkhaven-test-", dir="/tmp", ignore_cleanup_errors=True)
    test.addCleanup(folder.cleanup)
    os.chmod(folder.name, 0o755)
    return folder.name


def without_ours(text):
    """Where nobody can send, the scripts say so in lines of their own."""
    notes = ("no submission server", "the sample mail server sends no mail")
    return "".join(line for line in text.splitlines(keepends=True) if not any(note in line for note in notes))


def main():
    """Runs the tests of the calling file; a file without tests fails."""
    program = unittest.main(module="__main__", exit=False, verbosity=2)
    if program.result.testsRun == 0:
        sys.exit("no test ran")
    sys.exit(not program.result.wasSuccessful())
