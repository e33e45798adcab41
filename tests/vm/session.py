"""kxterminal on the virtual terminal, and what it prints."""

import os
import sys
import time

from machine import GENEROUS_SECONDS, SCREEN

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "endtoend"))

from picture import lines_that_differ, size_and_lines  # pylint: disable=wrong-import-position
from printed_event import LIBRARY_LINE, Event  # pylint: disable=wrong-import-position

# It may be the emulation's first use of all of Qt.
START_SECONDS = 180

# Long enough for anything that the worker thread posts by time (it passes every 100 ms) to be printed.
QUIET_SECONDS = 1.5

# The library opens a bus that has come back within about a second.
RECONNECT_SECONDS = 20

# A blank screen with a cursor has but a few lines that differ.
VARIED_LINES = 200


def wait_for_file(path):
    """The shell command that waits until there is something in a file, and prints that."""
    return f"for i in $(seq 250); do [ -s {path} ] && break; sleep 0.2; done; cat {path}"


class Terminal:
    """A kxterminal on the machine's screen, which records what it does and also keeps it in memory."""

    RECORDING = "/run/session.kxr"
    SAVED = "/run/saved"
    KEPT_MINUTES = 60  # longer than any session here

    def __init__(self, machine, folder):
        """folder: where the pictures of its screen are put."""
        self.machine = machine
        self.start_picture = os.path.join(folder, "start.png")
        self.last_picture = os.path.join(folder, "terminal.png")
        self.event_lines = []  # all that were printed
        self.shown = (0, 0, 0)
        machine.run(f"mkdir {self.SAVED}; (terminal --print --record {self.RECORDING} --keep-last {self.KEPT_MINUTES} "
                    f"--save-to {self.SAVED} >/dev/events 2>/dev/ttyAMA0; echo $? >/run/terminal.status) &")

    def wait_until_shown(self):
        deadline = time.monotonic() + START_SECONDS
        while not self._is_shown():
            if time.monotonic() > deadline:
                raise AssertionError(f"there is no window on the screen, whose picture is {self.shown}")
            time.sleep(0.5)
        self.wait_for_receivers(1)

    def _is_shown(self):
        self.machine.take_picture(self.start_picture)
        self.shown = size_and_lines(self.start_picture)
        return self.shown[:2] == SCREEN and self.shown[2] >= VARIED_LINES

    def lines_that_changed(self):
        """How many lines of the screen are not as they were at the beginning."""
        self.machine.take_picture(self.last_picture)
        return lines_that_differ(self.start_picture, self.last_picture)

    def wait_for_receivers(self, number):
        """Waits until so many programs receive frames from the bus."""
        deadline = time.monotonic() + RECONNECT_SECONDS
        while (listening := self._receivers()) != number:
            if time.monotonic() > deadline:
                raise AssertionError(f"not {number} programs listen to vcan0, but {listening}")
            time.sleep(0.2)

    def _receivers(self):
        return int(self.machine.run("cat /proc/net/can/rcvlist_* | grep -c '^ *vcan0 .* raw$' || true"))

    def next_event(self, seconds):
        deadline = time.monotonic() + seconds
        while (line := self.machine.events.next(deadline - time.monotonic())) is not None:
            if not LIBRARY_LINE.match(line):
                self.event_lines.append(line)
                return Event.parse(line)
        return None

    def events_until_quiet(self, at_least):
        """All events of a gesture that makes at least so many: waits for those, then until nothing follows."""
        events = []
        while True:
            event = self.next_event(GENEROUS_SECONDS if len(events) < at_least else QUIET_SECONDS)
            if event is None:
                return events
            events.append(event)

    def waiting_events(self):
        """Those that were printed already."""
        return list(iter(lambda: self.next_event(0), None))

    def save(self):
        """Has it save what it keeps. The path of the only file that it has saved."""
        self.machine.run("kill -USR1 $(pidof kxterminal)")
        return self.machine.run("for i in $(seq 250); do "
                                f"tail -n 1 {self.SAVED}/*.kxr 2>/dev/null | grep -q ' end$' && break; sleep 0.2; "
                                f"done; ls {self.SAVED}/*.kxr")

    def end(self):
        """Its exit status."""
        self.machine.run("kill $(pidof kxterminal)")
        return int(self.machine.run(wait_for_file("/run/terminal.status")))
