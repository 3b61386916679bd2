"""Writes what the accessibility bus says of a program's windows, as a JSON list of its objects in their order.

usage: accessible_tree.py PROCESS_ID
"""

import json
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

# No window of ours has more; a tree without an end must not take the test with it.
MOST_OBJECTS = 5000
MOST_CHILDREN = 500


def application(process_id):
    # The first who asks starts the bus, which the program joins a little later.
    for _ in range(100):
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(index)
            if child is not None and child.get_process_id() == process_id and child.get_child_count() > 0:
                return child
        time.sleep(0.1)
        desktop.clear_cache()
    sys.exit("the program isn't on the accessibility bus")


def states(accessible):
    return [state.value_nick for state in accessible.get_state_set().get_states()]


def walk(accessible, depth, found):
    if len(found) == MOST_OBJECTS:
        sys.exit("there are more objects than a window has")
    shown = states(accessible)
    if depth > 0 and "showing" not in shown:
        return
    entry = {
        "depth": depth,
        "role": accessible.get_role_name(),
        "name": accessible.get_name() or "",
        "description": accessible.get_description() or "",
        "states": shown,
        "children": 0,
    }
    found.append(entry)
    for index in range(min(accessible.get_child_count(), MOST_CHILDREN)):
        child = accessible.get_child_at_index(index)
        if child is not None:
            before = len(found)
            walk(child, depth + 1, found)
            entry["children"] += len(found) > before


def main():
    found = []
    program = application(int(sys.argv[1]))
    for index in range(program.get_child_count()):
        window = program.get_child_at_index(index)
        if window is not None and "showing" in states(window):
            walk(window, 0, found)
    json.dump(found, sys.stdout)


if __name__ == "__main__":
    main()
