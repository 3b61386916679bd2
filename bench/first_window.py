#!/usr/bin/env python3
"""Starts mail programs in turn and prints what their first window and their rest cost, as a table in Markdown.

usage: first_window.py [--runs N] LARKHAVEN EMPTY-WINDOW

Called by bench/first-window, on a display of its own in the session of the sample mailbox. A peer that asks questions in place of a window
is told of, and has no figures.
"""

import argparse
import os
import pathlib
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time

from display import Display

REST_SECONDS = 10
PATIENCE_SECONDS = 60
POLL_SECONDS = 0.004
TICK = 1 / os.sysconf("SC_CLK_TCK")


# --- Processes


def tree(pid):
    """The process and all that it has started."""
    found = [pid]
    for thread in pathlib.Path(f"/proc/{pid}/task").glob("*"):
        try:
            children = (thread / "children").read_text(encoding="ascii").split()
        except OSError:
            continue
        for child in children:
            found += tree(int(child))
    return found


def processor_time(pid):
    """Of the process, those it has started, and those of them that have ended."""
    ticks = 0
    for each in tree(pid):
        try:
            fields = pathlib.Path(f"/proc/{each}/stat").read_text(encoding="utf-8").rsplit(")", 1)[1].split()
        except OSError:
            continue
        ticks += sum(int(field) for field in fields[11:15])
    return ticks * TICK


def memory(pid):
    """The proportional set size of the process and those it has started, in MiB, and how many they are."""
    kilobytes, count = 0, 0
    for each in tree(pid):
        for line in pathlib.Path(f"/proc/{each}/smaps_rollup").read_text(encoding="ascii").splitlines():
            if line.startswith("Pss:"):
                kilobytes += int(line.split()[1])
                count += 1
    return kilobytes / 1024, count


def shares_the_engine(pid):
    """Whether a program besides this one runs a web engine of Qt: what both have mapped counts half, and the figure is too small."""
    own = set(tree(pid))
    for name in pathlib.Path("/proc").glob("[0-9]*/comm"):
        try:
            if name.read_text(encoding="utf-8").startswith("QtWebEngine") and int(name.parent.name) not in own:
                return True
        except OSError:
            continue
    return False


def end(process):
    """The program and all that it has started, which may outlive it."""
    started = tree(process.pid)
    process.terminate()
    try:
        process.wait(timeout=10)
    except subprocess.TimeoutExpired:
        pass
    for pid in started:
        try:
            os.kill(pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
    process.wait()


# --- Programs


class Program:
    """A program, its home, and what its window must not be called, where that would be a question."""

    def __init__(self, name, command, home=None, question=None):
        self.name = name
        self.command = command
        self.home = home
        self.question = question
        self.runs = []
        self.rest = None
        self.open = None
        self.is_shared = False
        self.trouble = None

    def environment(self):
        variables = dict(os.environ)
        if self.home:
            for name in ("XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"):
                variables.pop(name, None)
            variables["HOME"] = self.home
        return variables

    def start(self, display):
        """Returns the process, and the seconds of the clock and of processors until its first window was drawn."""
        before = {window for window, _, _ in display.windows()}
        began = time.monotonic()
        process = subprocess.Popen(self.command, env=self.environment(), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        try:
            while time.monotonic() - began < PATIENCE_SECONDS:
                for window, width, height in display.windows():
                    if window not in before and display.is_drawn(window, width, height):
                        return process, time.monotonic() - began, processor_time(process.pid)
                if process.poll() is not None:
                    break
                time.sleep(POLL_SECONDS)
        except BaseException:
            end(process)
            raise
        end(process)
        raise RuntimeError("showed no window")

    def measure(self, display, is_last):
        if self.trouble:
            return
        try:
            process, *times = self.start(display)
        except RuntimeError as error:
            self.trouble = str(error)
            return
        try:
            time.sleep(REST_SECONDS if is_last else 2)
            names = [display.name(window) for window, _, _ in display.windows()]
            if self.question and any(self.question in name for name in names):
                self.trouble = f"asks a question at its start ({', '.join(names)})"
                return
            self.runs.append(times)
            if is_last:
                self.is_shared = shares_the_engine(process.pid)
                self.rest = memory(process.pid)
                self.open = self.open_message(process)
        finally:
            end(process)

    def open_message(self, _process):
        """Memory with a message open; none where that isn't done."""
        return None

    def median(self, kind):
        return statistics.median(run[kind] for run in self.runs)


class Ours(Program):
    """The program itself, which opens the first message of its list by a click."""

    def open_message(self, process):
        before = len(tree(process.pid))
        subprocess.run(["xdotool", "mousemove", "700", "200", "click", "1"], check=True)
        time.sleep(REST_SECONDS)
        # What draws a message has processes of its own.
        return memory(process.pid) if len(tree(process.pid)) > before else None


def claws_mail(home):
    folder = home / ".claws-mail"
    folder.mkdir(parents=True)
    (home / "Mail" / "inbox").mkdir(parents=True)
    (folder / "accountrc").write_text("[Account: 1]\naccount_name=mara\nis_default=1\nname=Mara\naddress=mara@larkhaven.example\n"
                                      "protocol=6\nsmtp_server=localhost\n", encoding="utf-8")
    (folder / "folderlist.xml").write_text(
        '<?xml version="1.0" encoding="UTF-8"?>\n<folderlist>\n<folder type="mh" name="Mail" path="Mail">\n'
        '<folderitem type="inbox" name="inbox" path="inbox"/>\n</folder>\n</folderlist>\n', encoding="utf-8")
    return ["claws-mail"]


def geary(home):
    folder = home / ".config" / "geary" / "account_01"
    folder.mkdir(parents=True)
    (folder / "geary.ini").write_text(
        "[Metadata]\nversion=1\nstatus=enabled\n\n[Account]\nordinal=1\nlabel=\nprefetch_days=14\nsave_drafts=true\nsave_sent=true\n"
        "use_signature=false\nsignature=\nsender_mailboxes=Mara <mara@larkhaven.example>;\nservice_provider=other\n\n"
        "[Folders]\narchive_folder=\ndrafts_folder=\njunk_folder=\nsent_folder=\ntrash_folder=\n\n"
        "[Incoming]\nlogin=mara\nremember_password=true\nhost=localhost\nport=993\ntransport_security=transport\ncredentials=custom\n\n"
        "[Outgoing]\nremember_password=true\nhost=localhost\nport=465\ntransport_security=transport\ncredentials=custom\nlogin=mara\n",
        encoding="utf-8")
    for protocol in ("IMAP", "SMTP"):
        subprocess.run(["secret-tool", "store", "--label=Geary", "xdg:schema", "org.gnome.Geary", "proto", protocol, "host", "localhost",
                        "login", "mara"], input="secret", text=True, check=True)
    return ["geary"]


def thunderbird(home):
    profile = home / ".thunderbird" / "measured"
    profile.mkdir(parents=True)
    settings = {
        "mail.accountmanager.accounts": '"account1"', "mail.accountmanager.localfoldersserver": '"server1"',
        "mail.account.account1.server": '"server1"', "mail.server.server1.type": '"none"',
        "mail.server.server1.name": '"Local Folders"', "mail.server.server1.hostname": '"Local Folders"',
        "mail.server.server1.userName": '"nobody"', "mail.provider.suppress_dialog_on_startup": "true",
        "mail.rights.version": "1", "mail.shell.checkDefaultClient": "false", "mailnews.start_page.enabled": "false",
        "mail.spotlight.firstRunDone": "true", "datareporting.policy.dataSubmissionPolicyBypassNotification": "true",
        "mail.accounthub.enabled": "false", "mail.accounthub.addressbook.enabled": "false",
    }
    (profile / "user.js").write_text("".join(f'user_pref("{name}", {value});\n' for name, value in settings.items()), encoding="utf-8")
    return ["thunderbird", "--profile", str(profile), "--no-remote"]


PEERS = [("Claws Mail", "claws-mail", claws_mail, "Wizard", 0.8), ("Geary", "geary", geary, "Accounts", 0.35),
         ("Thunderbird", "thunderbird", thunderbird, "Account", 0.2)]


# --- The table


def trust_the_server():
    """Puts the authority that the session names into the system's folder, where OpenSSL looks for it by its hash."""
    authority = os.environ.pop("SSL_CERT_FILE")
    os.environ.pop("SSL_CERT_DIR", None)
    digest = subprocess.run(["openssl", "x509", "-hash", "-noout", "-in", authority], check=True, stdout=subprocess.PIPE, text=True).stdout
    shutil.copy(authority, f"/etc/ssl/certs/{digest.strip()}.0")


def met(holds):
    return "" if holds else " (not met)"


def row(program):
    if program.trouble:
        return f"| {program.name} | {program.trouble} | | | |"
    rest, processes = program.rest
    is_open = f"{program.open[0]:.0f} MiB in {program.open[1]}" if program.open else ""
    return f"| {program.name} | {program.median(0) * 1e3:.0f} ms | {program.median(1) * 1e3:.0f} ms | {rest:.0f} MiB in {processes} | {is_open} |"


def against_geary(ours, geary):
    """Geary opens a message only over a connection that it trusts by its own rules, so that none is open in it here."""
    name = "memory with a message open, Geary with none"
    if not ours.open:
        return f"| {name} | our message didn't open | ≤ 1× (not met) |"
    ratio = ours.open[0] / geary.rest[0]
    return f"| {name} | {ratio:.2f}× | ≤ 1×{met(ratio <= 1)} |"


def goals(ours, empty, peers):
    lines = []
    for peer, goal in peers:
        if peer.trouble:
            continue
        ratio = ours.median(0) / peer.median(0)
        lines.append(f"| first window, {peer.name} | {ratio:.2f}× | ≤ {goal}×{met(ratio <= goal)} |")
        if peer.name == "Geary":
            lines.append(against_geary(ours, peer))
    ratio = ours.median(1) / empty.median(1)
    lines.append(f"| processor time to the first window, empty window | {ratio:.2f}× | ≤ 2.5×{met(ratio <= 2.5)} |")
    shared = ", with another program on its libraries" if ours.is_shared else ""
    lines.append(f"| memory at rest, no message opened | {ours.rest[0]:.0f} MiB{shared} | ≤ 75 MiB{met(ours.rest[0] <= 75)} |")
    return lines


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--runs", type=int, default=7)
    parser.add_argument("larkhaven")
    parser.add_argument("empty")
    arguments = parser.parse_args()
    trust_the_server()
    display = Display()
    homes = pathlib.Path(tempfile.mkdtemp())
    try:
        ours = Ours("Larkhaven", [arguments.larkhaven])
        empty = Program("an empty window", [arguments.empty])
        peers = []
        for name, folder, prepare, question, goal in PEERS:
            home = homes / folder
            home.mkdir()
            peers.append((Program(name, prepare(home), str(home), question), goal))
        programs = [ours, empty] + [peer for peer, _ in peers]
        # The first run of each warms the disk, and makes what a fresh profile lacks.
        for run in range(arguments.runs + 1):
            for program in programs:
                program.measure(display, run == arguments.runs)
                if run == 0:
                    program.runs.clear()
        print("| Program | First window | Processor time until then | Memory at rest, in processes | With a message open |")
        print("|---|---|---|---|---|")
        for program in programs:
            print(row(program))
        print("\n| Ours, compared with | Figure | Goal |\n|---|---|---|")
        print("\n".join(goals(ours, empty, peers)))
    finally:
        shutil.rmtree(homes, ignore_errors=True)


main()
