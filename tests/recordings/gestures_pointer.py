"""Mouse buttons, touches and the wheel."""

from gestures_keys import DOWN, UP, aimed, between_first_two, operator, posts, posts_and
from positions import BESIDE_EVERYTHING
from stage import OUTSIDE, Gesture

LEFT, RIGHT, MIDDLE_BUTTON = 1, 2, 4


def clicks(*buttons):
    return [f"MOUSE_{what} {button}" for button in buttons for what in ("PRESS", "RELEASE")]


MOUSE_HOLD = ["MOUSE_PRESS 1", "MOUSE_LONG_PRESS 1", "MOUSE_LONG_RELEASE 1", "MOUSE_RELEASE 1"]


def hold_ms(take):
    press, release = take.toolkit("MOUSE_PRESS"), take.toolkit("MOUSE_RELEASE")
    return release[0].time - press[0].time if press and release else None


def hold(held_ms, shows):
    """Held for exactly this time, without a pass in its last millisecond: the long press is not detected."""
    def make(stage, seconds):
        stage.operator("mousedown", 1, "sleep", seconds, "mouseup", 1)
    return aimed(f"mouse-hold-{held_ms}", shows, held_ms, make, hold_ms, posts(*clicks(LEFT)))


def lasts_about(goal_ms):
    def miss(take):
        held = hold_ms(take)
        return None if held and abs(held - goal_ms) <= 8 else f"it lasted {held} ms"
    return miss


def double_click(gap_ms, shows, second):
    def make(stage, seconds):
        stage.operator("mousedown", 1, "sleep", 0.06, "mouseup", 1, "sleep", float(seconds) - 0.06,
                       "mousedown", 1, "sleep", 0.06, "mouseup", 1)
    return aimed(f"mouse-double-{gap_ms}", shows, gap_ms, make, between_first_two("MOUSE_PRESS"),
                 posts("MOUSE_PRESS 1", "MOUSE_RELEASE 1", f"{second} 1", "MOUSE_RELEASE 1"))


def escapes(*expected):
    """Checks that exactly these events were printed, apart from moves on the way out."""
    def miss(take):
        posted = [event for event in take.posted() if not event.startswith("MOUSE_MOVE")]
        return None if posted == list(expected) else f"it made {', '.join(posted)}"
    return miss


def turns(*keys):
    """Checks that these detents were reported one by one."""
    return posts(*[f"ENCODER_MOVE {key} x1" for key in keys])


def grows(take):
    values = [event.value for event in take.events]
    return None if values[0] == 1 and max(values) > 100 else f"the values were {values}"


def moves(take):
    posted = take.posted()
    if posted[0] != "MOUSE_PRESS 1" or posted[-1] != "MOUSE_RELEASE 1" or len(posted) < 5:
        return f"it made {', '.join(posted)}"
    return None if set(posted[1:-1]) == {"MOUSE_MOVE 1"} else f"it made {', '.join(posted)}"


def has_turn_of_two(take):
    return None if any("count=2" in turn.rest for turn in take.toolkit("WHEEL")) else "each turn was of one detent"


def loses_focus(stage):
    """Another program takes the keyboard focus while a key and a button are down."""
    no_window = 0
    stage.operator("keydown", "Home", "sleep", 0.3, "mousedown", 1, "sleep", 0.3, "windowfocus", no_window, "sleep",
                   0.3, "keyup", "Home", "mouseup", 1)


A_LITTLE_LONGER = ("mousedown", 1, "sleep", 2.05, "mouseup", 1)

POINTER = [
    Gesture("mouse-buttons", "Clicks of the left, the right and the middle button.",
            operator("click", 1, "sleep", 0.1, "click", 3, "sleep", 0.1, "click", 2),
            posts(*clicks(LEFT, RIGHT, MIDDLE_BUTTON))),
    Gesture("mouse-double", "Three quick clicks: a press and two double presses.",
            operator("click", "--repeat", 3, "--delay", 100, 1),
            posts(*clicks(LEFT), *["MOUSE_DOUBLE_PRESS 1", "MOUSE_RELEASE 1"] * 2)),
    double_click(300, "Clicked again after 300 ms: a double press still.", "MOUSE_DOUBLE_PRESS"),
    double_click(301, "Clicked again after 301 ms: two presses.", "MOUSE_PRESS"),
    Gesture("mouse-two-buttons-quick", "Two buttons one right after the other: no double press.",
            operator("click", 1, "sleep", 0.08, "click", 3), posts(*clicks(LEFT, RIGHT))),
    Gesture("mouse-hold", "A button held for more than two seconds.",
            operator("mousedown", 1, "sleep", 2.4, "mouseup", 1), posts(*MOUSE_HOLD)),
    hold(1999, "A button held for 1999 ms: not long."),
    hold(2000, "A button held for 2000 ms, but no pass came upon it by then: not long."),
    hold(2001, "A button held for 2001 ms, but no pass came upon it by then: not long."),
    Gesture("mouse-hold-seen-by-pass", "A button held for some 2050 ms, with a pass from 2000 ms on: long.",
            operator(*A_LITTLE_LONGER), posts_and(lasts_about(2050), *MOUSE_HOLD), tries=40),
    Gesture("mouse-hold-missed-by-pass", "A button held for some 2050 ms, with no pass from 2000 ms on: not long.",
            operator(*A_LITTLE_LONGER), posts_and(lasts_about(2050), *clicks(LEFT)), tries=40),
    Gesture("mouse-escape", "A button released outside the window.",
            operator("mousedown", 1, "mousemove", *OUTSIDE, "mouseup", 1),
            escapes("MOUSE_PRESS 1", "MOUSE_ESCAPE 1")),
    Gesture("mouse-hold-then-escape", "A held button released outside the window: no long release.",
            operator("mousedown", 1, "sleep", 2.4, "mousemove", *OUTSIDE, "mouseup", 1),
            escapes("MOUSE_PRESS 1", "MOUSE_LONG_PRESS 1", "MOUSE_ESCAPE 1")),
    Gesture("mouse-drag", "Moves while a button is down.",
            operator("mousedown", 1, *["sleep", 0.08, "mousemove_relative", "--", -15, 4] * 6, "mouseup", 1,
                     "mousemove", *BESIDE_EVERYTHING), moves),
    Gesture("focus-lost", "A key and a button are down when the window stops being active: release and escape.",
            loses_focus, posts("KEY_PRESS 1", "MOUSE_PRESS 1", "MOUSE_ESCAPE 1", "KEY_RELEASE 1")),
    Gesture("wheel-slow", "Detents of the wheel with rests between them.",
            operator("click", "--repeat", 3, "--delay", 400, 4, "click", "--repeat", 2, "--delay", 400, 5),
            turns(UP, UP, UP, DOWN, DOWN)),
    Gesture("wheel-fast", "Thirty detents of the wheel, each accelerated by itself and none bundled.",
            operator("click", "--repeat", 30, "--delay", 7, 4),
            lambda take: turns(*[UP] * 30)(take) or grows(take)),
    Gesture("wheel-back-and-forth", "Quick detents of the wheel in both directions: none cancels another.",
            operator(*["click", "--repeat", 4, "--delay", 20, 4, "click", "--repeat", 4, "--delay", 20, 5] * 2),
            turns(*[*[UP] * 4, *[DOWN] * 4] * 2)),
    Gesture("wheel-two-at-once", "The demo of the terminal, which turns the wheel by two detents at once.",
            lambda stage: stage.terminal.wait(), has_turn_of_two, arguments=("--demo",)),
]
