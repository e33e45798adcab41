"""Keys and knob of the keypad. Their frames come over the bus."""

import os

from gestures_keys import DOWN, END, ESCAPE, HOME, UP, holds, posts, posts_and, taps, wraps_within
from positions import KEYPAD_KEYS, KNOB
from stage import FIRST_KEYS, KEY_BITS, SECOND_KEYS, Gesture, key_frame, knob_frame

SMALL_KEYPAD = os.path.join(os.path.dirname(os.path.abspath(__file__)), "small.keypad")
F1, F2, F3, F8, F9 = 7, 8, 9, 14, 15


def step(key, count=1):
    return f"ENCODER_MOVE {key} x{count}"


def frames(*timed_frames):
    return lambda stage: stage.play(*timed_frames)


def frames_every(seconds, *some_frames):
    return frames(*[(seconds * number, frame) for number, frame in enumerate(some_frames)])


def each_key_pressed():
    pressed_and_released = []
    for key, (identifier, _, _) in KEY_BITS.items():
        pressed_and_released += [key_frame(identifier, key), key_frame(identifier)]
    return frames_every(0.12, *pressed_and_released)


def all_keys():
    events = []
    for key in KEY_BITS:
        events += [step(key)] if key in (UP, DOWN) else taps(key)
    return events


def spin(stage):
    stage.play(*[(0.008 * number, knob_frame(number)) for number in range(1, 51)])


def is_spin(take):
    if sum(event.count for event in take.events) != 50 or len(take.events) == 50:
        return f"it made {', '.join(take.posted())}"
    return None if max(event.value for event in take.events) >= 500 else "it was too slow"


def touch_keypad(stage):
    stage.point_at(*KEYPAD_KEYS[0])
    stage.operator("mousedown", 1, "sleep", 2.4, "mouseup", 1)
    stage.touch(KEYPAD_KEYS[8])
    stage.point_at(*KNOB)
    stage.operator("click", "--repeat", 3, "--delay", 400, 5)


def keys_without_focus(stage):
    no_window = 0
    stage.operator("windowfocus", no_window, "sleep", 0.2)
    stage.play((0, key_frame(FIRST_KEYS, END)), (0.1, key_frame(FIRST_KEYS)), (0.2, knob_frame(1)),
               (0.4, knob_frame(2)))
    stage.operator("windowfocus", stage.window, "sleep", 0.3)
    stage.play((0, key_frame(FIRST_KEYS, HOME)), (0.1, key_frame(FIRST_KEYS)), (0.2, knob_frame(1)))


def holds_across_wrap(stage):
    stage.wait_until_wrap(1.2)
    stage.play((0, key_frame(FIRST_KEYS, END)), (0.9, knob_frame(1)), (1.5, knob_frame(2)),
               (2.5, key_frame(FIRST_KEYS)))


def small_frame(position):
    return f"1CFE0A01#00{position:02X}0000"


KEYPAD = [
    Gesture("keypad-keys", "Each key of the keypad, pressed and released.", each_key_pressed(),
            posts(*all_keys())),
    Gesture("keypad-bits-in-one-frame", "Three keys go down in one frame; two of them and then the last go up.",
            frames((0, key_frame(SECOND_KEYS, F1, F2, F8)), (0.2, key_frame(SECOND_KEYS, F2)),
                   (0.5, key_frame(SECOND_KEYS))),
            posts("KEY_PRESS 7", "KEY_PRESS 8", "KEY_PRESS 14", "KEY_RELEASE 7", "KEY_RELEASE 14",
                  "KEY_RELEASE 8")),
    Gesture("keypad-double", "Two frames with a key, 180 ms apart: a double press.",
            frames((0, key_frame(FIRST_KEYS, HOME)), (0.06, key_frame(FIRST_KEYS)),
                   (0.18, key_frame(FIRST_KEYS, HOME)), (0.24, key_frame(FIRST_KEYS))),
            posts(*taps(HOME), "KEY_DOUBLE_PRESS 1", "KEY_RELEASE 1")),
    Gesture("keypad-long-press",
            "A key of the keypad held for more than two seconds, which says so again and again.",
            frames(*[(0.2 * number, key_frame(FIRST_KEYS, END)) for number in range(13)],
                   (2.5, key_frame(FIRST_KEYS))),
            posts(*holds(END))),
    Gesture("keypad-knob-wraps", "The knob turned down from 0 and up again, across the end of its 16 bits.",
            frames_every(0.15, *map(knob_frame, (0xFFFF, 0xFFFE, 0xFFFF, 0, 1, 0, 0xFFFF))),
            posts(*map(step, (DOWN, DOWN, UP, UP, UP, DOWN, DOWN)))),
    Gesture("keypad-knob-leaps",
            "Frames in which the knob has gone on by several steps: a move each, however far it went. Only ten steps "
            "across the end of its 16 bits are taken for what they are, so the last but one looks like a way up.",
            frames_every(0.15, *map(knob_frame, (5, 3, 40, 39, 0xFFFA, 4))),
            posts(*map(step, (UP, DOWN, UP, DOWN, UP, UP)))),
    Gesture("keypad-knob-spin", "Fifty frames of the knob as fast as it sends them.", spin, is_spin),
    Gesture("keypad-small-mask", "Another layout: a knob of 8 bits, turned across its end both ways, and one key.",
            frames((0, small_frame(0xFF)), (0.15, small_frame(0xF8)), (0.3, small_frame(0xFF)),
                   (0.45, small_frame(2)), (0.6, "1CFE0A00#20"), (0.7, "1CFE0A00#00"), (0.85, small_frame(3)),
                   (1.0, "1CFE0A00#0000000000000000")),
            posts(*map(step, (DOWN, DOWN, UP, UP)), *taps(F3), step(UP)), arguments=("--keypad", SMALL_KEYPAD)),
    Gesture("keypad-key-and-knob", "The knob turned while a key is held: both come out, and the key becomes long.",
            frames((0, key_frame(FIRST_KEYS, ESCAPE)), (0.4, knob_frame(1)), (0.6, knob_frame(2)),
                   (0.8, knob_frame(3)), (2.5, key_frame(FIRST_KEYS)), (2.8, knob_frame(2))),
            posts("KEY_PRESS 0", *[step(UP)] * 3, *holds(ESCAPE)[1:], step(DOWN))),
    Gesture("keypad-foreign-frames", "Frames that mean nothing to the keypad, between those of a tap.",
            frames((0, "18FF0004#FFFFFFFFFFFFFFFF"), (0.1, key_frame(FIRST_KEYS, END)), (0.15, "123#FF"),
                   (0.2, key_frame(FIRST_KEYS)), (0.3, "18FF0001#00")),
            posts(*taps(END))),
    Gesture("keypad-without-focus",
            "A key and the knob while the window is not active, which are lost; then a key and the knob turned back.",
            keys_without_focus, posts(*taps(HOME), step(DOWN))),
    Gesture("wrap-in-keypad-hold",
            "The 32-bit tick begins again while a key of the keypad is held and the knob turned.",
            holds_across_wrap,
            posts_and(wraps_within("KEY_PRESS", "KEY_RELEASE"), "KEY_PRESS 6", step(UP), step(UP), *holds(END)[1:]),
            wraps_after=5),
    Gesture("keypad-touched", "The keypad of the window, touched: a long press, a tap and the knob.", touch_keypad,
            posts(*holds(ESCAPE), *taps(F1), *[step(DOWN)] * 3)),
]
