"""The recordings in the terminal, and the detection of differences."""

import glob
import os
import re
import subprocess
import tempfile
import unittest

KXTERMINAL, KXREPLAY = os.environ["KXTERMINAL"], os.environ["KXREPLAY"]
FOLDER = os.path.dirname(os.path.abspath(__file__))
GENEROUS_SECONDS = 120
EVENT = re.compile(r"\d+ [A-Z_]+_EVENT class=")


def read(name):
    with open(os.path.join(FOLDER, name), encoding="ascii") as file:
        return file.read().splitlines()


class InTheTerminal(unittest.TestCase):
    def check(self, name, speed):
        with tempfile.TemporaryDirectory() as folder:
            environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", XDG_RUNTIME_DIR=folder)
            done = subprocess.run(
                [KXTERMINAL, "--replay", os.path.join(FOLDER, name + ".kxr"), "--speed", str(speed),
                 "--exit-at-end", "--print"],
                env=environment, stdout=subprocess.PIPE, text=True, timeout=GENEROUS_SECONDS, check=True)
        printed = [line for line in done.stdout.splitlines() if EVENT.match(line)]
        self.assertEqual(read(name + ".expected"), printed)

    def test_double_presses_are_the_same_at_any_speed(self):
        for name in ("key-double-299", "key-double-300", "key-double-301"):
            for speed in (1, 7.5, 1000):
                with self.subTest(name=name, speed=speed):
                    self.check(name, speed)

    def test_holds_are_the_same_whether_a_pass_saw_them_or_not(self):
        for name in ("mouse-hold-2000", "mouse-hold-seen-by-pass", "mouse-hold-missed-by-pass",
                     "key-release-told-late"):
            with self.subTest(name=name):
                self.check(name, 50)

    def test_spins_are_the_same(self):
        for name in ("encoder-fast-spin", "wheel-fast", "keypad-knob-spin"):
            with self.subTest(name=name):
                self.check(name, 100)

    # The terminal gives codes to the function keys, but the recorded application did not.
    def test_only_the_keys_that_the_recording_tells_have_codes(self):
        self.check("keys-without-code", 50)

    def test_the_keys_of_recorded_frames_come_once(self):
        self.check("keypad-keys", 100)

    # The settings page sees the same keys again and must not toggle the switch a second time.
    def test_input_is_off_and_on_when_it_was_then(self):
        for name in ("input-off-by-keys", "input-off-by-touch", "input-off-key-held-through"):
            for speed in (3, 1000):
                with self.subTest(name=name, speed=speed):
                    self.check(name, speed)

    def test_settings_change_when_they_changed_then(self):
        for name in ("setting-double-press-lowered", "setting-encoder-factor"):
            for speed in (3, 1000):
                with self.subTest(name=name, speed=speed):
                    self.check(name, speed)

    def test_the_tick_may_wrap(self):
        for name in ("wrap-in-hold", "wrap-in-double-press", "wrap-in-spin"):
            with self.subTest(name=name):
                self.check(name, 20)

    def test_a_minute_of_work_is_the_same(self):
        self.check("minute", 40)


class Difference(unittest.TestCase):
    """The other tests rely on this: an expectation that is not met is reported."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def write(self, name, lines):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="ascii") as file:
            file.writelines(line + "\n" for line in lines)
        return path

    def replay(self, expected_lines, recording=None):
        recording = recording or os.path.join(FOLDER, "key-double-300.kxr")
        return subprocess.run([KXREPLAY, "--expect", self.write("expected", expected_lines), recording],
                              capture_output=True, text=True, timeout=GENEROUS_SECONDS, check=False)

    def check_told(self, done, *told):
        self.assertEqual(1, done.returncode, done.stderr)
        changed = [line for line in done.stdout.splitlines() if re.match(r"[-+]\d", line)]
        self.assertEqual(list(told), changed)

    def test_the_expectation_itself_is_met(self):
        done = self.replay(read("key-double-300.expected"))
        self.assertEqual((0, ""), (done.returncode, done.stdout))

    def test_an_altered_line_is_told(self):
        lines = read("key-double-300.expected")
        altered = lines[2].replace("KEY_DOUBLE_PRESS_EVENT", "KEY_PRESS_EVENT")
        self.check_told(self.replay([*lines[:2], altered, *lines[3:]]), "-" + altered, "+" + lines[2])

    def test_one_altered_digit_is_told(self):
        lines = read("key-double-300.expected")
        altered = str(int(lines[0].split(" ")[0]) + 1) + " " + lines[0].split(" ", 1)[1]
        self.check_told(self.replay([altered, *lines[1:]]), "-" + altered, "+" + lines[0])

    def test_a_missing_event_is_told(self):
        lines = read("key-double-300.expected")
        self.check_told(self.replay(lines[:-1]), "+" + lines[-1])

    def test_an_event_too_many_is_told(self):
        lines = read("key-double-300.expected")
        self.check_told(self.replay([*lines, lines[-1]]), "-" + lines[-1])

    def test_a_press_that_comes_a_millisecond_later_is_told(self):
        lines = read("key-double-300.kxr")
        expected = read("key-double-300.expected")
        tick = expected[2].split(" ")[0]
        later = str(int(tick) + 1)
        altered = [line.replace(f"{tick} toolkit TOOLKIT_KEY_PRESS", f"{later} toolkit TOOLKIT_KEY_PRESS")
                   .replace(f"TOOLKIT_KEY_PRESS_EVENT time={tick}", f"TOOLKIT_KEY_PRESS_EVENT time={later}")
                   for line in lines]
        self.assertNotEqual(lines, altered)
        press = expected[2].replace("DOUBLE_PRESS", "PRESS").replace(tick, later)
        self.check_told(self.replay(expected, self.write("later.kxr", altered)), "-" + expected[2], "+" + press)


class Corpus(unittest.TestCase):
    def test_every_recording_has_its_expectation_and_the_other_way_round(self):
        names = {kind: sorted(os.path.basename(path)[:-len(kind)] for path in glob.glob(f"{FOLDER}/*{kind}"))
                 for kind in (".kxr", ".expected")}
        self.assertEqual(names[".kxr"], names[".expected"])

    def test_every_recording_was_ended_and_says_what_it_shows(self):
        for path in glob.glob(f"{FOLDER}/*.kxr"):
            with self.subTest(recording=os.path.basename(path)):
                lines = read(path)
                self.assertRegex(lines[-1], r"\A\d+ end\Z")
                self.assertRegex(lines[2], r"\A# [A-Z].*\.\Z")


if __name__ == "__main__":
    unittest.main()
