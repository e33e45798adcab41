"""Switches input off and on and changes settings while the operator works."""

from gestures_keys import END, HOME, RETURN, TAB, posts, posts_and, taps
from gestures_pointer import LEFT, clicks
from positions import (ACCEPT_INPUT_SWITCH, BESIDE_EVERYTHING, DOUBLE_PRESS_MINUS, INPUT_OFF_BANNER, LONG_PRESS_MINUS,
                       RESTORE_DEFAULTS)
from stage import FIRST_KEYS, Gesture, key_frame, knob_frame

F12 = 18

# Longer than any double press, so that taps stay single.
ONE_BY_ONE = ("--delay", 350)

SWITCHED_OFF_AND_ON = ["on", "off", "on"]


def sets(name, *values):
    """Checks that exactly these values were set in this order. The first is the start value."""
    def miss(take):
        found = take.settings(name)
        return None if found == [str(value) for value in values] else f"{name} was set to {', '.join(found)}"
    return miss


def switches_off_and_on(take):
    return sets("accept-input", *SWITCHED_OFF_AND_ON)(take) or loses_input(take)


def loses_input(take):
    """Checks that the operator makes input while it is switched off."""
    switch = [i for i, entry in enumerate(take.inputs) if entry.rest.startswith("accept-input")]
    lost = [entry for entry in take.inputs[switch[1]:switch[2]] if entry.word == "toolkit"]
    return None if lost else "there was no input while it was off"


def use_everything(stage):
    stage.operator("key", "--delay", 60, "Home", "Home", "Up", "Up", "Return")
    stage.touch(BESIDE_EVERYTHING)
    stage.operator("click", 4, "sleep", 0.2, "click", 5)
    stage.play((0, key_frame(FIRST_KEYS, END)), (0.1, key_frame(FIRST_KEYS)), (0.2, knob_frame(1)))


def off_by_keys(stage):
    stage.operator("key", *ONE_BY_ONE, "F12", "Tab", "Tab", "Tab", "Tab", "Return")
    use_everything(stage)
    stage.operator("key", *ONE_BY_ONE, "F12", "Home")


def off_by_touch(stage):
    stage.operator("key", "F12", "sleep", 0.4)
    stage.touch(ACCEPT_INPUT_SWITCH)
    use_everything(stage)
    stage.touch(INPUT_OFF_BANNER)
    stage.operator("sleep", 0.4, "key", "Home")


def hold_and_switch_off(stage):
    """Presses Home before the finger leaves the switch."""
    stage.operator("key", "F12", "sleep", 0.4)
    stage.point_at(*ACCEPT_INPUT_SWITCH)
    stage.operator("mousedown", 1, "sleep", 0.1, "keydown", "Home", "sleep", 0.2, "mouseup", 1, "sleep", 2.2)


def key_held_through(stage):
    hold_and_switch_off(stage)
    stage.touch(INPUT_OFF_BANNER)
    stage.operator("sleep", 0.3, "keyup", "Home")


def key_released_meanwhile(stage):
    hold_and_switch_off(stage)
    stage.operator("keyup", "Home", "sleep", 0.2)
    stage.touch(INPUT_OFF_BANNER)
    stage.operator("sleep", 0.4, "key", "End")


TWO_TAPS = ("key", "--delay", 250, "End", "End")


def lower_double_press(stage):
    stage.operator("key", "F12", "sleep", 0.4, *TWO_TAPS)
    stage.operator("click", "--repeat", 10, "--delay", 60, 5, "sleep", 0.3, *TWO_TAPS)


def posts_before_and_after(take):
    posted = [event for event in take.posted() if not event.startswith("ENCODER")]
    expected = [*taps(F12), *taps(END), "KEY_DOUBLE_PRESS 6", "KEY_RELEASE 6", *taps(END, END)]
    return None if posted == expected else f"it made {', '.join(posted)}"


def lower_long_press(stage):
    stage.operator("key", "F12", "sleep", 0.4)
    stage.point_at(*LONG_PRESS_MINUS)
    stage.operator("mousedown", 1, "sleep", 1.6, "mouseup", 1)


def is_long_early(take):
    long_press = next(event for event in take.events if event.name == "MOUSE_LONG_PRESS_EVENT")
    early = long_press.time - take.toolkit("MOUSE_PRESS")[0].time
    return None if early < 1600 else f"it took {early} ms"


def refused_factor(stage):
    stage.operator("key", *ONE_BY_ONE, "F12", "Tab", "Tab")
    stage.operator("click", "--repeat", 21, "--delay", 40, 5, "sleep", 0.3)
    stage.operator("key", *ONE_BY_ONE, "F12")
    stage.operator("click", "--repeat", 20, "--delay", 14, 4, "sleep", 0.3)


def defaults_restored(stage):
    stage.operator("key", "F12", "sleep", 0.4)
    stage.touch(DOUBLE_PRESS_MINUS)
    stage.touch(LONG_PRESS_MINUS)
    stage.touch(RESTORE_DEFAULTS)


SETTINGS = [
    Gesture("input-off-by-keys", "Input switched off and on by keys; nothing that is done meanwhile is an event.",
            off_by_keys,
            posts_and(switches_off_and_on, *taps(F12, *[TAB] * 4, RETURN), "KEY_RELEASE 18", *taps(HOME))),
    Gesture("input-off-by-touch", "Input switched off and on by touch; nothing that is done meanwhile is an event.",
            off_by_touch, posts_and(switches_off_and_on, *taps(F12), *clicks(LEFT), *taps(HOME))),
    Gesture("input-off-key-held-through",
            "A key held while input is switched off and on again: it becomes long while it is off.",
            key_held_through,
            posts_and(switches_off_and_on, *taps(F12), "MOUSE_PRESS 1", "KEY_PRESS 1", "MOUSE_RELEASE 1",
                      "KEY_LONG_PRESS 1", "KEY_LONG_RELEASE 1", "KEY_RELEASE 1")),
    Gesture("input-off-key-released-meanwhile",
            "A key held while input is switched off, and released before it is on again: the releases are lost.",
            key_released_meanwhile,
            posts_and(switches_off_and_on, *taps(F12), "MOUSE_PRESS 1", "KEY_PRESS 1", "MOUSE_RELEASE 1",
                      "KEY_LONG_PRESS 1", *taps(END))),
    Gesture("setting-double-press-lowered",
            "The same two taps before and after the longest double press is lowered: a double press, two presses.",
            lower_double_press,
            lambda take: posts_before_and_after(take) or sets("double-press", *range(300, 199, -10))(take)),
    Gesture("setting-long-press-lowered",
            "The shortest long press lowered by a finger on its button, until the touch itself is a long press.",
            lower_long_press,
            posts_and(is_long_early, *taps(F12), "MOUSE_PRESS 1", "MOUSE_LONG_PRESS 1", "MOUSE_LONG_RELEASE 1",
                      "MOUSE_RELEASE 1")),
    Gesture("setting-encoder-factor",
            "The encoder's factor lowered to 50 and, refused, to 0 twice; then a fast turn that adds little.",
            refused_factor, sets("user-factor", *range(1000, 0, -50), 0, 0)),
    Gesture("setting-defaults", "Two durations lowered and restored.", defaults_restored,
            lambda take: sets("double-press", 300, 290, 300)(take) or sets("long-press", 2000, 1950, 2000)(take)),
]
