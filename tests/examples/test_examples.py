#!/usr/bin/env python3
"""The examples do what they say. They were built with the installed libraries, as a user builds them."""

import os
import random
import re
import subprocess
import tempfile
import time
import unittest

from display import GENEROUS_SECONDS, Display

EXAMPLES, KXREPLAY, KXCAN = (os.environ[name] for name in ("EXAMPLES", "KXREPLAY", "KXCAN"))
RECORDINGS = os.environ["RECORDINGS"]
SESSIONS = int(os.environ.get("KX_TEST_SESSIONS", "50"))

EVENT_LINE = re.compile(r"^(\d+ )?[A-Z_]+_EVENT ")  # among those that the library itself prints
DOUBLE_PRESS = ["KEY_PRESS_EVENT key=0", "KEY_RELEASE_EVENT key=0", "KEY_DOUBLE_PRESS_EVENT key=0",
                "KEY_RELEASE_EVENT key=0"]
ATTEMPTS = 10  # for what has to be quick, on a machine that is busy


def run(name, *arguments):
    with tempfile.TemporaryDirectory() as folder:
        return subprocess.run([os.path.join(EXAMPLES, name), *arguments], capture_output=True, text=True,
                              env=dict(os.environ, QT_QPA_PLATFORM="offscreen", XDG_RUNTIME_DIR=folder),
                              timeout=GENEROUS_SECONDS, check=False)


def events_of(lines):
    return [line for line in lines if EVENT_LINE.match(line)]


class Window:
    """An example with a window, on a display of its own, and an operator."""

    def __init__(self, test, name, *arguments, bus=None):
        self.display = Display()
        test.addCleanup(self.display.close)
        environment = dict(os.environ, DISPLAY=self.display.name, QT_QPA_PLATFORM="xcb", KX_CAN_BUS_0=bus or "",
                           XDG_RUNTIME_DIR=self.display.memory.name)
        # pylint: disable-next=consider-using-with # it is ended below
        self.process = subprocess.Popen([os.path.join(EXAMPLES, name), *arguments], env=environment, text=True,
                                        stdout=subprocess.PIPE)
        test.addCleanup(self.end)
        self.display.focus(self.display.wait_for_window(name, self.process))

    def operate(self, *arguments):
        self.display.xdotool(*arguments)

    def next_events(self, count):
        lines = []
        while len(lines) < count:
            line = self.process.stdout.readline()
            if not line:
                raise AssertionError("the program has ended")
            lines += events_of([line.rstrip("\n")])
        return lines

    def end(self):
        self.process.kill()
        self.process.stdout.close()
        self.process.wait()


class Loops(unittest.TestCase):
    def test_every_main_loop_gives_the_same_events(self):
        for name in ("poll_loop", "glib_loop", "asio_loop"):
            done = run(name)
            self.assertEqual((0, DOUBLE_PRESS, ""), (done.returncode, done.stdout.splitlines(), done.stderr), name)

    def test_a_window_gives_them_for_two_quick_taps(self):
        window = Window(self, "qt_window")
        for _ in range(ATTEMPTS):
            window.operate("key", "--delay", 40, "Escape", "Escape")
            lines = window.next_events(4)
            if lines == DOUBLE_PRESS:
                return
            self.assertEqual([line.replace("DOUBLE_", "") for line in DOUBLE_PRESS], lines, "no taps, not even slow ones")
            time.sleep(0.5)
        self.fail("this machine never tapped twice within 300 ms")


class Keypad(unittest.TestCase):
    def test_a_frame_is_a_press_of_its_key(self):
        with tempfile.TemporaryDirectory() as folder:
            bus = "unix:" + os.path.join(folder, "bus")
            window = Window(self, "keypad_on_can", bus=bus)
            window.operate("key", "Return")  # shows that the window has the focus
            window.next_events(2)
            subprocess.run([KXCAN, "send", bus, "18FF0001#8000000000000000", "18FF0001#0000000000000000"],
                           timeout=GENEROUS_SECONDS, check=True)
            self.assertEqual(["KEY_PRESS_EVENT key=1 value=0", "KEY_RELEASE_EVENT key=1 value=0"],
                             window.next_events(2))

    def test_a_bad_layout_is_told_in_one_line(self):
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as layout:
            layout.write("key 99\n")
            layout.flush()
            done = run("keypad_on_can", layout.name)
            self.assertEqual(2, done.returncode)
            self.assertRegex(done.stderr, r"^%s:1: .*\n$" % re.escape(layout.name))


class Actions(unittest.TestCase):
    def test_they_run_in_order_and_a_loop_is_stopped(self):
        done = run("actions")
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        lines = done.stdout.splitlines()
        self.assertEqual(["lift", "lock", "lift", "lock", "lift"], lines[:5])
        self.assertIn("Found loop", lines[-1])


class Complaint(unittest.TestCase):
    def play(self, recording, pages):
        return run("complaint_as_test", os.path.join(RECORDINGS, recording), pages)

    def test_a_second_press_that_came_too_late_opens_two_pages(self):
        self.assertEqual((0, "2 pages opened, 2 expected\n"), self.result("key-double-301.kxr", "2"))
        self.assertEqual((1, "2 pages opened, 1 expected\n"), self.result("key-double-301.kxr", "1"))
        self.assertEqual((0, "1 pages opened, 1 expected\n"), self.result("key-double-300.kxr", "1"))

    def result(self, recording, pages):
        done = self.play(recording, pages)
        return done.returncode, done.stdout.splitlines(keepends=True)[-1]

    def test_a_missing_recording_is_told(self):
        done = self.play("none.kxr", "1")
        self.assertEqual(2, done.returncode)
        self.assertRegex(done.stderr, r"^.*none\.kxr: No such file or directory\n$")


class Record(unittest.TestCase):
    """Random operators at the application that records itself, on the real platform and in real time."""

    KEYS = ("Escape", "Home", "End", "Up", "Down", "Return", "a", "F5", "F6")
    FRAMES = ["18FF0001#8000000000000000", "18FF0001#C000000000000000", "18FF0001#0000000000000000",
              "18FF0002#1000000000000000", "18FF0002#0000000000000000"]

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def gesture(self, chance):
        """One call of xdotool, or frames of the keypad."""
        kind = chance.randrange(6)
        if kind == 0:
            return ("key", "--delay", chance.choice((5, 40, 90)), *chance.choices(self.KEYS, k=chance.randint(1, 6)))
        if kind == 1:
            key = chance.choice(self.KEYS)
            return ("keydown", key, "sleep", chance.choice((0.05, 0.2)), "keyup", key)
        if kind == 2:
            return ("click", "--repeat", chance.randint(1, 3), "--delay", chance.choice((30, 120)), chance.choice((1, 3)))
        if kind == 3:
            return ("click", "--repeat", chance.randint(1, 12), "--delay", chance.choice((5, 20)), chance.choice((4, 5)))
        if kind == 4:
            return ("mousemove", chance.randint(0, 400), chance.randint(0, 300), "mousedown", 1, "mousemove_relative", 15,
                    15, "mouseup", 1)
        frames = chance.choices(self.FRAMES, k=chance.randint(1, 4))
        return [*frames, f"18FF0003#0000{chance.randrange(0x100):02X}0000000000"]

    def play_session(self, number, chance):
        file = os.path.join(self.folder, f"{number}.kxr")
        bus = "unix:" + os.path.join(self.folder, f"bus{number}")
        window = Window(self, "record_my_application", file, bus=bus)
        window.operate("key", "Return")
        lines = window.next_events(2)
        for _ in range(chance.randint(2, 8)):
            gesture = self.gesture(chance)
            if isinstance(gesture, list):
                subprocess.run([KXCAN, "send", bus, *gesture], timeout=GENEROUS_SECONDS, check=True)
            else:
                window.operate(*gesture)
        if number % 10 == 0:
            window.operate("keydown", "Home", "sleep", 2.3, "keyup", "Home")
        window.operate("key", "F10")
        lines += events_of(window.process.stdout.read().splitlines())
        self.assertEqual(0, window.process.wait(GENEROUS_SECONDS))
        window.display.close()
        return file, lines

    def replay(self, file):
        done = subprocess.run([KXREPLAY, file], capture_output=True, text=True, timeout=GENEROUS_SECONDS, check=False)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        return events_of(done.stdout.splitlines())

    def test_random_sessions_are_replayed_as_they_were_printed(self):
        seed = int(os.environ.get("KX_TEST_SEED", random.randrange(2**32)))
        print("KX_TEST_SEED=%d" % seed)
        chance = random.Random(seed)
        events = 0
        for number in range(SESSIONS):
            file, printed = self.play_session(number, chance)
            self.assertEqual(printed, self.replay(file), f"session {number} of seed {seed}")
            with open(file, encoding="ascii") as recording:
                self.assertIn("set keypad", recording.read())
            events += len(printed)
        print(f"{SESSIONS} sessions, {events} events")

    def test_a_file_that_is_there_is_not_overwritten(self):
        path = os.path.join(self.folder, "day.kxr")
        with open(path, "w", encoding="ascii") as file:
            file.write("mine\n")
        done = run("record_my_application", path)
        self.assertEqual((2, f"{path}: the file exists and is not overwritten\n"), (done.returncode, done.stderr))


if __name__ == "__main__":
    unittest.main()
