"""Recorded sessions that are played again, and recordings when something goes wrong."""

import os
import re
import resource
import signal
import subprocess
import tempfile
import time
import unittest

from kxterminal_session import (GENEROUS_SECONDS, KXTERMINAL, LIBRARY_LINE, QUIET_SECONDS, Display, Operator,
                                Terminal)
from positions import (ACCEPT_INPUT_SWITCH, BESIDE_EVERYTHING, DOUBLE_PRESS_MINUS, EDGE_OF_SETTINGS_BUTTON,
                       INPUT_OFF_BANNER, KEYPAD_KEYS, KNOB)

KXREPLAY, KXCAN = os.environ["KXREPLAY"], os.environ["KXCAN"]

LIT = (0xf2, 0xb7, 0x05)

HOME_DOWN, HOME_UP = "18FF0001#8000000000000000", "18FF0001#0000000000000000"


class RecordingTestCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.file = os.path.join(self.folder, "session.kxr")
        self.bus = "unix:" + os.path.join(self.folder, "bus")

    def replay(self, *arguments):
        return subprocess.run([KXREPLAY, *arguments], capture_output=True, text=True, timeout=GENEROUS_SECONDS,
                              check=False)

    def read_recording(self):
        with open(self.file, encoding="ascii") as file:
            return file.read()

    def replayed_events(self, *warnings):
        done = self.replay(self.file)
        self.assertEqual(0, done.returncode, done.stderr)
        self.assertEqual(list(warnings), done.stderr.splitlines())
        return done.stdout.splitlines()

    def run_kxterminal(self, *arguments, **options):
        environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", XDG_RUNTIME_DIR=self.folder)
        return subprocess.run([KXTERMINAL, *arguments], env=environment, capture_output=True, text=True,
                              timeout=GENEROUS_SECONDS, check=False, **options)

    def printed_events(self, done):
        return [line for line in done.stdout.splitlines() if not LIBRARY_LINE.match(line)]


class Session(RecordingTestCase):
    """An operator at a recording terminal."""

    def setUp(self):
        super().setUp()
        self.display = Display()
        self.addCleanup(self.display.close)
        self.terminal = Terminal("--record", self.file, "--can-bus", self.bus, display=self.display)
        self.addCleanup(self.end_by, signal.SIGKILL)
        hand = Operator(self.display, self.terminal)
        self.operator, self.point_at = hand.do, hand.point_at
        # Frames do not wait until the window knows about its focus. A key event shows that it does.
        self.operator("key", "Insert")
        self.first_lines = [self.terminal.lines.get(timeout=GENEROUS_SECONDS) for _ in range(2)]

    def end_by(self, number):
        self.terminal.signal(number)
        return self.terminal.wait()

    def send(self, *frames):
        subprocess.run([KXCAN, "send", self.bus, *frames], timeout=GENEROUS_SECONDS, check=True)

    def click_at(self, point, *arguments):
        self.point_at(*point)
        self.operator("click", *arguments, 1)

    def use_keys(self):
        self.operator("key", "--delay", 70, "Escape", "Escape", "Home", "Insert", "Return")
        self.operator("key", "--delay", 6, "Up", "Up", "Up", "Up", "Down", "Return", "Down", "Down")
        self.operator("keydown", "End", "sleep", 2.3, "keyup", "End")

    def use_mouse(self):
        self.click_at(BESIDE_EVERYTHING, "--repeat", 3, "--delay", 90)
        self.operator("click", 3, "mousedown", 1, "mousemove_relative", 30, 0, "sleep", 2.3, "mouseup", 1)
        self.operator("click", "--repeat", 20, "--delay", 8, 4, "click", "--repeat", 3, "--delay", 120, 5)
        self.operator("mousedown", 1, "mousemove", Display.SIZE[0] - 1, Display.SIZE[1] - 1, "mouseup", 1)

    def use_keypad(self):
        self.send(HOME_DOWN, HOME_UP, HOME_DOWN)
        self.send(*(f"18FF0003#0000{position:02X}0000000000" for position in range(1, 30)))
        time.sleep(2.3)
        self.send(HOME_UP, "18FF0003#0000FFFF00000000")
        self.click_at(KEYPAD_KEYS[0])
        self.point_at(*KNOB)
        self.operator("click", "--repeat", 8, "--delay", 20, 5)

    def open_settings(self):
        """An operator touches only what he sees. A touch that comes sooner is for the page before."""
        self.operator("key", "F12")
        deadline = time.monotonic() + GENEROUS_SECONDS
        while self.display.pixels(*EDGE_OF_SETTINGS_BUTTON, 1, 1) != [[LIT]]:
            self.assertLess(time.monotonic(), deadline, "the settings have not appeared")
            time.sleep(0.05)

    def use_settings(self):
        self.open_settings()
        self.click_at(DOUBLE_PRESS_MINUS, "--repeat", 10, "--delay", 40)
        self.operator("key", "--delay", 250, "End", "End")
        self.click_at(ACCEPT_INPUT_SWITCH)
        self.operator("key", "--delay", 60, "Home", "Home")
        self.send("18FF0003#0000000000000000", HOME_DOWN, HOME_UP)
        self.click_at(INPUT_OFF_BANNER)
        self.operator("sleep", 0.1, "key", "Home", "key", "F12")

    def test_touches_that_are_seen_late_all_count(self):
        self.open_settings()
        self.terminal.signal(signal.SIGSTOP)
        self.click_at(DOUBLE_PRESS_MINUS, "--repeat", 10, "--delay", 40)
        self.terminal.signal(signal.SIGCONT)
        releases = 0
        while releases < 10:
            releases += self.terminal.lines.get(timeout=GENEROUS_SECONDS).count("MOUSE_RELEASE_EVENT")
        self.assertEqual(0, self.end_by(signal.SIGTERM))
        changes = re.findall(r"set double-press (\d+)", self.read_recording())
        self.assertEqual([str(ms) for ms in range(300, 199, -10)], changes)

    def test_a_replay_prints_what_the_terminal_printed(self):
        for use in (self.use_keys, self.use_mouse, self.use_keypad, self.use_settings):
            use()
        time.sleep(QUIET_SECONDS)
        self.assertEqual(0, self.end_by(signal.SIGTERM))
        printed = self.first_lines + self.terminal.lines_until_end()
        recording = self.read_recording()
        for what in ("KEY_DOUBLE_PRESS", "KEY_LONG_RELEASE", "MOUSE_LONG_PRESS", "MOUSE_ESCAPE", "ENCODER_MOVE"):
            self.assertTrue(any(what in line for line in printed), what)
        for what in ("TOOLKIT_WHEEL_EVENT", "can0 18FF0001#80", "set double-press 200", "set accept-input off"):
            self.assertIn(what, recording)
        self.assertEqual(2, recording.count("set accept-input on"))
        self.assertRegex(recording, r"\n\d+ end\n\Z")
        self.assertEqual(printed, self.replayed_events())

    def test_a_terminal_that_ends_in_the_middle_has_recorded_what_it_printed(self):
        self.operator("keydown", "End", "sleep", 2.2)  # long, and not released
        spin = subprocess.Popen(["xdotool", "key", "--delay", "6", *["Up"] * 150],
                                env=dict(os.environ, DISPLAY=self.display.name))
        self.addCleanup(spin.wait)
        time.sleep(0.4)
        self.assertEqual(0, self.end_by(signal.SIGTERM))
        printed = self.first_lines + self.terminal.lines_until_end()
        self.assertTrue(any("ENCODER_MOVE" in line for line in printed), printed)
        self.assertEqual(printed, self.replayed_events())

    def test_a_killed_terminal_has_recorded_at_least_what_it_printed(self):
        """The output is the beginning of the replay's output; the rest was on its way when the terminal was killed."""
        self.operator("key", "--delay", 70, "Escape", "Escape")
        spin = subprocess.Popen(["xdotool", "key", "--delay", "6", *["Up"] * 150],
                                env=dict(os.environ, DISPLAY=self.display.name))
        self.addCleanup(spin.wait)
        time.sleep(0.4)
        self.assertEqual(-signal.SIGKILL, self.end_by(signal.SIGKILL))
        printed = self.first_lines + self.terminal.lines_until_end()
        self.assertTrue(any("ENCODER_MOVE" in line for line in printed), printed)
        done = self.replay(self.file)
        self.assertEqual(0, done.returncode, done.stderr)
        self.assertEqual(printed, done.stdout.splitlines()[:len(printed)])
        recording = self.read_recording()
        self.assertNotRegex(recording, r"\d end\n")
        # Each entry is written as a whole; only a crash of the machine leaves half a line.
        self.assertTrue(recording.endswith("\n"))
        self.assertLessEqual(len(done.stdout.splitlines()) - len(printed), 20, "so much cannot have been on its way")


class Saved(RecordingTestCase):
    """What a terminal keeps is saved when the operator or another program asks for it."""

    def setUp(self):
        super().setUp()
        self.display = Display()
        self.addCleanup(self.display.close)
        self.saved = os.path.join(self.folder, "saved")
        os.mkdir(self.saved)
        self.terminal = Terminal("--keep-last", "5", "--save-to", self.saved, "--save-most", "2", "--can-bus", self.bus,
                                 display=self.display)
        self.addCleanup(self.end_terminal)
        self.operator = Operator(self.display, self.terminal).do

    def end_terminal(self):
        self.terminal.signal(signal.SIGTERM)
        self.terminal.wait()

    def files(self):
        return {os.path.join(self.saved, name) for name in os.listdir(self.saved)}

    def newest(self, before):
        """The file that is not one of those, once it is written to its end."""
        deadline = time.monotonic() + GENEROUS_SECONDS
        while time.monotonic() < deadline:
            for path in self.files() - before:
                with open(path, encoding="ascii") as file:
                    if file.read().endswith(" end\n"):
                        return path
            time.sleep(0.05)
        return self.fail("nothing was saved")

    def test_a_signal_and_ctrl_s_save_what_replays_as_it_was_printed(self):
        self.operator("key", "--delay", 70, "Escape", "Escape", "Home")
        printed = [self.terminal.lines.get(timeout=GENEROUS_SECONDS) for _ in range(6)]
        self.terminal.signal(signal.SIGUSR1)
        first = self.newest(set())
        self.assertRegex(os.path.basename(first), r"^kxterminal-\d{4}-\d\d-\d\d-\d{6}\.kxr$")
        done = self.replay(first)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertEqual(printed, done.stdout.splitlines())

        self.operator("key", "ctrl+s")
        second = self.newest({first})
        done = self.replay(second)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertEqual(printed, done.stdout.splitlines()[:6])

        self.terminal.signal(signal.SIGUSR1)
        third = self.newest({first, second})
        deadline = time.monotonic() + GENEROUS_SECONDS
        while len(self.files()) > 2 and time.monotonic() < deadline:
            time.sleep(0.05)
        self.assertEqual({second, third}, self.files())

    def test_a_save_that_fails_is_a_failure_at_the_end(self):
        os.rmdir(self.saved)
        self.terminal.signal(signal.SIGUSR1)
        self.operator("key", "Escape")
        self.terminal.lines.get(timeout=GENEROUS_SECONDS)
        self.terminal.signal(signal.SIGTERM)
        self.assertEqual(1, self.terminal.wait())


class Demo(RecordingTestCase):
    def test_the_demo_is_replayed_as_it_was_printed(self):
        done = self.run_kxterminal("--demo", "--print", "--record", self.file)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertEqual(self.printed_events(done), self.replayed_events())

    def test_a_recording_that_cannot_be_gone_on_with_is_told_and_the_terminal_goes_on(self):
        size = 4000

        def limit_files():
            # Python ignores SIGXFSZ, and with restore_signals=False the program does too: its writes fail.
            resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))

        done = self.run_kxterminal("--demo", "--print", "--record", self.file, preexec_fn=limit_files,
                                   restore_signals=False)
        self.assertEqual(1, done.returncode)
        self.assertEqual(f"KXSessionRecorder: {self.file}: File too large; the recording ends here\n", done.stderr)
        self.assertEqual(size, len(self.read_recording()))
        replay = self.replay(self.file)
        self.assertEqual(0, replay.returncode, replay.stderr)
        replayed = replay.stdout.splitlines()
        printed = self.printed_events(done)
        self.assertTrue(0 < len(replayed) < len(printed), (len(replayed), len(printed)))
        self.assertEqual(printed[:len(replayed)], replayed)


class Files(RecordingTestCase):
    def check_refused(self, done, message):
        self.assertEqual((2, ""), (done.returncode, done.stdout))
        self.assertEqual(message + "\n", done.stderr)

    def write(self, text):
        with open(self.file, "w", encoding="ascii") as file:
            file.write(text)

    def record(self, path):
        return self.run_kxterminal("--record", path, "--exit-after", "200")

    def test_a_recording_is_not_overwritten(self):
        self.write("kxrecording 1\n1000 pass\n1000 end\n")
        self.check_refused(self.record(self.file), self.file + ": the file exists and is not overwritten")
        self.assertEqual("kxrecording 1\n1000 pass\n1000 end\n", self.read_recording())

    def test_a_start_that_fails_leaves_no_recording_behind(self):
        layout = os.path.join(self.folder, "bad.keypad")
        with open(layout, "w", encoding="ascii") as file:
            file.write("key 1\n")
        done = self.run_kxterminal("--record", self.file, "--keypad", layout)
        self.check_refused(done, layout + ":1: 'code' is missing")
        self.assertFalse(os.path.exists(self.file))

    def test_an_empty_file_is_written(self):
        self.write("")
        self.assertEqual((0, ""), ((done := self.record(self.file)).returncode, done.stderr))
        self.assertRegex(self.read_recording(), r"\Akxrecording 2\n(.*\n)*\d+ end\n\Z")

    def test_a_device_that_is_full_is_told(self):
        self.check_refused(self.record("/dev/full"), "/dev/full: No space left on device")

    def test_a_file_that_cannot_be_made_is_told(self):
        missing = os.path.join(self.folder, "missing", "session.kxr")
        self.check_refused(self.record(missing), missing + ": No such file or directory")
        self.check_refused(self.record(self.folder), self.folder + ": Is a directory")
        self.write("")
        self.check_refused(self.record(self.file + "/session.kxr"), self.file + "/session.kxr: Not a directory")
        # Nobody can create a file there, not even root.
        self.check_refused(self.record("/sys/session.kxr"), "/sys/session.kxr: Permission denied")

    def play(self, path, *arguments):
        return self.run_kxterminal("--replay", path, "--exit-at-end", *arguments)

    def test_a_recording_that_is_not_there_is_told(self):
        self.check_refused(self.play(self.file), self.file + ": No such file or directory")
        done = self.play(self.folder)
        self.assertEqual((2, ""), (done.returncode, done.stdout))
        self.assertEqual(self.folder + ": Is a directory\n", done.stderr)

    def test_a_recording_that_was_lost_is_an_error(self):
        for text in ("", "\n", "kxrecording 1\n", "# a comment\n"):
            with self.subTest(text=text):
                self.write(text)
                self.check_refused(self.play(self.file), self.file + ": there is nothing to play in it")
        self.write("kxrecording 1\n1000 end\n")
        self.assertEqual((0, ""), ((done := self.play(self.file)).returncode, done.stderr))

    def test_a_part_without_any_input_ends_at_once(self):
        self.write("kxrecording 1\n1000 pass\n5000 end\n")
        for part in (("--from", "5000"), ("--from", "1s", "--to", "1s"), ("--to", "0s")):
            with self.subTest(part=part):
                done = self.play(self.file, *part)
                self.assertEqual((0, ""), (done.returncode, done.stdout))

    def test_a_part_that_is_not_in_the_recording_is_told(self):
        self.write("kxrecording 1\n1000 pass\n5000 end\n")
        self.check_refused(self.play(self.file, "--from", "5001"),
                           "kxterminal: --from: tick 5001 is not in the recording (1000 to 5000)")
        self.check_refused(self.play(self.file, "--from", "4.1s"),
                           "kxterminal: --from: 4.100 s is behind the end of the recording, at 4.000 s")
        self.check_refused(self.play(self.file, "--to", "999"),
                           "kxterminal: --to: tick 999 is not in the recording (1000 to 5000)")
        self.check_refused(self.play(self.file, "--from", "3000", "--to", "1.999s"),
                           "kxterminal: --to: tick 2999 is before --from, tick 3000")

    def test_a_bad_recording_is_told_with_its_line(self):
        lines = {"soon pass": 2, "1000 set double-press many": 2, "1000 pass\n900 pass": 3,
                 "1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=key": 2, "(1.000000) can0 18FF0001#0": 2}
        for text, line in lines.items():
            with self.subTest(text=text):
                self.write("kxrecording 1\n" + text + "\n")
                done = self.play(self.file)
                self.assertEqual((2, ""), (done.returncode, done.stdout))
                self.assertRegex(done.stderr, rf"\A{self.file}:{line}: [^\n]+\n\Z")

    def test_what_is_no_recording_is_told(self):
        for text in ("a letter\n", "kxrecording 3\n"):
            with self.subTest(text=text):
                self.write(text)
                done = self.play(self.file)
                self.assertEqual((2, ""), (done.returncode, done.stdout))
                self.assertRegex(done.stderr, rf"\A{self.file}[^\n]+\n\Z")

    def test_the_log_of_a_bus_is_for_other_programs(self):
        self.write("(1436509052.249713) can0 18FF0001#0100000000000000\n")
        self.check_refused(self.play(self.file), self.file + ": a log of a CAN bus; play it onto the bus of a "
                           "terminal with kxcan play, or with kxreplay")

    def test_a_replay_takes_no_other_input(self):
        self.write("kxrecording 1\n1000 end\n")
        other = os.path.join(self.folder, "other.kxr")
        for arguments in (("--record", other), ("--demo",), ("--keypad", other)):
            with self.subTest(arguments=arguments):
                self.check_refused(self.play(self.file, *arguments),
                                   "kxterminal: --replay takes the place of the operator: it does not go together "
                                   f"with {arguments[0]}")
        self.assertFalse(os.path.exists(other))

    def test_a_recording_without_input_is_played(self):
        self.write("kxrecording 1\n1000 end\n")
        done = self.play(self.file, "--print")
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertEqual([], self.printed_events(done))


if __name__ == "__main__":
    unittest.main()
