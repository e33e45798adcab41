"""What an operator does at the window, and the classified events that result."""

import unittest

from kxterminal_session import ATTEMPTS, DOUBLE_PRESS_MS, OperatorTestCase

ESCAPE, RETURN, UP, DOWN, END = 0, 3, 4, 5, 6
NOT_MAPPED = 65535
LEFT, RIGHT = 1, 2

LONG_PRESS_MS = 2000

# The worker thread detects a long press in one of its passes. They come every 100 ms, on a busy machine later.
LONG_PRESS_RECOGNISED_MS = LONG_PRESS_MS + 1000


def accelerated(steps):
    """The values of encoder steps after a rest. Steps are given as time and count."""
    speed_table = [(2, 4096), (8, 1024), (12, 256), (20, 64), (35, 16), (55, 4), (100, 1)]
    longest_gap = 200
    smoothed_gap, increment, last_time = None, None, None
    values = []
    for time, count in steps:
        if time == last_time:
            values.append(0)  # without time there is no speed
            continue
        gap = longest_gap + 1 if last_time is None else (time - last_time) // count
        if gap <= longest_gap:
            smoothed_gap = (gap + smoothed_gap) // 2
        else:
            smoothed_gap, increment = longest_gap, 1
        target = next((faster for slowest, faster in speed_table if slowest > smoothed_gap), 1)
        increment = max(1, (increment * 100 + target * count * 900) // 1000)
        last_time = time
        values.append(increment)
    return values


class Keys(OperatorTestCase):
    def test_a_tap_is_a_press_and_a_release(self):
        self.operator("key", "End")
        events = self.terminal.events_until_quiet(2)
        self.check(events, ("KEY_PRESS_EVENT", END), ("KEY_RELEASE_EVENT", END))
        for event in events:
            self.assertEqual(3, event.event_class)
            self.assertEqual(0x1000011, event.os_key)
            self.assertEqual((0, -1, (0, 0, 0, 0)), (event.value, event.count, event.data))
        self.assertLessEqual(events[0].time, events[1].time)

    def test_a_key_without_mapping_says_so_and_keeps_its_toolkit_key(self):
        self.operator("key", "Insert")
        events = self.terminal.events_until_quiet(2)
        self.check(events, ("KEY_PRESS_EVENT", NOT_MAPPED), ("KEY_RELEASE_EVENT", NOT_MAPPED))
        self.assertEqual([0x1000006] * 2, [event.os_key for event in events])

    def test_every_key_that_could_move_the_focus_is_reported_once(self):
        self.operator("key", "--delay", 40, "Tab", "Return", "Home", "space")
        events = self.terminal.events_until_quiet(8)
        keys = [2, RETURN, 1, NOT_MAPPED]
        self.check(events, *[(name, key) for key in keys for name in ("KEY_PRESS_EVENT", "KEY_RELEASE_EVENT")])

    def test_two_quick_taps_are_a_press_and_a_double_press(self):
        self.check_double_press(ESCAPE, "key", "--delay", 60, "Escape", "Escape")

    def test_two_slow_taps_are_two_presses(self):
        self.operator("key", "Escape", "sleep", 1, "key", "Escape")
        events = self.terminal.events_until_quiet(4)
        self.check(events, *[("KEY_PRESS_EVENT", ESCAPE), ("KEY_RELEASE_EVENT", ESCAPE)] * 2)

    def test_a_held_key_is_a_long_press_without_auto_repeat(self):
        events = self.hold(("keydown", "End"), ("keyup", "End"))
        self.check(events, ("KEY_PRESS_EVENT", END), ("KEY_LONG_PRESS_EVENT", END), ("KEY_LONG_RELEASE_EVENT", END),
                   ("KEY_RELEASE_EVENT", END))
        press, long_press, long_release, release = (event.time for event in events)
        self.assertTrue(LONG_PRESS_MS <= long_press - press <= LONG_PRESS_RECOGNISED_MS, (press, long_press))
        self.assertEqual(long_press, long_release, "the long release tells when the long press was recognised")
        self.assertGreaterEqual(release, long_press)

    def test_five_quick_up_keys_are_one_step_and_a_bundle_of_four(self):
        for _ in range(ATTEMPTS):
            self.operator("key", "--delay", 6, "Up", "Up", "Up", "Up", "Up")
            events = self.terminal.events_until_quiet(2)
            self.check(events, *[("ENCODER_MOVE_EVENT", UP)] * len(events))
            counts = [event.count for event in events]
            # On any machine the first step stands alone, and no step is lost or counted twice.
            self.assertEqual((1, 1), (events[0].count, events[0].value))
            self.assertEqual(5, sum(counts), counts)
            self.assertEqual([0x1000013] * len(events), [event.os_key for event in events])
            if counts == [1, 4]:
                # Steps that a busy machine delivers within one millisecond have no speed and add nothing; the
                # first has one, and counts beside what the bundle starts with.
                self.assertGreaterEqual(events[1].value, 2)
                return
        self.fail("this machine never made five key strokes before the bundle was due")

    def test_return_sends_the_steps_that_wait_before_itself(self):
        self.operator("key", "--delay", 6, "Down", "Down", "Down", "Return")
        events = self.terminal.events_until_quiet(4)
        self.check(events, *[("ENCODER_MOVE_EVENT", DOWN)] * (len(events) - 2),
                   ("KEY_PRESS_EVENT", RETURN), ("KEY_RELEASE_EVENT", RETURN))
        self.assertEqual(3, sum(event.count for event in events[:-2]))


class Mouse(OperatorTestCase):
    def setUp(self):
        super().setUp()
        # On the list below the soft keys: input counts everywhere in the window.
        self.point_at(self.width // 2, self.height * 3 // 4)

    def test_moving_the_pointer_about_is_no_input(self):
        self.point_at(100, 100)
        self.point_at(200, 300)
        self.operator("key", "End")
        self.check(self.terminal.events_until_quiet(2), ("KEY_PRESS_EVENT", END), ("KEY_RELEASE_EVENT", END))

    def test_a_click_is_a_press_and_a_release_of_its_button(self):
        self.operator("click", 3)
        events = self.terminal.events_until_quiet(2)
        self.check(events, ("MOUSE_PRESS_EVENT", RIGHT), ("MOUSE_RELEASE_EVENT", RIGHT))
        for event in events:
            self.assertEqual((3, -1, -1, (0, RIGHT, 0, 0)),
                             (event.event_class, event.key, event.os_key, event.data))

    def test_three_quick_clicks_are_a_press_and_two_double_presses(self):
        for _ in range(ATTEMPTS):
            self.operator("click", "--repeat", 3, "--delay", 80, 1)
            events = self.terminal.events_until_quiet(6)
            presses = [event.time for event in events if event.name != "MOUSE_RELEASE_EVENT"]
            self.assertEqual(3, len(presses), events)
            quick = [later - earlier <= DOUBLE_PRESS_MS for earlier, later in zip(presses, presses[1:])]
            names = ["MOUSE_PRESS_EVENT"] + ["MOUSE_DOUBLE_PRESS_EVENT" if q else "MOUSE_PRESS_EVENT" for q in quick]
            self.check(events, *[(name, LEFT) for press in names for name in (press, "MOUSE_RELEASE_EVENT")])
            if all(quick):
                return
        self.fail("this machine never made three clicks within 300 ms of each other")

    def test_a_held_button_is_a_long_press(self):
        events = self.hold(("mousedown", 1), ("mouseup", 1))
        self.check(events, ("MOUSE_PRESS_EVENT", LEFT), ("MOUSE_LONG_PRESS_EVENT", LEFT),
                   ("MOUSE_LONG_RELEASE_EVENT", LEFT), ("MOUSE_RELEASE_EVENT", LEFT))
        recognised = events[1].time - events[0].time
        self.assertTrue(LONG_PRESS_MS <= recognised <= LONG_PRESS_RECOGNISED_MS, events)

    def test_a_button_released_outside_the_window_escapes(self):
        self.operator("mousedown", 1, "mousemove", self.display.SIZE[0] - 1, self.display.SIZE[1] - 1, "mouseup", 1)
        events = self.terminal.events_until_quiet(2)
        self.check([event for event in events if event.name != "MOUSE_MOVE_EVENT"], ("MOUSE_PRESS_EVENT", LEFT),
                   ("MOUSE_ESCAPE_EVENT", LEFT))

    def test_a_drag_reports_moves_between_press_and_release(self):
        self.operator("mousedown", 1, "sleep", 0.1, "mousemove_relative", 40, 0, "sleep", 0.1, "mouseup", 1)
        self.check(self.terminal.events_until_quiet(3), ("MOUSE_PRESS_EVENT", LEFT), ("MOUSE_MOVE_EVENT", LEFT),
                   ("MOUSE_RELEASE_EVENT", LEFT))

    def test_a_turn_of_the_wheel_is_a_move_of_the_encoder(self):
        self.operator("click", 4)
        self.operator("click", 5)
        events = self.terminal.events_until_quiet(2)
        self.check(events, ("ENCODER_MOVE_EVENT", UP), ("ENCODER_MOVE_EVENT", DOWN))
        for event in events:
            self.assertEqual((3, -1, 1, (0, 0, 0, 0)), (event.event_class, event.os_key, event.count, event.data))
        self.assertEqual(1, events[0].value, "the first step after a rest counts one")

    def test_a_fast_turn_of_the_wheel_is_accelerated(self):
        detents = 12
        self.operator("click", "--repeat", detents, "--delay", 15, 4)
        events = self.terminal.events_until_quiet(1)
        self.check(events, *[("ENCODER_MOVE_EVENT", UP)] * len(events))
        self.assertEqual(detents, sum(event.count for event in events))
        # The machine decides how fast the wheel turns; the value of each step must follow from it.
        self.assertEqual(accelerated([(event.time, event.count) for event in events]),
                         [event.value for event in events])

    def test_a_soft_key_tells_of_its_mouse_press_and_of_no_key(self):
        for x in (self.width // 16, self.width * 15 // 16):  # the centres of the first and the last of eight
            self.point_at(x, 158)
            self.operator("click", 1)
            self.check(self.terminal.events_until_quiet(2), ("MOUSE_PRESS_EVENT", LEFT),
                       ("MOUSE_RELEASE_EVENT", LEFT))


if __name__ == "__main__":
    unittest.main()
