"""A minute of work: an implement is unfolded, lowered, adjusted, watched, lifted and folded again."""

import random

from gestures_keys import END, ESCAPE, HOME, RETURN
from positions import ACCEPT_INPUT_SWITCH, BESIDE_EVERYTHING, KNOB, SOFT_KEYS
from stage import FIRST_KEYS, OUTSIDE, SECOND_KEYS, WRAP, Gesture, key_frame, knob_frame

START, STOP, LIFT, LOWER, FOLD, RATE, LIGHTS, MENU = SOFT_KEYS
F3, F4 = 9, 10


class Hand:
    """Works at the varying pace of a person and knows the position of the knob."""

    def __init__(self, stage):
        self.stage = stage
        self.chance = random.Random(60)
        self.position = 0

    def waits(self, seconds):
        self.stage.operator("sleep", f"{seconds * self.chance.uniform(0.85, 1.15):.3f}")

    def touches(self, key):
        self.stage.point_at(*key)
        self.stage.operator("mousedown", 1, "sleep", f"{self.chance.uniform(0.07, 0.13):.3f}", "mouseup", 1)
        self.waits(0.7)

    def types(self, *keys):
        for key in keys:
            self.stage.operator("keydown", key, "sleep", f"{self.chance.uniform(0.06, 0.09):.3f}", "keyup", key)
            self.waits(0.45)

    def turns_knob(self, direction, *gaps_ms):
        """Turns the keypad's knob by frames."""
        seconds, frames = 0.0, []
        for gap in gaps_ms:
            self.position = (self.position + direction) & 0xFFFF
            frames.append((seconds, knob_frame(self.position)))
            seconds += gap * self.chance.uniform(0.9, 1.1) / 1000
        self.stage.play(*frames)


def sets_out(hand):
    for key in (FOLD, LOWER, START, RATE):
        hand.touches(key)


def adjusts_rate(hand):
    hand.turns_knob(1, *[220] * 5, *range(90, 8, -3), *[12] * 20, *range(15, 120, 15))
    hand.waits(0.4)
    hand.turns_knob(-1, 240, 200, 180)
    hand.stage.play((0.3, key_frame(FIRST_KEYS, RETURN)), (0.4, key_frame(FIRST_KEYS)))
    hand.waits(0.5)


def switches_lights(hand):
    hand.stage.point_at(*LIGHTS)
    hand.stage.operator("mousedown", 1, "sleep", 2.35, "mouseup", 1)
    hand.waits(0.6)
    hand.types("Home", "Tab")
    hand.stage.operator("key", "--delay", 90, "Escape", "Escape")
    hand.waits(0.6)


def watches_time_line(hand):
    hand.types("F11")
    hand.stage.point_at(*BESIDE_EVERYTHING)
    hand.stage.operator("click", 4, "sleep", 0.3, "click", 4, "sleep", 0.35, "click", 5, "sleep", 0.4)
    hand.types("End", "F1")
    hand.stage.operator("keydown", "Home", "sleep", 0.4, "keydown", "End", "sleep", 2.3, "keyup", "End", "sleep",
                        0.2, "keyup", "Home")
    hand.waits(0.6)


def moves_both_wings(hand):
    """Holds two keys of the keypad at once, and turns the knob meanwhile."""
    hand.stage.play((0, key_frame(SECOND_KEYS, F3, F4)), (0.5, key_frame(SECOND_KEYS, F4)))
    hand.turns_knob(1, 300, 260, 240, 250, 300, 250, 250)
    hand.stage.play((0, key_frame(SECOND_KEYS)), (0.7, key_frame(FIRST_KEYS, HOME)), (0.78, key_frame(FIRST_KEYS)),
                    (0.95, key_frame(FIRST_KEYS, HOME)), (1.03, key_frame(FIRST_KEYS)))
    hand.waits(0.6)


def seeks_on_encoder(hand):
    hand.types("F11")
    hand.stage.point_at(*BESIDE_EVERYTHING)
    hand.stage.operator("key", "--delay", 9, *["Up"] * 45, "sleep", 0.5)
    hand.stage.operator("click", "--repeat", 3, "--delay", 180, 4, "click", "--repeat", 14, "--delay", 12, 4,
                        "sleep", 0.4, "click", "--repeat", 2, "--delay", 240, 5)
    hand.stage.operator("key", "--delay", 40, "Down", "Down", "Down", "sleep", 0.2, "key", "Return")
    hand.waits(0.6)


def takes_double_press_shorter(hand):
    hand.types("F12")
    hand.stage.operator("key", "--delay", 160, "Down", "Down", "Down", "Down", "Down", "sleep", 0.3)
    hand.types("F12")
    hand.stage.operator("key", "--delay", 280, "End", "End", "sleep", 0.5)


def wipes_screen(hand):
    """Switches input off, so that nothing moves."""
    hand.types("F12")
    hand.touches(ACCEPT_INPUT_SWITCH)
    hand.stage.point_at(*FOLD)
    hand.stage.operator("mousedown", 1, *["sleep", 0.1, "mousemove_relative", "--", -40, 6] * 6, "mouseup", 1)
    hand.waits(0.3)
    hand.types("F12", "F12")


def turns_knob_of_window(hand):
    hand.stage.point_at(*KNOB)
    hand.stage.operator("click", "--repeat", 4, "--delay", 90, 5, "sleep", 0.3, "click", "--repeat", 9, "--delay",
                        25, 5)
    hand.waits(0.5)
    hand.stage.point_at(*STOP)
    hand.stage.operator("mousedown", 1, "sleep", 0.3, "mousemove", *OUTSIDE, "sleep", 0.1, "mouseup", 1)
    hand.waits(0.7)


def comes_home(hand):
    for key in (STOP, LIFT, FOLD):
        hand.touches(key)
    hand.stage.operator("click", "--repeat", 2, "--delay", 130, 1)  # folds it by mistake and undoes that at once
    hand.waits(0.6)
    hand.types("F10")
    hand.stage.operator("key", "--delay", 100, "Home", "Home", "Home", "sleep", 0.6)
    hand.turns_knob(-1, *[260] * 4, *range(70, 14, -4), *range(14, 90, 8))
    hand.types("Return", "F2")
    hand.stage.operator("keydown", "End", "sleep", 2.3, "keyup", "End")
    hand.touches(MENU)


def work(stage):
    hand = Hand(stage)
    for part in (sets_out, adjusts_rate, switches_lights, watches_time_line, moves_both_wings, seeks_on_encoder,
                 takes_double_press_shorter, wipes_screen, turns_knob_of_window, adjusts_rate, comes_home):
        part(hand)
        hand.waits(1)  # and watches the result


EVERY_KIND = {f"{device}_{what}" for device in ("KEY", "MOUSE")
              for what in ("PRESS", "DOUBLE_PRESS", "LONG_PRESS", "LONG_RELEASE", "RELEASE")} | {
                  "MOUSE_ESCAPE", "ENCODER_MOVE"}


def is_varied_work(take):
    missing = EVERY_KIND - {event.split(" ")[0] for event in take.posted()}
    if missing:
        return f"there was no {', '.join(sorted(missing))}"
    # The result must be as intended: a slow machine makes long presses of short ones.
    long_ones = [event for event in take.posted() if event.startswith(("KEY_LONG_PRESS", "MOUSE_LONG_PRESS"))]
    doubles = [event for event in take.posted() if "DOUBLE" in event]
    expected = ["MOUSE_LONG_PRESS 1", f"KEY_LONG_PRESS {END}", f"KEY_LONG_PRESS {END}"]
    if [event for event in long_ones if not event.endswith(f" {F4}")] != expected:
        return f"it made {', '.join(long_ones)}"
    if doubles != [f"KEY_DOUBLE_PRESS {key}" for key in (ESCAPE, HOME)] + ["MOUSE_DOUBLE_PRESS 1"] + [
            f"KEY_DOUBLE_PRESS {HOME}"] * 2:
        return f"it made {', '.join(doubles)}"
    if take.settings("accept-input") != ["on", "off", "on"]:
        return "input was not switched off and on"
    seconds = (take.inputs[-1].tick - take.inputs[0].tick) % WRAP / 1000
    return None if 55 <= seconds <= 75 else f"it took {seconds} s"


MINUTE = [Gesture("minute", "A minute of an operator's work, with everything that there is.", work, is_varied_work)]
