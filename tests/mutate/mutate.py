#!/usr/bin/env python3
"""Breaks the program on purpose, one fault at a time, and sees which tests notice.

All faults of the lists beside this file are compiled into one copy of the tree; the environment variable LARKHAVEN_FAULT
chooses the one that is on. For each fault the test programs that its list names run until the first failure: the quick
tests of all of them, in that order, and then the slow ones. A fault that none of them notices is a gap in the tests.

usage: mutate.py [--folder FOLDER] [--only WORD] [--jobs N] [--list] [--check]

FOLDER holds the copy and its build, which are kept for the next run (default: build/mutate). --only takes the faults
whose "FILE: NAME" holds the word. --check only looks whether each fault finds its place. The exit code is 1 where fewer
than 95 of 100 are noticed, or where a fault has no place.

A list is a file "*.faults" of entries such as

    file core/domain/Text.cpp
    tests DomainTests FormatTests:AddressParser*

    fault a blank is no space any more
    - character == u' '
    + false

    fault the line end stays (statement)
    - text.chop(1);
    + ;

"-" is a piece of the file that stands in it exactly once, "+" what takes its place: an expression, or with
"(statement)" behind the name one or more statements. Further "-" and "+" lines go on with the piece. A line "@ TEXT"
before it says where the search begins: at the one place of the text; the first piece after it is meant. What stands
behind an expression may be in both: "- isOpen) return" and "+ false) return". Layout doesn't count.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import zlib

ROOT = pathlib.Path(__file__).resolve().parents[2]
SHARE = 0.95
# A program without a fault may take as long as this; with one, so much and so many times as long as without it.
TEST_SECONDS = 600
FEWEST_SECONDS = 10
TIMES_AS_LONG = 3
# A test that takes longer is tried when the others have noticed nothing.
SLOW_SECONDS = 0.15
SELECTOR = """#pragma once
#include <cstdlib>
namespace LarkhavenFault {
inline const char* const text = std::getenv("LARKHAVEN_FAULT");
inline const int chosen = text ? std::atoi(text) : 0;
// What is evaluated by the compiler stays whole.
constexpr bool isOn(int number) { return !__builtin_is_constant_evaluated() && number == chosen; }
}
"""


def without_literals(text):
    """The text with as many blanks in the place of what stands in quotes."""
    return re.sub(r"'(?:[^'\\]|\\.)+'|\"(?:[^\"\\]|\\.)*\"", lambda literal: "_" * len(literal.group()), text)


def pieces_between_commas(text):
    """The parts of a text that commas separate outside brackets."""
    parts, depth, start = [], 0, 0
    for index, character in enumerate(without_literals(text)):
        depth += (character in "([{") - (character in ")]}")
        if character == "," and depth == 0:
            parts.append(text[start:index])
            start = index + 1
    return [*parts, text[start:]]


def condition_length(text):
    """How much of the text stands before a bracket that closes what the text hasn't opened; all where there is none."""
    depth = 0
    for index, character in enumerate(without_literals(text)):
        depth += (character == "(") - (character == ")")
        if depth < 0:
            return index
    return len(text)


class ListError(Exception):
    """What is wrong with an entry of a list."""


class Fault:
    def __init__(self, list_name, name, file, tests):
        self.list, self.name, self.file, self.tests = list_name, name, file, tests
        self.anchor, self.old, self.new = [], [], []
        self.is_statement = name.endswith("(statement)")
        self.number = 0

    def refuse(self, why):
        raise ListError(f"{self.file}: “{self.name}”: {why}")

    def place(self, text):
        """Where the piece stands in the text: (start, end)."""
        def spans(lines, start=0):
            # Layout doesn't count, and no word is found within another.
            pattern = r"\s+".join(re.escape(word) for word in " ".join(lines).split())
            pattern = re.sub(r"^(?=\w)", r"(?<!\\w)", re.sub(r"(?<=\w)$", r"(?!\\w)", pattern))
            return [match.span() for match in re.compile(pattern).finditer(text, start)]

        def one_of(lines):
            found = spans(lines)
            if len(found) != 1:
                self.refuse(f"{' '.join(lines)} stands there {len(found)} times")
            return found[0]

        if not self.old or not self.new:
            self.refuse("has no piece, or nothing that takes its place")
        start, end = one_of(self.old) if not self.anchor else self.behind(spans(self.old, one_of(self.anchor)[0]))
        return self.narrowed(text, start, end)

    def behind(self, found):
        return found[0] if found else self.refuse(f"{' '.join(self.old)} doesn't stand behind its anchor")

    def narrowed(self, text, start, end):
        """Leaves out what the piece and its substitute share around the expression, which only helps to find it."""
        new = " ".join(self.new)
        if not self.is_statement:
            old = text[start:end]
            length, new_length = condition_length(old), condition_length(new)
            if old[length:].split() == new[new_length:].split():
                end, new = start + length, new[:new_length]
            while True:
                old, new = text[start:end], new.strip()
                tail = next((tail for tail in (";", "?", "||", "&&", ",", ")") if old.endswith(tail) and new.endswith(tail)), None)
                is_open = tail == ")" and old.count("(") == old.count(")")
                if not tail or is_open:
                    break
                end = start + len(old[: -len(tail)].rstrip())
                new = new[: -len(tail)]
            for head in ("return ", "||", "&&"):
                if text.startswith(head, start) and new.startswith(head):
                    start += len(head)
                    new = new[len(head) :]
            olds, news = pieces_between_commas(text[start:end]), pieces_between_commas(new)
            while len(olds) > 1 and len(news) > 1 and olds[0].split() == news[0].split():
                start += len(olds.pop(0)) + 1
                news.pop(0)
            while len(olds) > 1 and len(news) > 1 and olds[-1].split() == news[-1].split():
                end -= len(olds.pop()) + 1
                news.pop()
            new = ",".join(news).strip()
            start += len(text[start:end]) - len(text[start:end].lstrip())
            if len(olds) > 1 or len(news) > 1 or re.match(r"if \(|for \(|while \(|\|\||&&", text[start:end]):
                self.refuse("is no expression of its own")
        old = text[start:end]
        begin = max(text.rfind(mark, 0, start) for mark in ";{}")
        if not self.is_statement and "co_await" in text[begin:end]:
            self.refuse("GCC 12 destroys what it chooses in the midst of waiting twice; write a statement")
        if any(bare.count(left) != bare.count(right) for bare in map(without_literals, (old, new))
               for left, right in ("()", "[]", "{}")):
            self.refuse(f"brackets don't match: {old} / {new}")
        self.substitute = new
        return start, end

    def compiled(self, old):
        if self.is_statement:
            return f"if (LarkhavenFault::isOn({self.number})) {{ {self.substitute} }} else {{ {old} }}"
        # A condition may be something else that counts as one.
        converted = f"bool({old})" if self.substitute in ("true", "false") else f"({old})"
        return f"(LarkhavenFault::isOn({self.number}) ? ({self.substitute}) : {converted})"


def read_lists():
    faults, file, tests = [], None, []
    for path in sorted(pathlib.Path(__file__).parent.glob("*.faults")):
        for line in path.read_text(encoding="utf-8").splitlines():
            word, _, rest = line.partition(" ")
            if word == "file":
                file = rest.strip()
            elif word == "tests":
                tests = rest.split()
            elif word == "fault":
                faults.append(Fault(path.stem, rest.strip(), file, tests))
            elif word == "@":
                faults[-1].anchor.append(rest)
            elif word == "-":
                faults[-1].old.append(rest)
            elif word == "+":
                faults[-1].new.append(rest)
            elif line.strip() and not line.startswith("#"):
                raise SystemExit(f"{path.name}: what is this? {line}")
    # A number of its own that stays the same while the lists grow, so that little is built again.
    names = {}
    for fault in faults:
        fault.number = zlib.crc32(f"{fault.file}: {fault.name}".encode()) & 0x7FFFFFFF
        if names.setdefault(fault.number, fault) is not fault:
            raise SystemExit(f"twice: {fault.file}: “{fault.name}”, “{names[fault.number].name}”")
    return faults


def with_faults(text, faults):
    """The text with all faults in it; one may stand within another, or at the same place."""
    placed = sorted(((*fault.place(text), fault) for fault in faults), key=lambda entry: (entry[0], -entry[1]))

    def rendered(start, end, inside):
        result = ""
        while inside:
            first, last, outer = inside[0]
            same = [fault for begin, stop, fault in inside if (begin, stop) == (first, last)]
            within = [entry for entry in inside if entry[0] < last and entry[:2] != (first, last)]
            inside = [entry for entry in inside if entry[0] >= last]
            for _, stop, fault in within:
                if stop > last:
                    fault.refuse(f"is in the way of “{outer.name}”")
            piece = rendered(first, last, within)
            for fault in same:
                piece = fault.compiled(piece)
            result += text[start:first] + piece
            start = last
        return result + text[start:end]

    return rendered(0, len(text), placed)


def check_lists(faults):
    """Says which pieces of the lists aren't found in the tree. Gives whether all are."""
    errors = []
    for file in sorted({fault.file for fault in faults}):
        own = [fault for fault in faults if fault.file == file]
        if not (ROOT / file).is_file():
            errors.append(f"{file} is gone")
            continue
        text = (ROOT / file).read_text(encoding="utf-8")
        before = len(errors)
        for fault in own:
            try:
                fault.place(text)
            except ListError as error:
                errors.append(str(error))
        try:
            if len(errors) == before:
                with_faults(text, own)
        except ListError as error:
            errors.append(str(error))
    for error in errors:
        print(error)
    return not errors


def copy_tree(folder, faults):
    tree = folder / "tree"
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, capture_output=True, text=True, check=True)
    wanted = {}
    for name in listed.stdout.split("\n"):
        path = ROOT / name
        if name and path.is_file():
            wanted[name] = path.read_bytes()
    for file in {fault.file for fault in faults}:
        wanted[file] = with_faults(wanted[file].decode(), [fault for fault in faults if fault.file == file]).encode()
    wanted["fault.h"] = SELECTOR.encode()
    for name, content in wanted.items():
        path = tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        # What is the same keeps its time, so that it is not built again.
        if not path.exists() or path.read_bytes() != content:
            path.write_bytes(content)
            shutil.copymode(ROOT / name, path) if (ROOT / name).exists() else None
    return tree


class Program:
    """A test program of the copy, as a list names it: "Name", "Name:filter" for some of its tests, "Name@bus" for one
    that needs a session bus of its own, or "Name@HOST,HOST..." for one that needs a network of its own with these hosts."""

    def __init__(self, text):
        self.name, _, self.filter = text.partition(":")
        self.name, _, self.surroundings = self.name.partition("@")
        self.text = text

    def find(self, build_folder):
        self.path = next(path for path in build_folder.rglob(self.name) if path.is_file() and os.access(path, os.X_OK))
        self.build_folder = build_folder

    def command(self, tests, options):
        command = [str(self.path), "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={tests}", *options]
        if not self.surroundings:
            return command
        if self.surroundings != "bus":
            return [str(ROOT / "tests" / "in-network-namespace"), "--hosts", self.surroundings, *command]
        session = self.build_folder / "tests" / "platform" / "session.conf"
        shell = f"DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS exec {shlex.join(command)}"
        return ["dbus-run-session", f"--config-file={session}", "--", "sh", "-c", shell]

    def fails(self, number, tests, seconds, *options):
        """Whether the tests fail, end early or hang with the fault."""
        environment = dict(os.environ, LARKHAVEN_FAULT=str(number), LC_ALL="C.UTF-8", QT_QPA_PLATFORM="offscreen")
        # A process group of its own, so that none of its children is left behind.
        process = subprocess.Popen(self.command(tests, options), env=environment, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, start_new_session=True)
        try:
            return process.wait(timeout=seconds) != 0
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            return True

    def measure(self):
        """Tells the quick tests from the slow ones, without a fault; all must pass then."""
        everything = self.filter or "*"
        with tempfile.TemporaryDirectory() as folder:
            report = pathlib.Path(folder) / "report.json"
            if self.fails(0, everything, TEST_SECONDS, f"--gtest_output=json:{report}"):
                raise SystemExit(f"{self.text} fails without any fault")
            suites = json.loads(report.read_text())["testsuites"]
        times = {f"{test['classname']}.{test['name']}": float(test["time"].rstrip("s"))
                 for suite in suites for test in suite["testsuite"]}
        slow = {name: time for name, time in times.items() if time > SLOW_SECONDS}
        quick_seconds = sum(times.values()) - sum(slow.values())
        without = ":" if "-" in everything else "-"
        self.steps = [(everything + (without + ":".join(slow) if slow else ""), quick_seconds)]
        if slow:
            self.steps.append((":".join(slow), sum(slow.values())))
        print(f"{self.text}: {len(times) - len(slow)} quick tests in {quick_seconds:.1f} s, "
              f"{len(slow)} slow ones in {sum(slow.values()):.1f} s", flush=True)

    def notices(self, number, step):
        if step >= len(self.steps):
            return False
        tests, seconds = self.steps[step]
        return self.fails(number, tests, FEWEST_SECONDS + TIMES_AS_LONG * seconds)


def build(folder, tree, programs):
    build_folder = folder / "build"
    flags = f"-include {tree}/fault.h -w"
    subprocess.run(
        ["cmake", "-S", tree, "-B", build_folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0", f"-DCMAKE_CXX_FLAGS={flags}"],
        check=True, stdout=subprocess.DEVNULL)
    names = sorted({program.name for program in programs})
    subprocess.run(["ninja", "-k", "0", "-C", build_folder, *names], check=True)
    for program in programs:
        program.find(build_folder)


def try_all(wanted, programs, jobs):
    """The faults that nobody noticed."""
    missed, done = [], 0

    def check(fault):
        return any(programs[text].notices(fault.number, step) for step in (0, 1) for text in fault.tests)

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for fault, is_noticed in zip(wanted, pool.map(check, wanted)):
            done += 1
            if not is_noticed:
                missed.append(fault)
                print(f"not noticed: {fault.file}: {fault.name}", flush=True)
            if done % 20 == 0:
                print(f"{done} of {len(wanted)}, {len(missed)} not noticed", flush=True)
    return missed


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--folder", default=ROOT / "build" / "mutate", type=pathlib.Path)
    parser.add_argument("--only", default="")
    parser.add_argument("--jobs", default=os.cpu_count(), type=int)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--check", action="store_true")
    options = parser.parse_args()
    faults = read_lists()
    wanted = [fault for fault in faults if options.only in f"{fault.file}: {fault.name}"]
    if options.list:
        for fault in wanted:
            print(f"{fault.file}: {fault.name}")
        print(f"{len(wanted)} faults")
        return
    if not check_lists(faults):
        sys.exit(1)
    if options.check:
        return
    if not wanted:
        raise SystemExit("no fault was chosen")
    begun = time.monotonic()
    folder = options.folder.resolve()
    tree = copy_tree(folder, faults)
    programs = {text: Program(text) for fault in wanted for text in fault.tests}
    build(folder, tree, programs.values())
    for program in programs.values():
        program.measure()
    missed = try_all(wanted, programs, options.jobs)
    for module in sorted({fault.list for fault in wanted}):
        own = [fault for fault in wanted if fault.list == module]
        gaps = sum(fault.list == module for fault in missed)
        print(f"{module}: {len(own) - gaps} of {len(own)} are noticed")
    share = 1 - len(missed) / len(wanted)
    minutes = (time.monotonic() - begun) / 60
    print(f"{len(wanted) - len(missed)} of {len(wanted)} faults are noticed ({share:.1%}), in {minutes:.0f} minutes")
    sys.exit(share < SHARE)


if __name__ == "__main__":
    main()
