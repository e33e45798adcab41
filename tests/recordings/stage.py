"""A terminal that records while somebody works with it, and the result."""

import os
import re
import signal
import statistics
import subprocess
import tempfile
import time
from typing import NamedTuple

from kxterminal_session import GENEROUS_SECONDS, Display, Event, Operator, Terminal
from positions import BESIDE_EVERYTHING

# It is larger than the window of 1024x768, so there is room outside.
SCREEN = Display.SIZE
OUTSIDE = (SCREEN[0] - 1, SCREEN[1] - 1)

SETTLED_SECONDS = 0.5

# The tick has 32 bits.
WRAP = 1 << 32

# Frames of the terminal's keypad: the bit of each key, by key code.
FIRST_KEYS, SECOND_KEYS, KNOB_POSITION = "18FF0001", "18FF0002", "18FF0003"
KEY_BITS = {0: (FIRST_KEYS, 0, 0), 1: (FIRST_KEYS, 0, 7), 2: (FIRST_KEYS, 1, 3), 3: (FIRST_KEYS, 3, 5),
            4: (FIRST_KEYS, 4, 1), 5: (FIRST_KEYS, 4, 2), 6: (FIRST_KEYS, 7, 0), 15: (FIRST_KEYS, 7, 7),
            7: (SECOND_KEYS, 0, 4), 8: (SECOND_KEYS, 1, 5), 9: (SECOND_KEYS, 2, 6), 10: (SECOND_KEYS, 3, 7),
            11: (SECOND_KEYS, 4, 0), 12: (SECOND_KEYS, 5, 1), 13: (SECOND_KEYS, 6, 2), 14: (SECOND_KEYS, 7, 3)}


def key_frame(identifier, *keys):
    """The frame in which exactly these keys are down."""
    data = bytearray(8)
    for key in keys:
        of_key, byte, bit = KEY_BITS[key]
        if of_key != identifier:
            raise ValueError(f"key {key} is in frame {of_key}")
        data[byte] |= 1 << bit
    return f"{identifier}#{data.hex().upper()}"


def knob_frame(position):
    return f"{KNOB_POSITION}#0000{position & 0xFF:02X}{position >> 8:02X}00000000"


class Stage:
    """The terminal, the operator's hands and the other end of the bus."""

    def __init__(self, display, folder, arguments=(), wraps_after=0):
        self.file = os.path.join(folder, "session.kxr")
        self.bus = "unix:" + os.path.join(folder, "bus")
        self.log = os.path.join(folder, "frames.log")
        # The clock can only be set to whole seconds, so the wrap comes up to a second late.
        ahead = int(WRAP / 1000 - time.monotonic() - wraps_after)
        self.wraps_at = WRAP / 1000 - ahead  # by the clock of this program
        launcher = ("unshare", "--time", "--monotonic", str(ahead)) if wraps_after else ()
        display.xdotool("mousemove", *BESIDE_EVERYTHING)
        self.terminal = Terminal("--record", self.file, "--can-bus", self.bus, *arguments, display=display,
                                 launcher=launcher)
        try:
            operator = Operator(display, self.terminal)
        except Exception:
            self.kill()
            raise
        self.operator, self.point_at, self.window = operator.do, operator.point_at, operator.window
        time.sleep(SETTLED_SECONDS)

    def touch(self, point):
        self.point_at(*point)
        self.operator("click", 1)

    def send(self, *frames):
        """Sends frames without a pause."""
        subprocess.run([os.environ["KXCAN"], "send", self.bus, *frames], check=True, timeout=GENEROUS_SECONDS)

    def play(self, *timed_frames):
        """Sends frames, each given as seconds and frame."""
        with open(self.log, "w", encoding="ascii") as log:
            for seconds, frame in timed_frames:
                log.write(f"({100 + seconds:.6f}) can0 {frame}\n")
        subprocess.run([os.environ["KXCAN"], "play", self.bus, self.log], check=True, timeout=GENEROUS_SECONDS,
                       stderr=subprocess.DEVNULL)

    def wait_until_wrap(self, seconds_before):
        remaining = self.wraps_at - seconds_before - time.monotonic()
        if remaining < 0:
            raise AssertionError("the terminal took too long to start: its tick has wrapped already")
        time.sleep(remaining)

    def kill(self):
        self.terminal.signal(signal.SIGKILL)
        self.terminal.wait()

    def end(self):
        """Ends the terminal after the last event that the gesture can cause."""
        time.sleep(SETTLED_SECONDS)
        self.terminal.signal(signal.SIGTERM)
        status = self.terminal.wait()
        if status != 0:
            raise AssertionError(f"kxterminal has ended with status {status}")
        return Take(self.file, self.terminal.lines_until_end())


class Input(NamedTuple):
    """A line of a recording. A toolkit event has its own time, which may be earlier than the line."""

    tick: int
    word: str
    rest: str
    time: int


FRAME_LINE = re.compile(r"\((\d+)\.(\d{3})000\) can0 (\S+)")


def parse_input(line):
    frame = FRAME_LINE.fullmatch(line)
    if frame:
        tick = (int(frame[1]) * 1000 + int(frame[2])) % WRAP
        return Input(tick, "frame", frame[3], tick)
    tick, word, *rest = line.split(" ", 2)
    rest = rest[0] if rest else ""
    stamp = re.search(r"\btime=(\d+)", rest)
    return Input(int(tick), word, rest, int(stamp[1] if stamp else tick))


class Take:
    """The result of a gesture: the recording and the terminal's output."""

    def __init__(self, file, printed_lines):
        with open(file, encoding="ascii") as recording:
            self.lines = recording.read().splitlines()
        self.printed_lines = printed_lines
        self.inputs = [parse_input(line) for line in self.lines[1:] if not line.startswith("#")]
        self.events = [Event.parse(line) for line in printed_lines]

    def toolkit(self, event_type):
        """The toolkit events of one type, such as KEY_PRESS."""
        return [entry for entry in self.inputs
                if entry.word == "toolkit" and entry.rest.split(" ")[0] == f"TOOLKIT_{event_type}_EVENT"]

    def settings(self, name):
        return [entry.rest.split(" ", 1)[1] for entry in self.inputs
                if entry.word == "set" and entry.rest.startswith(name + " ")]

    def frames(self):
        return [entry for entry in self.inputs if entry.word == "frame"]

    def passes(self):
        return [entry.tick for entry in self.inputs if entry.word == "pass"]

    def posted(self):
        """The printed events in short: `KEY_PRESS 6`, `MOUSE_PRESS 1`, `ENCODER_MOVE 4 x3`."""
        return [short(event) for event in self.events]

    def wraps(self):
        """The number of the first input after the wrap of the tick."""
        return next((i for i, (entry, later) in enumerate(zip(self.inputs, self.inputs[1:]), 1)
                     if later.tick < entry.tick), None)


def short(event):
    name = event.name[:-len("_EVENT")]
    if name.startswith("MOUSE"):
        return f"{name} {event.data[1]}"
    return f"{name} {event.key} x{event.count}" if name == "ENCODER_MOVE" else f"{name} {event.key}"


class Aim:
    """Learns how long to wait to hit a recorded time to the millisecond."""

    def __init__(self, goal_ms):
        self.goal_ms = goal_ms
        self.delays = []

    def seconds(self):
        delay = statistics.median(self.delays[-7:]) if self.delays else 0
        return f"{max(0.0, self.goal_ms - delay) / 1000:.4f}"

    def hit(self, asked_seconds, recorded_ms):
        self.delays.append(recorded_ms - float(asked_seconds) * 1000)
        return recorded_ms == self.goal_ms


class Gesture(NamedTuple):
    """One recording: what it shows, how to make it, and how to check it."""

    name: str
    shows: str
    make: callable  # takes a Stage
    miss: callable  # takes a Take; returns why it must be made again, or nothing
    arguments: tuple = ()
    tries: int = 10
    wraps_after: float = 0  # seconds from the start of the terminal to the wrap of its tick; 0: no wrap


def perform(gesture, display):
    """Makes a gesture once."""
    with tempfile.TemporaryDirectory() as folder:
        stage = Stage(display, folder, gesture.arguments, gesture.wraps_after)
        try:
            gesture.make(stage)
        except Exception:
            stage.kill()
            raise
        return stage.end()


def new_display():
    return Display(SCREEN)
