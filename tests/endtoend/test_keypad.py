"""The keypad on the CAN bus, in the window with the mouse and at the other end of the bus."""

import glob
import os
import socket
import struct
import subprocess
import tempfile
import time
import unittest

from kxterminal_session import BUSY_SECONDS, KXTERMINAL, GENEROUS_SECONDS, OperatorTestCase, Terminal
from positions import FIRST_KEY_ON_SMALL_SCREEN, KEYPAD_KEYS, KNOB, LOOP_BUTTON

ESCAPE, HOME, UP, DOWN = 0, 1, 4, 5
ESCAPE_ON_TOOLKIT = 0x1000000
LEFT = 1

EXTENDED_FRAME = 0x80000000


def frame(identifier, data):
    return struct.pack("=IB3x8s", identifier | EXTENDED_FRAME, len(data), bytes(data))


class Keypad(OperatorTestCase):
    """In a window of 1024x768 the keypad is always visible."""

    SCREEN = (1024, 768)
    KEYPAD_EDGE = (300, 212)

    def press_of_mouse_is_reported(self, *point):
        self.point_at(*point)
        self.operator("click", 1)
        self.check(self.terminal.events_until_quiet(2), ("MOUSE_PRESS_EVENT", LEFT), ("MOUSE_RELEASE_EVENT", LEFT))

    def test_a_held_key_is_a_long_press_of_the_key_and_no_mouse_input(self):
        self.point_at(*KEYPAD_KEYS[0])
        events = self.hold(("mousedown", 1), ("mouseup", 1))
        self.check(events, ("KEY_PRESS_EVENT", ESCAPE), ("KEY_LONG_PRESS_EVENT", ESCAPE),
                   ("KEY_LONG_RELEASE_EVENT", ESCAPE), ("KEY_RELEASE_EVENT", ESCAPE))
        self.assertEqual([ESCAPE_ON_TOOLKIT] * 4, [event.os_key for event in events])
        self.assertEqual("Key 1, KeyCode: 0, pressed", self.terminal.next_library_line("Key "))
        self.assertEqual("Key 1, KeyCode: 0, released", self.terminal.next_library_line("Key "))

    def test_two_quick_presses_are_a_press_and_a_double_press(self):
        self.point_at(*KEYPAD_KEYS[0])
        self.check_double_press(ESCAPE, "click", "--repeat", 2, "--delay", 80, 1)

    def check_moves(self, steps, key):
        events = self.terminal.events_until_quiet(1)
        self.check(events, *[("ENCODER_MOVE_EVENT", key)] * len(events))
        self.assertEqual(steps, sum(event.count for event in events))
        self.assertNotIn(-1, [event.os_key for event in events], "it came as a key, not as the wheel")
        return events

    def test_the_wheel_over_the_knob_turns_the_knob_faster_and_faster(self):
        self.point_at(*KNOB)
        turned = 0
        deadline = time.monotonic() + BUSY_SECONDS
        while time.monotonic() < deadline:
            self.operator("click", "--repeat", 12, "--delay", 15, 4)
            events = self.check_moves(12, UP)
            self.assertEqual(f"ENCODER UP: {turned + 1} ({turned})",
                             self.terminal.next_library_line("ENCODER"))
            for _ in range(11):
                self.terminal.next_library_line("ENCODER UP")
            # Steps that a busy machine delivers within one millisecond have no speed and add nothing.
            if sum(event.value for event in events) > 12:
                return
            turned += 12
        self.fail("this machine never turned the knob step by step")

    def test_the_knob_turned_down_from_its_beginning_wraps(self):
        self.point_at(*KNOB)
        self.operator("click", 5)
        self.check_moves(1, DOWN)
        self.assertEqual("ENCODER DOWN underflow: 65535 (0)", self.terminal.next_library_line("ENCODER"))
        self.operator("click", 4)
        self.check_moves(1, UP)
        self.assertEqual("ENCODER UP overflow: 0 (65535)", self.terminal.next_library_line("ENCODER"))

    def test_a_click_on_a_half_of_the_knob_turns_it_by_one_detent(self):
        self.point_at(KNOB[0] + 30, KNOB[1])
        self.operator("click", 1)
        self.check_moves(1, UP)
        self.point_at(KNOB[0] - 30, KNOB[1])
        self.operator("click", 1)
        self.check_moves(1, DOWN)

    def test_a_drag_round_the_knob_turns_it(self):
        x, y = KNOB
        self.point_at(x, y - 40)
        self.operator("mousedown", 1, "mousemove_relative", 28, 12, "sleep", 0.1, "mousemove_relative", 12, 28,
                      "sleep", 0.1, "mouseup", 1)
        self.check_moves(6, UP)  # a quarter of the 24 detents

    def test_the_wheel_beside_the_knob_is_the_encoder_of_the_screen(self):
        self.point_at(*KEYPAD_KEYS[0])
        self.operator("click", 4)
        events = self.terminal.events_until_quiet(1)
        self.check(events, ("ENCODER_MOVE_EVENT", UP))
        self.assertEqual(-1, events[0].os_key)

    def test_a_touch_between_the_keys_is_no_input_and_beside_the_keypad_it_is(self):
        self.point_at(*self.KEYPAD_EDGE)
        self.operator("click", 1)
        self.press_of_mouse_is_reported(self.width // 2, self.height * 3 // 4)

    def test_the_keyboard_goes_on_to_work_after_the_keypad_was_touched(self):
        self.point_at(*KEYPAD_KEYS[0])
        self.operator("click", 1)
        self.terminal.events_until_quiet(2)
        self.operator("key", "Home")
        self.check(self.terminal.events_until_quiet(2), ("KEY_PRESS_EVENT", HOME), ("KEY_RELEASE_EVENT", HOME))

    def test_the_loop_button_shows_the_queue_stopping_a_loop(self):
        self.press_of_mouse_is_reported(*LOOP_BUTTON)
        line = self.terminal.next_library_line("KXActionQueue::executeActions: ")
        self.assertRegex(line, r"Found loop for 0x[0-9a-f]+, triggered by object 0x[0-9a-f]+, on event "
                               r"'MOUSE_RELEASE_EVENT \[\d+\] via action 0x[0-9a-f]+ \(2\)\. Terminating execution\.\Z")

    def test_f9_starts_the_loop_from_the_keyboard(self):
        self.operator("key", "F9")
        self.check(self.terminal.events_until_quiet(2), ("KEY_PRESS_EVENT", 15), ("KEY_RELEASE_EVENT", 15))
        line = self.terminal.next_library_line("KXActionQueue::executeActions: ")
        self.assertIn("on event 'KEY_PRESS_EVENT [24] via", line)


class SmallScreen(OperatorTestCase):
    """On a screen of 800x480 the keypad is a page."""

    SCREEN = (800, 480)

    def test_the_pages_are_turned_by_keys_and_the_keypad_works(self):
        for _ in range(3):  # past the time line and the encoder
            self.operator("key", "F11")
            self.check(self.terminal.events_until_quiet(2), ("KEY_PRESS_EVENT", 17), ("KEY_RELEASE_EVENT", 17))
        self.point_at(*FIRST_KEY_ON_SMALL_SCREEN)
        self.operator("click", 1)
        self.check(self.terminal.events_until_quiet(2), ("KEY_PRESS_EVENT", ESCAPE), ("KEY_RELEASE_EVENT", ESCAPE))


class OtherEndOfTheBus(OperatorTestCase):
    """Frames from elsewhere."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, "bus")
        self.ARGUMENTS = ("--can-bus", "unix:" + self.path)
        super().setUp()
        # Unlike the mouse, frames do not wait until the window knows about its focus. A key event shows that it does.
        self.operator("key", "Insert")
        self.terminal.events_until_quiet(2)
        self.bus = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(self.bus.close)
        self.bus.connect(self.path)

    def test_a_frame_from_outside_is_a_press_of_its_key(self):
        self.bus.send(frame(0x18FF0001, [0x80, 0, 0, 0, 0, 0, 0, 0]))
        self.check(self.terminal.events_until_quiet(1), ("KEY_PRESS_EVENT", HOME))
        self.bus.send(frame(0x18FF0001, [0] * 8))
        self.check(self.terminal.events_until_quiet(1), ("KEY_RELEASE_EVENT", HOME))

    def test_a_second_terminal_does_not_take_the_bus_away(self):
        done = subprocess.run([KXTERMINAL, "--can-bus", "unix:" + self.path], text=True, timeout=GENEROUS_SECONDS,
                              env=dict(os.environ, QT_QPA_PLATFORM="offscreen",
                                       XDG_RUNTIME_DIR=os.path.dirname(self.path)), capture_output=True, check=False)
        self.assertEqual(2, done.returncode)
        self.assertRegex(done.stderr, r"\Akxterminal: unix:[^\n]+another program reads this bus\n\Z")
        self.bus.send(frame(0x18FF0001, [0x80, 0, 0, 0, 0, 0, 0, 0]))
        self.check(self.terminal.events_until_quiet(1), ("KEY_PRESS_EVENT", HOME))


class Settings(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def run_kxterminal(self, *arguments, **variables):
        environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", XDG_RUNTIME_DIR=self.folder, **variables)
        return subprocess.run([KXTERMINAL, "--exit-after", "200", *arguments], env=environment, capture_output=True,
                              text=True, timeout=GENEROUS_SECONDS, check=False)

    def layout(self, text):
        path = os.path.join(self.folder, "keys.txt")
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return path

    def check_refused(self, done, message):
        self.assertEqual((2, ""), (done.returncode, done.stdout))
        self.assertEqual(message + "\n", done.stderr)

    def test_a_bad_layout_is_told_with_file_and_line(self):
        path = self.layout("# keys\nkey 1 code 0 byte 8 bit 0 id 18FF0001\n")
        self.check_refused(self.run_kxterminal("--keypad", path),
                           path + ":2: key 1: byte 8 is not in the range 0 to 7")
        self.layout("key 1 code 99 byte 0 bit 0 id 18FF0001\n")
        self.check_refused(self.run_kxterminal("--keypad", path),
                           path + ":1: key 1: code 99 is a key code that the toolkit has no key for")

    def test_a_layout_that_is_not_there_is_told(self):
        path = os.path.join(self.folder, "missing")
        self.check_refused(self.run_kxterminal("--keypad", path), path + ": No such file or directory")

    def test_a_good_layout_is_taken(self):
        path = self.layout("key 7 code 18 byte 0 bit 0 id 1FFFFFFF\nencoder id 1 byte 1 big mask F up 5 down 4\n")
        done = self.run_kxterminal("--keypad", path)
        self.assertEqual((0, ""), (done.returncode, done.stderr))

    def check_bus_refused(self, done, message):
        self.check_refused(done, "kxterminal: " + message)

    def test_a_bus_that_cannot_be_opened_is_told_in_one_line(self):
        missing = "unix:" + os.path.join(self.folder, "missing", "bus")
        self.check_bus_refused(self.run_kxterminal("--can-bus", missing), missing + ": there is no such folder")
        file = "unix:" + self.layout("")
        self.check_bus_refused(self.run_kxterminal("--can-bus", file), file + ": there is a file that is no socket")
        for bus in ("unix:", "unix:/" + "x" * 108, "nonesuch0", "x" * 20):
            with self.subTest(bus=bus):
                done = self.run_kxterminal("--can-bus", bus)
                self.assertEqual((2, ""), (done.returncode, done.stdout))
                self.assertRegex(done.stderr, r"\Akxterminal: [^\n]+\n\Z")
                self.assertIn(bus, done.stderr)

    def test_the_environment_names_the_bus_and_the_option_is_stronger(self):
        named = "unix:" + os.path.join(self.folder, "named", "bus")
        self.check_bus_refused(self.run_kxterminal(KX_CAN_BUS_0=named), named + ": there is no such folder")
        chosen = "unix:" + os.path.join(self.folder, "chosen")
        self.assertEqual(0, self.run_kxterminal("--can-bus", chosen, KX_CAN_BUS_0=named).returncode)

    def test_the_private_bus_is_gone_afterwards(self):
        done = self.run_kxterminal(TMPDIR=self.folder)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertEqual([], glob.glob(os.path.join(self.folder, "kxterminal*")))


if __name__ == "__main__":
    unittest.main()
