#!/usr/bin/env python3
"""Makes the recordings of this folder again, with a terminal on a display of its own.

Each gesture is made until it shows what it is to show: to press a key a second time after exactly 300 ms takes
several tries. Then NAME.kxr is what the terminal has recorded, and NAME.expected what it has printed meanwhile.
"""

import argparse
import os
import signal
import sys

FOLDER = os.path.dirname(os.path.abspath(__file__))


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("names", nargs="*", metavar="NAME", help="a recording; without any, all of them")
    parser.add_argument("--build", metavar="FOLDER", default=os.path.join(FOLDER, "../../build/dev"),
                        help="the build whose kxterminal and kxcan are used (build/dev)")
    parser.add_argument("--output", metavar="FOLDER", default=FOLDER, help="where to put them (here)")
    parser.add_argument("--list", action="store_true", help="tell what each recording shows, and make none")
    return parser.parse_args()


def use_build(folder):
    os.environ["KXTERMINAL"] = os.path.join(folder, "terminal", "kxterminal")
    os.environ["KXCAN"] = os.path.join(folder, "tools", "kxcan", "kxcan")
    for program in (os.environ["KXTERMINAL"], os.environ["KXCAN"]):
        if not os.access(program, os.X_OK):
            sys.exit(f"record.py: {program}: no such program; --build names the folder of a build")
    sys.path.insert(0, os.path.join(FOLDER, "..", "endtoend"))


def all_gestures():
    # Not at the top: the modules read the names of the programs when they are loaded.
    from gestures_keys import ENCODER, KEYS, WRAPS
    from gestures_pointer import POINTER
    from gestures_keypad import KEYPAD
    from gestures_settings import SETTINGS
    from minute import MINUTE
    return {gesture.name: gesture for gesture in [*KEYS, *ENCODER, *WRAPS, *POINTER, *KEYPAD, *SETTINGS, *MINUTE]}


def with_comment(lines, gesture):
    """The description goes after the terminal's own lines at the beginning."""
    comments = 1 + next(i for i, line in enumerate(lines[1:]) if not line.startswith("#"))
    return [*lines[:comments], f"# {gesture.shows}", *lines[comments:]]


def write_lines(path, lines):
    with open(path, "w", encoding="utf-8") as file:
        file.writelines(line + "\n" for line in lines)


def record(gesture, display, folder):
    from stage import perform
    miss = None
    for number in range(1, gesture.tries + 1):
        take = perform(gesture, display)
        miss = gesture.miss(take)
        if miss is None:
            write_lines(os.path.join(folder, gesture.name + ".kxr"), with_comment(take.lines, gesture))
            write_lines(os.path.join(folder, gesture.name + ".expected"), take.printed_lines)
            print(f"{gesture.name}: {len(take.inputs)} inputs, {len(take.events)} events, try {number}",
                  flush=True)
            return True
        print(f"{gesture.name}: {miss}", file=sys.stderr, flush=True)
    print(f"record.py: {gesture.name}: not in {gesture.tries} tries; the last one: {miss}", file=sys.stderr)
    return False


def main():
    arguments = read_arguments()
    use_build(arguments.build)
    gestures = all_gestures()
    unknown = [name for name in arguments.names if name not in gestures]
    if unknown:
        sys.exit(f"record.py: {unknown[0]}: no such recording; --list tells all")
    if arguments.list:
        for gesture in gestures.values():
            print(f"{gesture.name}: {gesture.shows}")
        return 0
    from stage import new_display
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # ends the display, too
    display = new_display()
    try:
        chosen = [gestures[name] for name in arguments.names or gestures]
        done = [record(gesture, display, arguments.output) for gesture in chosen]
    finally:
        display.close()
    return 0 if all(done) else 1


if __name__ == "__main__":
    sys.exit(main())
