#!/usr/bin/env python3
"""Runs the programs that compare us with peers and those that read hostile texts, and prints their lines as tables in Markdown.

usage: tables.py FOLDER [PART-OF-A-NAME]
       tables.py --insert NAME    Puts standard input into the document, in place of what bench/NAME measured last.

FOLDER holds the built programs: "peers" with a folder for each group, and "hostile". Without a part of a name the tables go into
docs/benchmarks.md as well, each between its own two marks. Exits with 1 where a program failed, a case and its peer didn't do the same
work, or a hostile text misses a bound.
"""

import os
import platform
import subprocess
import sys

GROUPS = [("format", "Format"), ("safety", "Safety"), ("protocols", "Protocols"), ("store", "Cache and snapshots")]
DOCUMENT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "docs", "benchmarks.md")
END = "<!-- until here -->\n"


def programs(folder):
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name)
        if os.path.isfile(path) and os.access(path, os.X_OK):
            yield path


def figure(microseconds):
    value = float(microseconds)
    if value >= 1000:
        return f"{value / 1000:,.2f} ms"
    return f"{value:.2f} µs"


def row(line):
    name, ours, peer, theirs, ratio, goal = line.split("\t")
    met = "" if float(ratio) >= float(goal) else " (not met)"
    return f"| {name} | {figure(ours)} | {peer} | {figure(theirs)} | {ratio}× | {float(goal):g}×{met} |"


def figure_row(line):
    """A figure with a goal of its own, without a peer."""
    name, measured, goal, is_met = line.split("\t")
    return f"| {name} | {measured} | ≤ {goal}{'' if is_met == '1' else ' (not met)'} |"


def figures(program):
    """What a program that has no peers prints, as lines, and whether it ran."""
    done = subprocess.run([program], stdout=subprocess.PIPE, text=True, check=False)
    lines = ["| What | Figure | Goal |", "|---|---|---|"] + [figure_row(line) for line in done.stdout.splitlines()]
    return lines, done.returncode == 0


def insert(name, text):
    """Puts the text into the document, between the marks of what bench/NAME measured."""
    begin = f"<!-- what bench/{name} measured -->\n"
    with open(DOCUMENT, encoding="utf-8") as document:
        before, mark, rest = document.read().partition(begin)
    if not mark:
        sys.exit(f"tables.py: the document has no place for bench/{name}")
    after = rest.partition(END)[2]
    with open(DOCUMENT, "w", encoding="utf-8") as document:
        document.write(before + begin + text.rstrip("\n") + "\n\n" + END + after)


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        for line in lines:
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    return platform.machine()


def machine():
    return f"{processor()}, {os.cpu_count()} cores, Linux {platform.release()}.\n\n"


def measured(folder, wanted):
    """The tables as lines, and whether everything ran and was equal."""
    good = True
    lines = []
    for group, title in GROUPS:
        place = os.path.join(folder, group)
        rows = []
        for program in programs(place) if os.path.isdir(place) else []:
            done = subprocess.run([program] + ([wanted] if wanted else []), stdout=subprocess.PIPE, text=True, check=False)
            rows += [row(line) for line in done.stdout.splitlines()]
            if done.returncode != 0:
                good = False
                print(f"{os.path.basename(program)}: exit code {done.returncode}", file=sys.stderr)
        if rows:
            lines += [f"### {title}", "", "| Case | Ours | Peer | Peer's | Ratio | Goal |", "|---|---|---|---|---|---|"]
            lines += rows + [""]
    return lines, good


def growth(line):
    return float(line.split("|")[6].strip().rstrip("×") or 0)


def hostile(folder, wanted):
    """The table of hostile texts as lines, all of its rows, and whether none misses a bound.

    The document gets those that miss a bound and of each parser the family that grows most: all of them are two thousand.
    """
    good = True
    rows = []
    for program in programs(folder):
        done = subprocess.run([program] + ([wanted] if wanted else []), stdout=subprocess.PIPE, text=True, check=False)
        rows += done.stdout.splitlines()
        good = good and done.returncode == 0
    missed = [line for line in rows if not line.endswith("|  |")]
    worst = {}
    for line in rows:
        parser = line.split("|")[1].strip()
        if line not in missed and (parser not in worst or growth(line) > growth(worst[parser])):
            worst[parser] = line
    head = ["| Parser | Family | 2n | T(n) | T(2n) | T(2n)/T(n) | Output/input | Misses |", "|---|---|---|---|---|---|---|---|"]
    lines = [f"{len(rows)} families, of which {len(missed)} miss a bound. They, and of each parser the family that grows most:", ""]
    return lines + head + missed + list(worst.values()) + [""], head + rows, good


def main():
    if sys.argv[1] == "--insert":
        insert(sys.argv[2], machine() + sys.stdin.read())
        return 0
    folder = sys.argv[1]
    wanted = sys.argv[2] if len(sys.argv) > 2 else ""
    lines, good = measured(os.path.join(folder, "peers"), wanted)
    texts = {"run": "\n".join(lines)}
    if not wanted:
        lines, ran = figures(os.path.join(folder, "peers", "paging", "Paging"))
        good = good and ran
        texts["run of the list"] = "\n".join(lines)
    lines, rows, is_linear = hostile(os.path.join(folder, "hostile"), wanted)
    good = good and is_linear
    texts["run of hostile texts"] = "\n".join(lines)
    for name, text in texts.items():
        print(machine() + text + "\n")
        if not wanted:
            insert(name, machine() + text + "\n")
    with open(os.path.join(folder, "hostile.md"), "w", encoding="utf-8") as table:
        table.write("\n".join(rows) + "\n")
    print(f"All hostile families: {os.path.join(folder, 'hostile.md')}")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
