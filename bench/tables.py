#!/usr/bin/env python3
"""Runs the programs that compare us with peers and those that read hostile texts, and prints their lines as tables in Markdown.

usage: tables.py FOLDER [PART-OF-A-NAME]

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
PEERS = "<!-- what bench/run measured -->\n"
HOSTILE = "<!-- what hostile texts cost -->\n"
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


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        for line in lines:
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    return platform.machine()


def measured(folder, wanted):
    """The tables as lines, and whether everything ran and was equal."""
    good = True
    lines = [f"{processor()}, {os.cpu_count()} cores, Linux {platform.release()}.", ""]
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


def hostile(folder, wanted):
    """The table of hostile texts as lines, those that miss a bound first, and whether none does."""
    good = True
    missed, rows = [], []
    for program in programs(folder):
        done = subprocess.run([program] + ([wanted] if wanted else []), stdout=subprocess.PIPE, text=True, check=False)
        for line in done.stdout.splitlines():
            (rows if line.endswith("|  |") else missed).append(line)
        good = good and done.returncode == 0
    lines = [f"{len(rows) + len(missed)} families, of which {len(missed)} miss a bound.", ""]
    if rows or missed:
        lines += ["| Parser | Family | 2n | T(n) | T(2n) | T(2n)/T(n) | Output/input | Misses |", "|---|---|---|---|---|---|---|---|"]
    return lines + missed + rows + [""], good


def put(begin, text):
    """Writes the text into the document, between this mark and the end of its section."""
    with open(DOCUMENT, encoding="utf-8") as document:
        before, _, rest = document.read().partition(begin)
    after = rest.partition(END)[2]
    with open(DOCUMENT, "w", encoding="utf-8") as document:
        document.write(before + begin + text + END + after)


def main():
    folder = sys.argv[1]
    wanted = sys.argv[2] if len(sys.argv) > 2 else ""
    good = True
    for begin, part, measure in [(PEERS, "peers", measured), (HOSTILE, "hostile", hostile)]:
        lines, is_good = measure(os.path.join(folder, part), wanted)
        good = good and is_good
        text = "\n".join(lines) + "\n"
        print(text)
        if not wanted:
            put(begin, text)
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
