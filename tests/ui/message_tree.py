"""Writes what the accessibility bus says of the documents in a program's windows: a line for each object within them, with its role,
a tab, and its name or text. Ends with an error where the program has none within half a minute.

usage: message_tree.py PROCESS_ID WORD      waits for a document that holds the word
"""

import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

# No window of the tests has more.
MOST_OBJECTS = 2000
PATIENCE = 30


def children(accessible):
    for index in range(min(accessible.get_child_count(), MOST_OBJECTS)):
        child = accessible.get_child_at_index(index)
        if child is not None:
            yield child


def text(accessible):
    if accessible.get_name():
        return accessible.get_name()
    shown = accessible.get_text_iface()
    return Atspi.Text.get_text(shown, 0, Atspi.Text.get_character_count(shown)) if shown else ""


def walk(accessible, is_within, lines):
    if len(lines) == MOST_OBJECTS:
        sys.exit("there are more objects than a window has")
    role = accessible.get_role_name()
    is_showing = accessible.get_state_set().contains(Atspi.StateType.SHOWING)
    is_within = is_within or role in ("document web", "document frame")
    if is_within:
        lines.append(f"{role}\t{text(accessible)}")
    elif is_showing and role == "label":
        lines.append(f"label\t{text(accessible)}")
    for child in children(accessible):
        walk(child, is_within, lines)


def lines_of(process_id):
    lines = []
    desktop = Atspi.get_desktop(0)
    desktop.clear_cache()
    for program in children(desktop):
        if program.get_process_id() == process_id:
            for window in children(program):
                walk(window, False, lines)
    return lines


def main():
    process_id, word = int(sys.argv[1]), sys.argv[2]
    end = time.monotonic() + PATIENCE
    lines = []
    while time.monotonic() < end:
        try:
            lines = lines_of(process_id)
        except GLib.Error:
            lines = []  # the tree has changed on the way
        if any(word in line for line in lines):
            break
        time.sleep(0.3)
    else:
        sys.stderr.write("\n".join(lines) + "\n")
        sys.exit("there is no document with the word")
    print("\n".join(lines))


if __name__ == "__main__":
    main()
