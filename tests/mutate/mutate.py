#!/usr/bin/env python3
"""Breaks the program on purpose, one fault at a time, and sees which tests notice.

All faults of the lists beside this file are compiled into one copy of the tree; the environment variable LARKHAVEN_FAULT
chooses the one that is on. For each fault the test programs of its module run until the first failure. A fault that
none of them notices is a gap in the tests.

usage: mutate.py [--folder FOLDER] [--only WORD] [--jobs N] [--list]

FOLDER holds the copy and its build, which are kept for the next run (default: build/mutate). --only takes the faults
whose name or file holds the word. The exit code is 1 where fewer than 95 of 100 are noticed.

A list is a file "*.faults" of entries such as

    file core/domain/Text.cpp
    tests DomainTests FormatTests

    fault a blank is no space any more
    - character == u' '
    + false

    fault the line end stays (statement)
    - text.chop(1);
    + ;

"-" is a piece of the file that stands in it exactly once, "+" what takes its place: an expression, or with
"(statement)" behind the name one or more statements. Further "-" and "+" lines go on with the piece. A line "@ TEXT"
before it says where the search begins: at the one place of the text; the first piece after it is meant.
"""

import argparse
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
SHARE = 0.95
TEST_SECONDS = 120
SELECTOR = """#pragma once
#include <cstdlib>
namespace LarkhavenFault {
inline bool isOn(int number)
{
    static const int chosen = [] { const char* text = std::getenv("LARKHAVEN_FAULT"); return text ? std::atoi(text) : 0; }();
    return number == chosen;
}
}
"""


class Fault:
    def __init__(self, name, file, tests):
        self.name, self.file, self.tests = name, file, tests
        self.anchor, self.old, self.new = [], [], []
        self.is_statement = name.endswith("(statement)")
        self.number = 0

    def place(self, text):
        def spans(lines, start=0):
            # Layout doesn't count.
            pattern = r"\s+".join(re.escape(word) for word in " ".join(lines).split())
            return [match.span() for match in re.compile(pattern).finditer(text, start)]

        def one_of(lines):
            found = spans(lines)
            if len(found) != 1:
                raise SystemExit(f"{self.file}: “{self.name}”: {' '.join(lines)} stands there {len(found)} times")
            return found[0]

        if not self.anchor:
            return one_of(self.old)
        after = spans(self.old, one_of(self.anchor)[0])
        if not after:
            raise SystemExit(f"{self.file}: “{self.name}”: {' '.join(self.old)} doesn't stand behind its anchor")
        return after[0]

    def compiled(self, old):
        new = "\n".join(self.new)
        if self.is_statement:
            return f"if (LarkhavenFault::isOn({self.number})) {{ {new} }} else {{ {old} }}"
        return f"(LarkhavenFault::isOn({self.number}) ? ({new}) : ({old}))"


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
                faults.append(Fault(rest.strip(), file, tests))
            elif word == "@":
                faults[-1].anchor.append(rest)
            elif word == "-":
                faults[-1].old.append(rest)
            elif word == "+":
                faults[-1].new.append(rest)
            elif line.strip() and not line.startswith("#"):
                raise SystemExit(f"{path.name}: what is this? {line}")
    for number, fault in enumerate(faults, 1):
        fault.number = number
    names = [(fault.file, fault.name) for fault in faults]
    for twice in {name for name in names if names.count(name) > 1}:
        raise SystemExit(f"twice: {twice}")
    return faults


def copy_tree(folder, faults):
    tree = folder / "tree"
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, capture_output=True, text=True, check=True)
    wanted = {}
    for name in listed.stdout.split("\n"):
        path = ROOT / name
        if name and path.is_file():
            wanted[name] = path.read_bytes()
    for file in {fault.file for fault in faults}:
        text = wanted[file].decode()
        spans = sorted((*fault.place(text), fault) for fault in faults if fault.file == file)
        for (_, end, one), (start, _, other) in zip(spans, spans[1:]):
            if start < end:
                raise SystemExit(f"{file}: “{one.name}” and “{other.name}” are in each other's way")
        for start, end, fault in reversed(spans):
            text = text[:start] + fault.compiled(text[start:end]) + text[end:]
        wanted[file] = text.encode()
    wanted["fault.h"] = SELECTOR.encode()
    for name, content in wanted.items():
        path = tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        # What is the same keeps its time, so that it is not built again.
        if not path.exists() or path.read_bytes() != content:
            path.write_bytes(content)
            shutil.copymode(ROOT / name, path) if (ROOT / name).exists() else None
    return tree


def build(folder, tree, programs):
    build_folder = folder / "build"
    flags = f"-include {tree}/fault.h -Wno-error -w -O1"
    subprocess.run(
        ["cmake", "-S", tree, "-B", build_folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", f"-DCMAKE_CXX_FLAGS={flags}"],
        check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["ninja", "-C", build_folder, *programs], check=True)
    found = {}
    for program in programs:
        found[program] = next(path for path in build_folder.rglob(program) if path.is_file() and os.access(path, os.X_OK))
    return found


def notices(program, number):
    """Whether the test program fails, ends early or hangs with the fault."""
    environment = dict(os.environ, LARKHAVEN_FAULT=str(number), LC_ALL="C.UTF-8", QT_QPA_PLATFORM="offscreen")
    command = [program, "--gtest_brief=1", "--gtest_fail_fast"]
    try:
        done = subprocess.run(command, env=environment, capture_output=True, timeout=TEST_SECONDS, check=False)
        return done.returncode != 0
    except subprocess.TimeoutExpired:
        return True


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--folder", default=ROOT / "build" / "mutate", type=pathlib.Path)
    parser.add_argument("--only", default="")
    parser.add_argument("--jobs", default=os.cpu_count(), type=int)
    parser.add_argument("--list", action="store_true")
    options = parser.parse_args()
    faults = read_lists()
    wanted = [fault for fault in faults if options.only in fault.name or options.only in fault.file]
    if options.list:
        for fault in wanted:
            print(f"{fault.number:4} {fault.file}: {fault.name}")
        print(f"{len(wanted)} faults")
        return
    if not wanted:
        raise SystemExit("no fault was chosen")
    begun = time.monotonic()
    tree = copy_tree(options.folder.resolve(), faults)
    programs = build(options.folder.resolve(), tree, sorted({test for fault in wanted for test in fault.tests}))
    for name, path in programs.items():
        if notices(path, 0):
            raise SystemExit(f"{name} fails without any fault")

    def check(fault):
        return any(notices(programs[test], fault.number) for test in fault.tests)

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        results = dict(zip(wanted, pool.map(check, wanted)))
    missed = [fault for fault, is_noticed in results.items() if not is_noticed]
    for fault in missed:
        print(f"not noticed: {fault.file}: {fault.name}")
    share = 1 - len(missed) / len(wanted)
    minutes = (time.monotonic() - begun) / 60
    print(f"{len(wanted) - len(missed)} of {len(wanted)} faults are noticed ({share:.1%}), in {minutes:.0f} minutes")
    sys.exit(share < SHARE)


if __name__ == "__main__":
    main()
