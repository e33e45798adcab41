"""The pages and the settings on a small screen, by keys only and by touch only."""

import signal
import time
import unittest

from kxterminal_session import ATTEMPTS, Display, GENEROUS_SECONDS, OperatorTestCase, QUIET_SECONDS, Terminal
from positions import FIRST_KEY_ON_SMALL_SCREEN

ESCAPE, HOME, DOWN = 0, 1, 5
F12 = 18
LONG_PRESS_SECONDS = 2

ACCENT = (0xf2, 0xb7, 0x05)
BACKGROUND = (0x10, 0x14, 0x18)

EVENTS, TIME_LINE, ENCODER, KEYPAD, ACTIONS, SETTINGS = range(6)


def is_reddish(colour):
    red, green, blue = colour
    return red > 2 * green and red > 2 * blue


class SmallScreen(OperatorTestCase):
    SCREEN = (800, 480)
    PAGE_BUTTONS = [(122, 30), (210, 30), (303, 30), (389, 30), (471, 30), (558, 30)]
    BUTTON_EDGE = 9
    PAGE = (8, 212, 784, 260)
    LOCK = (90, 171)
    EDGE_OF_LOCK = (90, 150)
    BANNER = (400, 97)
    BANNER_CORNER = (20, 70)
    LOOP_BUTTON = (710, 442)
    MINUS_OF_DOUBLE_PRESS = (205, 190)
    SWITCH = (343, 399)

    def setUp(self):
        super().setUp()
        self.wait_for_page(EVENTS)

    def shown_pages(self):
        """The pages whose buttons are lit."""
        return [page for page, (x, _) in enumerate(self.PAGE_BUTTONS)
                if self.display.pixels(x, self.BUTTON_EDGE, 1, 1) == [[ACCENT]]]

    def wait_for_page(self, page):
        self.wait_until(lambda: self.shown_pages() == [page], f"page {page} has not appeared")

    def key(self, *names):
        self.operator("key", *names)

    def touch(self, point):
        self.point_at(*point)
        self.operator("click", 1)

    def lock_is_lit(self):
        return self.display.pixels(*self.EDGE_OF_LOCK, 1, 1) == [[ACCENT]]

    def banner_is_shown(self):
        return is_reddish(self.display.pixels(*self.BANNER_CORNER, 1, 1)[0][0])

    def check_that_pages_differ(self, show):
        pictures = set()
        for page in (*range(1, 6), EVENTS):
            show(page)
            self.wait_for_page(page)
            self.terminal.events_until_quiet(2)
            # With what has come meanwhile, the list is not what makes the difference: it is shown once.
            pictures.add(str(self.display.pixels(*self.PAGE)))
        self.assertEqual(6, len(pictures), "two pages look the same")

    # The machine decides how fast taps come; their classification must follow from it.
    def check_that_two_taps_are(self, double_press_ms, wanted_gap):
        for _ in range(ATTEMPTS):
            self.operator("key", "Escape", "sleep", 0.2, "key", "Escape")
            events = self.terminal.events_until_quiet(4)
            gap = events[2].time - events[0].time
            second = "KEY_DOUBLE_PRESS_EVENT" if gap <= double_press_ms else "KEY_PRESS_EVENT"
            self.check(events, ("KEY_PRESS_EVENT", ESCAPE), ("KEY_RELEASE_EVENT", ESCAPE), (second, ESCAPE),
                       ("KEY_RELEASE_EVENT", ESCAPE))
            if gap in wanted_gap:
                return
        self.fail("this machine never made two taps 200 ms apart")

    def check_that_input_is_lost(self):
        self.wait_until(self.banner_is_shown, "nothing says that input is off")
        self.key("Home")
        self.touch((400, 200))
        # The press that switched it off must not become a long press either.
        event = self.terminal.next_event(LONG_PRESS_SECONDS + QUIET_SECONDS)
        self.assertIsNone(event)

    def check_that_input_is_taken(self):
        self.wait_until(lambda: not self.banner_is_shown(), "input is still said to be off")
        self.key("Home")
        self.check(self.terminal.events_until_quiet(2), ("KEY_PRESS_EVENT", HOME), ("KEY_RELEASE_EVENT", HOME))


class ByKeys(SmallScreen):
    def test_every_page_is_reached_and_looks_its_own(self):
        self.check_that_pages_differ(lambda page: self.key("F11"))

    def test_pages_turn_back_and_the_settings_have_a_key(self):
        self.key("F10")
        self.wait_for_page(SETTINGS)
        self.key("F10")
        self.wait_for_page(ACTIONS)
        self.key("F12")
        self.wait_for_page(SETTINGS)
        self.key("F12")
        self.wait_for_page(ACTIONS)

    def test_the_time_line_is_unlocked_zoomed_and_locked_again(self):
        self.key("F11")
        self.wait_for_page(TIME_LINE)
        self.terminal.events_until_quiet(2)
        self.wait_until(lambda: self.lock_is_lit(), "the time line is not locked at first")
        self.key("l")
        self.wait_until(lambda: not self.lock_is_lit(), "the key L has not unlocked the time line")
        self.key("l")
        self.wait_until(lambda: self.lock_is_lit(), "the key L has not locked the time line")

    def test_a_shorter_double_press_takes_effect(self):
        self.check_that_two_taps_are(300, range(101, 301))
        self.key("F12")
        self.wait_for_page(SETTINGS)
        self.terminal.events_until_quiet(2)
        for _ in range(20):  # steps of 10 ms
            self.key("Down")
        events = self.terminal.events_until_quiet(1)
        self.assertEqual(20, sum(event.count for event in events if event.key == DOWN))
        self.check_that_two_taps_are(100, range(101, 301))

    def test_input_is_switched_off_and_on_again(self):
        self.key("F12")
        self.wait_for_page(SETTINGS)
        self.operator("key", "--delay", 40, "Tab", "Tab", "Tab", "Tab")
        self.terminal.events_until_quiet(2 + 8)
        self.key("Return")
        self.terminal.events_until_quiet(2)
        self.check_that_input_is_lost()
        self.key("F12")
        # Its press has switched input on and was not classified.
        self.check(self.terminal.events_until_quiet(1), ("KEY_RELEASE_EVENT", F12))
        self.check_that_input_is_taken()
        self.assertEqual([SETTINGS], self.shown_pages())

    def test_the_defaults_come_back(self):
        self.key("F12")
        self.wait_for_page(SETTINGS)
        self.operator("key", "--delay", 40, *["Down"] * 20)
        self.terminal.events_until_quiet(3)
        self.operator("key", "--delay", 40, "Tab", "Tab", "Tab", "Tab", "Tab", "Return")
        self.terminal.events_until_quiet(12)
        self.check_that_two_taps_are(300, range(101, 301))


class ByTouch(SmallScreen):
    def test_every_page_is_reached_and_looks_its_own(self):
        self.check_that_pages_differ(lambda page: self.touch(self.PAGE_BUTTONS[page]))

    def test_a_shorter_double_press_takes_effect(self):
        self.touch(self.PAGE_BUTTONS[SETTINGS])
        self.wait_for_page(SETTINGS)
        self.point_at(*self.MINUS_OF_DOUBLE_PRESS)
        self.operator("click", "--repeat", 20, "--delay", 60, 1)
        self.terminal.events_until_quiet(2 + 40)
        self.check_that_two_taps_are(100, range(101, 301))

    def test_input_is_switched_off_and_on_again(self):
        self.touch(self.PAGE_BUTTONS[SETTINGS])
        self.wait_for_page(SETTINGS)
        self.touch(self.SWITCH)
        self.terminal.events_until_quiet(4)
        self.check_that_input_is_lost()
        self.touch(self.BANNER)
        self.check_that_input_is_taken()

    def test_the_time_line_is_unlocked_and_locked_again(self):
        self.touch(self.PAGE_BUTTONS[TIME_LINE])
        self.wait_for_page(TIME_LINE)
        self.wait_until(lambda: self.lock_is_lit(), "the time line is not locked at first")
        self.touch(self.LOCK)
        self.wait_until(lambda: not self.lock_is_lit(), "a touch has not unlocked the time line")
        self.touch(self.LOCK)
        self.wait_until(lambda: self.lock_is_lit(), "a touch has not locked the time line")

    def test_the_keypad_and_the_loop_button_work_on_their_pages(self):
        self.touch(self.PAGE_BUTTONS[KEYPAD])
        self.wait_for_page(KEYPAD)
        self.terminal.events_until_quiet(2)
        self.touch(FIRST_KEY_ON_SMALL_SCREEN)
        self.check(self.terminal.events_until_quiet(2), ("KEY_PRESS_EVENT", ESCAPE), ("KEY_RELEASE_EVENT", ESCAPE))
        self.touch(self.PAGE_BUTTONS[ACTIONS])
        self.wait_for_page(ACTIONS)
        self.touch(self.LOOP_BUTTON)
        self.terminal.next_library_line("KXActionQueue::executeActions: Found loop")


class WholeScreen(unittest.TestCase):
    """Without a window manager, on screens of any shape: no border stays black."""

    def check_that_it_covers(self, *size):
        display = Display(size)
        self.addCleanup(display.close)
        terminal = Terminal(display=display)
        self.addCleanup(terminal.wait)
        self.addCleanup(terminal.signal, signal.SIGTERM)
        display.wait_for_window("kxterminal", terminal.process)
        corners = [(x, y) for x in (0, size[0] - 1) for y in (0, size[1] - 1)]
        deadline = time.monotonic() + GENEROUS_SECONDS
        while any(display.pixels(x, y, 1, 1) != [[BACKGROUND]] for x, y in corners):
            self.assertLess(time.monotonic(), deadline, "a border of the screen is black")
            time.sleep(0.05)

    def test_a_screen_of_640x480_is_covered(self):
        self.check_that_it_covers(640, 480)

    def test_a_screen_of_800x480_is_covered(self):
        self.check_that_it_covers(800, 480)

    def test_an_upright_screen_is_covered(self):
        self.check_that_it_covers(640, 960)

    def test_a_screen_of_1920x1080_is_covered(self):
        self.check_that_it_covers(1920, 1080)


class UnderAWindowManager(unittest.TestCase):
    """Its frames take room, but nothing of the window leaves the screen."""

    def show(self, size):
        """Waits until the lower corners are the window's. The height of the window."""
        display = Display(size)
        self.addCleanup(display.close)
        manager = display.start_window_manager()
        self.addCleanup(manager.wait)
        self.addCleanup(manager.terminate)
        terminal = Terminal(display=display)
        self.addCleanup(terminal.wait)
        self.addCleanup(terminal.signal, signal.SIGTERM)
        window = display.wait_for_window("kxterminal", terminal.process)
        deadline = time.monotonic() + GENEROUS_SECONDS
        while not self.has_corners(display, size[1] - 1):
            self.assertLess(time.monotonic(), deadline, "the window does not reach down to the lower corners")
            time.sleep(0.05)
        return display, display.height_of(window)

    @staticmethod
    def has_corners(display, y):
        return all(display.pixels(x, y, 1, 1) == [[BACKGROUND]] for x in (0, display.size[0] - 1))

    def check_that_it_has_the_whole_screen(self, *size):
        display, height = self.show(size)
        self.assertEqual(size[1], height)
        self.assertTrue(self.has_corners(display, 0), "there is a frame")

    def test_a_screen_of_640x480_has_no_room_for_a_frame(self):
        self.check_that_it_has_the_whole_screen(640, 480)

    def test_a_screen_of_800x480_has_no_room_for_a_frame(self):
        self.check_that_it_has_the_whole_screen(800, 480)

    def test_on_a_larger_screen_the_window_ends_with_the_screen(self):
        display, height = self.show((1024, 768))
        self.assertFalse(self.has_corners(display, 0), "there is no frame")
        self.assertLess(height, 768)


if __name__ == "__main__":
    unittest.main()
