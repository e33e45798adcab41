"""kxterminal on a display of its own, an operator who uses it, and the events that it prints."""

import os
import queue
import signal
import subprocess
import tempfile
import threading
import time
import unittest

from display import GENEROUS_SECONDS, Display
from printed_event import LIBRARY_LINE, Event

KXTERMINAL = os.environ["KXTERMINAL"]

# Within this time everything is printed that the worker thread posts in its passes every 100 ms.
QUIET_SECONDS = 0.7

# Longest time between the two presses of a double press.
DOUBLE_PRESS_MS = 300

# How often a test tries a gesture that a busy machine may make too slowly.
ATTEMPTS = 8

# How long a test tries a gesture of many reports, each of which a busy machine may make too late.
BUSY_SECONDS = 60


class Terminal:
    """A running kxterminal. A thread reads its output."""

    def __init__(self, *arguments, platform="xcb", display=None, launcher=()):
        self.runtime_folder = tempfile.TemporaryDirectory()  # without one Qt prints a warning
        # Without OpenGL, which the terminal does not use: its drivers load slowly and leak memory.
        environment = dict(os.environ, QT_QPA_PLATFORM=platform, QT_XCB_GL_INTEGRATION="none",
                           XDG_RUNTIME_DIR=self.runtime_folder.name)
        if display is not None:
            environment["DISPLAY"] = display.name
        self.process = subprocess.Popen([*launcher, KXTERMINAL, "--print", *arguments], env=environment,
                                        stdout=subprocess.PIPE, text=True)
        self.lines = queue.Queue()
        self.library_lines = queue.Queue()
        self.reader = threading.Thread(target=self._read_lines, daemon=True)
        self.reader.start()

    def _read_lines(self):
        with self.process.stdout:
            for line in self.process.stdout:
                of_library = LIBRARY_LINE.match(line) is not None
                (self.library_lines if of_library else self.lines).put(line.rstrip("\n"))

    def next_event(self, seconds=GENEROUS_SECONDS):
        """The next event, or None when none is printed within this time."""
        try:
            return Event.parse(self.lines.get(timeout=seconds))
        except queue.Empty:
            return None

    def events_until_quiet(self, at_least):
        """All events of a gesture: waits for at least this number of events, and then until nothing follows."""
        events = []
        while True:
            event = self.next_event(GENEROUS_SECONDS if len(events) < at_least else QUIET_SECONDS)
            if event is None:
                return events
            events.append(event)

    def lines_until_end(self):
        """The event lines of a terminal that has ended, without those that were taken before."""
        self.reader.join(GENEROUS_SECONDS)
        lines = []
        while not self.lines.empty():
            lines.append(self.lines.get())
        return lines

    def next_library_line(self, beginning):
        """The next line of the library with this beginning; skips the lines before it."""
        while True:
            line = self.library_lines.get(timeout=GENEROUS_SECONDS)
            if line.startswith(beginning):
                return line

    def signal(self, number):
        self.process.send_signal(number)

    def wait(self):
        """The exit status; negative for a signal that killed it."""
        try:
            return self.process.wait(timeout=GENEROUS_SECONDS)
        finally:
            self.process.kill()
            self.runtime_folder.cleanup()


# The size of the window on a larger screen, where there is room outside the window.
WINDOW_SIZE = (1024, 768)


class Operator:
    """The hands at a terminal. The window is open and has the focus."""

    def __init__(self, display, terminal):
        self.display = display
        self.terminal = terminal
        self.window = display.wait_for_window("kxterminal", terminal.process)
        if display.size == Display.SIZE:
            display.xdotool("windowsize", "--sync", self.window, *WINDOW_SIZE)
        display.focus(self.window)
        self.width, self.height = self._window_size()

    def do(self, *arguments):
        """One call of xdotool. Timed actions share one call, so nothing comes between them."""
        self.display.xdotool(*arguments)

    def point_at(self, x, y):
        self.do("mousemove", "--window", self.window, x, y)

    def _window_size(self):
        geometry = self.display.xdotool("getwindowgeometry", "--shell", self.window)
        values = dict(line.split("=") for line in geometry.splitlines())
        return int(values["WIDTH"]), int(values["HEIGHT"])


class OperatorTestCase(unittest.TestCase):
    """A test with an operator at a terminal. The window is open and has the focus."""

    SCREEN = Display.SIZE
    ARGUMENTS = ()

    def setUp(self):
        self.display = Display(self.SCREEN)
        self.addCleanup(self.display.close)
        self.terminal = Terminal(*self.ARGUMENTS, display=self.display)
        self.addCleanup(self._end_terminal)
        operator = Operator(self.display, self.terminal)
        self.operator, self.point_at, self.window = operator.do, operator.point_at, operator.window
        self.width, self.height = operator.width, operator.height

    def hold(self, press, release):
        """Presses, releases 2.3 s after the terminal has printed the press, and returns the events of both."""
        self.operator(*press)
        pressed = self.terminal.next_event()
        time.sleep(2.3)
        self.operator(*release)
        return [pressed] + self.terminal.events_until_quiet(3)

    def check_double_press(self, key, *presses):
        """Presses a key twice with these arguments of xdotool until the machine is quick enough for a double press."""
        for _ in range(ATTEMPTS):
            self.operator(*presses)
            events = self.terminal.events_until_quiet(4)
            quick = events[2].time - events[0].time <= DOUBLE_PRESS_MS
            self.check(events, ("KEY_PRESS_EVENT", key), ("KEY_RELEASE_EVENT", key),
                       ("KEY_DOUBLE_PRESS_EVENT" if quick else "KEY_PRESS_EVENT", key), ("KEY_RELEASE_EVENT", key))
            if quick:
                return
        self.fail("this machine never made two presses within %d ms" % DOUBLE_PRESS_MS)

    def wait_until(self, condition, message):
        deadline = time.monotonic() + GENEROUS_SECONDS
        while not condition():
            self.assertLess(time.monotonic(), deadline, message)
            time.sleep(0.05)

    def check(self, events, *expected):
        """Checks names and keys (buttons for mouse events) in order. Nothing else may be printed."""
        printed = [(event.name, event.data[1] if event.name.startswith("MOUSE") else event.key)
                   for event in events]
        self.assertEqual(list(expected), printed)

    def _end_terminal(self):
        self.terminal.signal(signal.SIGTERM)
        self.assertEqual(0, self.terminal.wait(), "kxterminal did not end cleanly")
