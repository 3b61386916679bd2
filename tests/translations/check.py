"""Holds the texts of the sources against what the program looks up at run time, and against the translations.

usage: check.py contexts|current|whole

contexts: every text stands under the context under which the program looks it up
current:  the translations hold the texts of the sources, and no others
whole:    every text is translated, with the same places for values as the original
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
TRANSLATIONS = ROOT / "translations"
LANGUAGES = ["de", "en"]

# What lupdate doesn't see, or sees under another context than the one that is looked up.
FAULTS = {
    "a deferred call; use tr() of a class": re.compile(r"QCoreApplication::translate\("),
    "a function that lupdate takes for a method": re.compile(r"(?:QString tr\(|auto tr = \[\]\()const char\*"),
    "a context of Qt's": re.compile(r"\bQ[A-Z]\w*::tr\("),
    "a text that lupdate can't read": re.compile(r"\btr\((?!\s*(?:u8)?\"|const char\*|\))"),
    "counted in two texts; use %n": re.compile(r"== 1 \? tr\("),
}
# They name texts that stand as QT_TRANSLATE_NOOP in the same file.
DEFERRED = {"core/protocols/IMAPResponse.cpp": ["tr("]}
PLACE = re.compile(r"%(?:L?\d|L?n)")


def sources():
    found = []
    for folder in ("core", "app"):
        found += sorted(path for path in (ROOT / folder).rglob("*") if path.suffix in (".h", ".cpp"))
    if not found:
        sys.exit("no sources were found")
    return {path.relative_to(ROOT).as_posix(): path.read_text(encoding="utf-8") for path in found}


def looked_up_contexts(files):
    """Classes with a meta object give their full name, declared functions the name that they declare."""
    found = set()
    for text in files.values():
        found.update(re.findall(r"Q_DECLARE_TR_FUNCTIONS\((\w+)\)", text))
        for place in re.finditer(r"^\s*Q_OBJECT\b", text, re.M):
            before = text[: place.start()]
            name = re.findall(r"^\s*class (\w+)(?: final)?(?=\s*[:{])", before, re.M)[-1]
            space = re.findall(r"^namespace ([\w:]+) \{", before, re.M)[-1]
            found.add(f"{space}::{name}")
    return found


def update(folder):
    """The translations as they should be, and what lupdate says about the sources."""
    for language in LANGUAGES:
        name = f"larkhaven_{language}.ts"
        (folder / name).write_bytes((TRANSLATIONS / name).read_bytes())
    command = [TRANSLATIONS / "update", folder]
    return subprocess.run(command, check=True, capture_output=True, text=True, timeout=120).stderr


def messages(path):
    found = {}
    for context in ElementTree.parse(path).getroot().iter("context"):
        for message in context.iter("message"):
            comment = message.findtext("comment") or ""
            key = (context.findtext("name"), message.findtext("source"), comment, message.get("numerus"))
            found[key] = message.find("translation")
    return found


def contexts(folder):
    faults = []
    files = sources()
    for name, text in files.items():
        found = []
        for fault, pattern in FAULTS.items():
            for match in pattern.finditer(text):
                if match[0] not in DEFERRED.get(name, []):
                    found.append(f"{name}:{text.count(chr(10), 0, match.start()) + 1}: {fault}")
        faults += found
    faults += update(folder).splitlines()
    known = looked_up_contexts(files)
    for context, source, _, _ in messages(folder / "larkhaven_de.ts"):
        if context not in known:
            faults.append(f"nothing looks up “{source}” under {context}")
    return faults


def current(folder):
    update(folder)
    faults = []
    for language in LANGUAGES:
        name = f"larkhaven_{language}.ts"
        stored, fresh = messages(TRANSLATIONS / name).keys(), messages(folder / name).keys()
        faults += [f"{name} lacks “{key[1]}” of {key[0]}; run translations/update" for key in fresh - stored]
        faults += [f"{name} has “{key[1]}” of {key[0]}, which is gone" for key in stored - fresh]
    return faults


def whole(_folder):
    faults = []
    for language in LANGUAGES:
        found = messages(TRANSLATIONS / f"larkhaven_{language}.ts")
        if not found:
            faults.append(f"{language} has no texts")
        for (context, source, _, _), translation in found.items():
            forms = [form.text or "" for form in translation.iter("numerusform")] or [translation.text or ""]
            where = f"{language}: “{source}” of {context}"
            if translation.get("type") or not all(forms):
                faults.append(f"{where} is unfinished")
                continue
            for form in forms:
                # A form for one thing may name it without a figure.
                places, wanted = set(PLACE.findall(form)) | {"%n"}, set(PLACE.findall(source)) | {"%n"}
                if places != wanted or form.count("%") > source.count("%"):
                    faults.append(f"{where} has other places for values: “{form}”")
                if (form.strip() == form) != (source.strip() == source) or form.endswith("…") != source.endswith("…"):
                    faults.append(f"{where} ends otherwise: “{form}”")
    return faults


def main():
    with tempfile.TemporaryDirectory() as folder:
        faults = {"contexts": contexts, "current": current, "whole": whole}[sys.argv[1]](pathlib.Path(folder))
    if faults:
        sys.exit("\n".join(sorted(set(faults))))
    print("no faults")


if __name__ == "__main__":
    main()
