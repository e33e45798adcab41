"""Keys of the keyboard, and the encoder by keys and by wheel."""

from stage import Aim, Gesture

ESCAPE, HOME, TAB, RETURN, UP, DOWN, END, F1, UNKNOWN = 0, 1, 2, 3, 4, 5, 6, 7, 65535

# A key that is released within 100 ms cannot be an auto-repeat, so its release is reported at once.
SHORT = 0.06


def posts(*expected):
    """Checks that exactly these events were printed."""
    def miss(take):
        posted = take.posted()
        return None if posted == list(expected) else f"it made {', '.join(posted) or 'no events'}"
    return miss


def posts_and(also, *expected):
    return lambda take: posts(*expected)(take) or also(take)


def taps(*keys):
    return [f"KEY_{what} {key}" for key in keys for what in ("PRESS", "RELEASE")]


def holds(key):
    return [f"KEY_{what} {key}" for what in ("PRESS", "LONG_PRESS", "LONG_RELEASE", "RELEASE")]


def operator(*arguments):
    return lambda stage: stage.operator(*arguments)


def aimed(name, shows, goal_ms, make, measure, miss):
    """A gesture with two inputs that must be recorded this many ms apart."""
    aim = Aim(goal_ms)
    asked = []

    def make_aimed(stage):
        asked.append(aim.seconds())
        make(stage, asked[-1])

    def miss_aimed(take):
        measured = measure(take)
        if measured is None:
            return "the gesture is not in the recording"
        return None if aim.hit(asked[-1], measured) else f"{measured} ms instead of {goal_ms}"
    return Gesture(name, shows, make_aimed, lambda take: miss_aimed(take) or miss(take),
                   tries=200)


def between_first_two(event_type):
    def measure(take):
        found = take.toolkit(event_type)
        return found[1].time - found[0].time if len(found) >= 2 else None
    return measure


def double_press(gap_ms, shows, second):
    def make(stage, seconds):
        stage.operator("keydown", "Escape", "sleep", SHORT, "keyup", "Escape", "sleep", float(seconds) - SHORT,
                       "keydown", "Escape", "sleep", SHORT, "keyup", "Escape")
    return aimed(f"key-double-{gap_ms}", shows, gap_ms, make, between_first_two("KEY_PRESS"),
                 posts("KEY_PRESS 0", "KEY_RELEASE 0", f"{second} 0", "KEY_RELEASE 0"))


def release_told_late(take):
    press, release = take.toolkit("KEY_PRESS")[0], take.toolkit("KEY_RELEASE")[0]
    return None if release.time - press.time < 2000 <= release.tick - press.time else "the release came in time"


def repeats(take):
    return None if len(take.toolkit("KEY_AUTO_REPEAT_PRESS")) >= 5 else "the keyboard has not repeated the key"


def singly(count):
    return [f"ENCODER_MOVE {UP} x1"] * count


def is_spin(detents, fastest_value):
    """Checks that no step is lost and that the spin was fast."""
    def miss(take):
        if sum(event.count for event in take.events) != detents or len(take.events) == detents:
            return f"it made {', '.join(take.posted())}"
        return None if max(event.value for event in take.events) >= fastest_value else "it was too slow"
    return miss


def bundled(take):
    posted = take.posted()
    return None if posted == [f"ENCODER_MOVE {UP} x1", f"ENCODER_MOVE {UP} x4"] else f"it made {', '.join(posted)}"


KEYS = [
    Gesture("key-taps", "Taps of several keys; one of them has no mapping, and Up is a step of the encoder.",
            operator("key", "--delay", 150, "Escape", "Home", "Tab", "Return", "End", "F1", "Insert", "Up"),
            posts(*taps(ESCAPE, HOME, TAB, RETURN, END, F1, UNKNOWN), *singly(1))),
    double_press(299, "Pressed again after 299 ms: a double press.", "KEY_DOUBLE_PRESS"),
    double_press(300, "Pressed again after 300 ms: a double press still.", "KEY_DOUBLE_PRESS"),
    double_press(301, "Pressed again after 301 ms: two presses.", "KEY_PRESS"),
    Gesture("key-triple", "Three quick taps: a press and two double presses.",
            operator("key", "--delay", 120, "Home", "Home", "Home"),
            posts("KEY_PRESS 1", "KEY_RELEASE 1", *["KEY_DOUBLE_PRESS 1", "KEY_RELEASE 1"] * 2)),
    Gesture("two-keys-quick", "Two different keys one right after the other: no double press.",
            operator("key", "--delay", 60, "Escape", "Home", "Escape"), posts(*taps(ESCAPE, HOME, ESCAPE))),
    Gesture("key-hold", "A key held for more than two seconds, which the keyboard repeats.",
            operator("keydown", "End", "sleep", 2.4, "keyup", "End"), posts_and(repeats, *holds(END))),
    Gesture("key-auto-repeat", "A key held for less than the long press, with auto-repeat: a press and a release.",
            operator("keydown", "Home", "sleep", 1.5, "keyup", "Home"), posts_and(repeats, *taps(HOME))),
    Gesture("key-release-told-late",
            "A key released before it is long, but by its own time only: the release is held back for a moment, "
            "as it may be an auto-repeat, and a pass recognises the long press meanwhile.",
            operator("keydown", "End", "sleep", 1.985, "keyup", "End"),
            posts_and(release_told_late, *holds(END)), tries=40),
    Gesture("long-after-double", "The second of two quick presses is held: a double press and a long press.",
            operator("key", "--delay", 60, "Escape", "keydown", "Escape", "sleep", 2.4, "keyup", "Escape"),
            posts(*taps(ESCAPE), "KEY_DOUBLE_PRESS 0", "KEY_LONG_PRESS 0", "KEY_LONG_RELEASE 0", "KEY_RELEASE 0")),
    Gesture("chord-later-key-long", "A second key while the first is held: only the second becomes long.",
            operator("keydown", "Escape", "sleep", 0.5, "keydown", "Home", "sleep", 2.4, "keyup", "Home", "sleep",
                     0.3, "keyup", "Escape"),
            posts("KEY_PRESS 0", *holds(HOME), "KEY_RELEASE 0")),
    Gesture("chord-other-released", "Of two keys the first is released: the second becomes long all the same.",
            operator("keydown", "Escape", "sleep", 0.5, "keydown", "Home", "sleep", 0.5, "keyup", "Escape",
                     "sleep", 1.9, "keyup", "Home"),
            posts("KEY_PRESS 0", "KEY_PRESS 1", "KEY_RELEASE 0", *holds(HOME)[1:])),
]

ENCODER = [
    Gesture("encoder-single-step", "One step of the encoder.", operator("key", "Up"), posts(*singly(1))),
    Gesture("encoder-five-steps", "Five quick steps: the first by itself, then a bundle of four.",
            operator("key", "--delay", 6, "Up", "Up", "Up", "Up", "Up"), bundled),
    Gesture("encoder-reversal-in-bundle", "Three steps up and one down: it cancels one of the bundle.",
            operator("key", "--delay", 6, "Up", "Up", "Up", "Down"), posts(*singly(2))),
    Gesture("encoder-reversal-after-one", "A step up and at once one down: the bundle closes, the second is lost.",
            operator("key", "--delay", 6, "Up", "Down"), posts(*singly(1))),
    Gesture("encoder-fast-spin", "Sixty steps as fast as the hand can: bundles whose value grows.",
            operator("key", "--delay", 8, *["Up"] * 60), is_spin(60, 1000)),
    Gesture("encoder-slow-turn", "Six steps with a rest behind each: each counts one.",
            operator("key", "--delay", 250, *["Down"] * 6), posts(*[f"ENCODER_MOVE {DOWN} x1"] * 6)),
    Gesture("encoder-return-closes-bundle", "Return sends the steps that wait before itself.",
            operator("key", "--delay", 6, "Down", "Down", "Down", "Return", "Down"),
            posts(f"ENCODER_MOVE {DOWN} x1", f"ENCODER_MOVE {DOWN} x2", "KEY_PRESS 3", "KEY_RELEASE 3",
                  f"ENCODER_MOVE {DOWN} x1")),
]


def wraps_within(first_type, last_type):
    """Checks that the tick wraps between two inputs."""
    def miss(take):
        first, last = take.toolkit(first_type), take.toolkit(last_type)
        if not first or not last:
            return "the gesture is not in the recording"
        return None if last[-1].time < first[0].time else "the tick has not wrapped within it"
    return miss


def across_wrap(seconds_before, *arguments):
    def make(stage):
        stage.wait_until_wrap(seconds_before)
        stage.operator(*arguments)
    return make


def spins_across_wrap(take):
    times = [event.time for event in take.events]
    if sum(later < earlier for earlier, later in zip(times, times[1:])) != 1:
        return "the tick has not wrapped within it"
    return is_spin(60, 1000)(take)


WRAPS = [
    Gesture("wrap-in-hold", "The 32-bit tick begins again while a key is held.",
            across_wrap(1.2, "keydown", "End", "sleep", 2.4, "keyup", "End"),
            posts_and(wraps_within("KEY_PRESS", "KEY_RELEASE"), *holds(END)), wraps_after=5),
    Gesture("wrap-in-double-press", "The 32-bit tick begins again between the two presses of a double press.",
            across_wrap(0.12, "key", "--delay", 200, "Escape", "Escape"),
            posts_and(wraps_within("KEY_PRESS", "KEY_PRESS"), *taps(ESCAPE), "KEY_DOUBLE_PRESS 0",
                      "KEY_RELEASE 0"), wraps_after=5),
    Gesture("wrap-in-slow-presses", "The 32-bit tick begins again between two presses that make no double press.",
            across_wrap(0.3, "key", "Escape", "sleep", 0.5, "key", "Escape"),
            posts_and(wraps_within("KEY_PRESS", "KEY_PRESS"), *taps(ESCAPE, ESCAPE)), wraps_after=5),
    Gesture("wrap-in-spin", "The 32-bit tick begins again while the encoder is spun.",
            across_wrap(0.25, "key", "--delay", 8, *["Up"] * 60), spins_across_wrap, wraps_after=5),
]
