"""Looks for what no compiler of ours complains about: layout, traps of GCC 12, Qt and QCoro, and untrusted text on its
way to the screen.

usage: lint.py FOLDER
"""

import pathlib
import re
import subprocess
import sys

FOLDERS = ["core", "app", "tests", "bench", "fuzz", "demo"]
FAULTS = {
    "GCC 12 destroys this list of values twice; give it a name before co_await": re.compile(
        r"co_await\s[^;{]*[(,]\s*\{[^}\s]"
    ),
    "GCC 12 destroys this closure twice; give it a name before co_await": re.compile(
        r"co_await\s[^;{]*[(,=]\s*\[[^\]\s][^\]]*\]\s*[({]"
    ),
    "GCC 12 destroys twice what is awaited within a conditional expression": re.compile(
        r"\?[^?;{}]*\bco_await\b"
    ),
    "GCC 12 destroys twice what is chosen for co_await; give it a name before": re.compile(
        r"co_await\s[^;{}]*\s\?\s[^;{}]*;"
    ),
    "GCC 12 may call this on what it hasn't read where undefined behaviour is looked for; use std::invoke": re.compile(
        r"\((?!this->\*)\w+(?:(?:\.|->)\w+)*(?:\.|->)\*\w+\)\s*\("
    ),
    "QCoro 0.8 moves this value out of its owner; return a copy": re.compile(
        r"\bco_return\s+(?:\*\s*[\w.>-]+|(?:this->)?m_\w+(?:(?:\.|->)\w+)*|[\w.]+->\w+)\s*;"
    ),
}
# A local reference that isn't const, and a return of it further down in the same function.
REFERENCE = re.compile(r"(?P<type>(?:const\s+)?[\w:<>]+)\s*&\s*(?P<name>\w+)\s*=[^;]*;(?P<rest>.*?)(?=^}|\Z)", re.M | re.S)


def returned_references(text):
    for match in REFERENCE.finditer(text):
        if match["type"].startswith("const"):
            continue
        found = re.search(rf"\bco_return\s+{match['name']}\s*;", match["rest"])
        if found:
            yield match.start("rest") + found.start()

# QString's own folding takes the time of the square for a text of "İ"; the one helper is core/domain/Text.h.
FOLDING = re.compile(r"\b(toLower|toUpper|toCaseFolded)\(")
FOLDING_HELPER = "core/domain/Text.cpp"

# QString's own reading of UTF-8 drops a byte order mark that begins the text, and so another text is judged than is shown.
READING = re.compile(r"\bfromUtf8\(")
READ_BY_THE_HELPER = "core/safety/"

# Where text comes to the screen outside the sandbox, and what an untrusted peer may have written of it.
SINK = re.compile(
    r"(?<![\w:])((?:set(?:WindowTitle|ToolTip|StatusTip|WhatsThis|Text|Title|AccessibleName|AccessibleDescription)"
    r"|addAction|addItem|QLabel|QStandardItem|QListWidgetItem)\()"
)
UNTRUSTED = re.compile(
    r"\b(subject|filename|fileName|displayName|address|addresses|path|snippet|nickname|title|name|email|label"
    r"|notices?)\b"
)
CLEANED = "DisplayText::"
# Calls that must take the text as it is: what the user edits and gets back, and names that are our own.
TAKEN_AS_IT_IS = {
    "app/views/compose/ComposeForm.cpp": ["draft.subject"],  # a field; drafts pass the gate
    "app/views/setup/ServerFields.cpp": ["label(security), QVariant::fromValue(static_cast<int>(security))"],
    "app/views/settings/AccountForm.cpp": ["nickname"],  # cleaned a line before
    "app/views/settings/GeneralSettingsView.cpp": ["label(choice), static_cast<int>(choice)"],  # "Larkhaven Purple"
    "app/views/compose/ComposeRow.cpp": ["label", "name.remove(u':')"],  # "To:", "Subject:"
    "app/views/list/MessageActions.cpp": ["follow(m_items()).title", "state.title"],  # "Mark as Read"
    "app/views/main/MailCommands.cpp": [
        "title, this, perform",  # "New Message"
        "title(field), this, [this, present, field] { m_model.setSortOrder({SortComparator{field, present().order}}); }",
    ],
    "app/views/style/EmptyStateView.cpp": ["state.title"],  # one of our own sentences
    "app/views/compose/FormatBar.cpp": ["label"],  # "Bold"
    "app/views/reader/ReaderHeaders.cpp": ["name"],  # "From:"
}


def sources(root):
    found = []
    for folder in FOLDERS:
        found += sorted(path for path in (root / folder).rglob("*") if path.suffix in (".h", ".cpp"))
    return found


def report(path, text, match, fault):
    line = text.count("\n", 0, match.start()) + 1
    print(f"{path}:{line}: {fault}")


def folding_faults(path, name, text):
    if not name.startswith(("core/", "app/")) or name == FOLDING_HELPER:
        return 0
    found = list(FOLDING.finditer(text))
    for match in found:
        report(path, text, match, f"{match[1]} may be quadratic; fold with domain/Text.h")
    return len(found)


def reading_faults(path, name, text):
    if not name.startswith(READ_BY_THE_HELPER):
        return 0
    found = list(READING.finditer(text))
    for match in found:
        report(path, text, match, "fromUtf8 drops a byte order mark; read with Text::fromRepairedUTF8")
    return len(found)


def argument_at(text, start):
    """The argument list that begins behind the bracket before `start`, without string literals."""
    depth, end = 1, start
    while depth and end < len(text):
        depth += {"(": 1, ")": -1}.get(text[end], 0)
        end += 1
    return re.sub(r'"(?:[^"\\]|\\.)*"(?:_s|_L1)?', "", text[start : end - 1])


def sink_faults(path, name, text):
    if not name.startswith("app/views/"):
        return 0
    faults = 0
    for match in SINK.finditer(text):
        argument = " ".join(argument_at(text, match.end()).split())
        # What a slot of an action does is no text.
        shown = re.sub(r"\[[^\]]*\](?:\s*\([^)]*\))?\s*\{.*", "", argument)
        is_copied = text[: match.start()].endswith("clipboard()->")
        is_declared = re.match(r"(?:const\s|\w+[*&] \w+,)", argument)
        if is_copied or is_declared or CLEANED in shown or not UNTRUSTED.search(shown):
            continue
        if argument in TAKEN_AS_IT_IS.get(name, []):
            continue
        report(path, text, match, f"untrusted text passes DisplayText first: {argument[:60]}")
        faults += 1
    return faults


def main():
    root = pathlib.Path(sys.argv[1])
    files = sources(root)
    if not files:
        sys.exit("no sources were found")
    faults = 0
    for path in files:
        text = re.sub(r"//[^\n]*", "", path.read_text(encoding="utf-8"))
        found = [(match.start(), fault) for fault, pattern in FAULTS.items() for match in pattern.finditer(text)]
        found += [(place, "QCoro 0.8 moves this value out of its owner; return a copy") for place in returned_references(text)]
        for place, fault in found:
            print(f"{path}:{text.count(chr(10), 0, place) + 1}: {fault}")
            faults += 1
        name = path.relative_to(root).as_posix()
        faults += folding_faults(path, name, text)
        faults += reading_faults(path, name, text)
        faults += sink_faults(path, name, text)
    layout = subprocess.run(["clang-format", "--dry-run", "-Werror", *map(str, files)], check=False, timeout=300)
    if faults or layout.returncode != 0:
        sys.exit(1)
    print(f"{len(files)} files are clean")


if __name__ == "__main__":
    main()
