"""Looks for what no compiler of ours complains about: layout, and a trap of GCC 12.

usage: lint.py FOLDER
"""

import pathlib
import re
import subprocess
import sys

FOLDERS = ["core", "app", "tests", "bench", "fuzz", "demo"]
# A lambda that captures, within the expression that is awaited.
AWAITED_CLOSURE = re.compile(r"co_await\s[^;{]*[(,=]\s*\[[^\]\s][^\]]*\]\s*[({]")


def sources(root):
    found = []
    for folder in FOLDERS:
        found += sorted(path for path in (root / folder).rglob("*") if path.suffix in (".h", ".cpp"))
    return found


def main():
    root = pathlib.Path(sys.argv[1])
    files = sources(root)
    if not files:
        sys.exit("no sources were found")
    faults = 0
    for path in files:
        text = re.sub(r"//[^\n]*", "", path.read_text(encoding="utf-8"))
        for match in AWAITED_CLOSURE.finditer(text):
            line = text.count("\n", 0, match.start()) + 1
            print(f"{path}:{line}: GCC 12 destroys this closure twice; give it a name before co_await")
            faults += 1
    layout = subprocess.run(["clang-format", "--dry-run", "-Werror", *map(str, files)], check=False, timeout=300)
    if faults or layout.returncode != 0:
        sys.exit(1)
    print(f"{len(files)} files are clean")


if __name__ == "__main__":
    main()
