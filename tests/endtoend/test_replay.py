"""The transport of a replay in a real window, by keys alone and by touch alone."""

import os
import tempfile
import unittest

from display import GENEROUS_SECONDS
from kxterminal_session import OperatorTestCase
from printed_event import Event

SESSION = """kxrecording 1
1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000
1080 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000
1301 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000
1390 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000
9000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000010
9100 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000010
20000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000
20050 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000
21000 end
"""
TICKS = [1000, 1080, 1301, 1390, 9000, 9100, 20000, 20050]


class Replay(OperatorTestCase):
    """A replay that is so slow that it seems to stand. It prints an event when it is reached for the first time."""

    SCREEN = (800, 480)

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        path = os.path.join(folder.name, "a.kxr")
        with open(path, "w", encoding="ascii") as file:
            file.write(SESSION)
        self.ARGUMENTS = ("--replay", path, "--speed", "0.01")  # pylint: disable=invalid-name
        super().setUp()
        self.expect(1000)

    def expect(self, *ticks):
        self.assertEqual(list(ticks), [Event.parse(self.terminal.lines.get(timeout=GENEROUS_SECONDS)).time
                                       for _ in ticks])

    def expect_nothing_more(self):
        self.assertEqual([], self.terminal.events_until_quiet(0))

    def check_transport(self, step, back, pause, forward, backward):
        step()
        self.expect(1080)
        step()
        self.expect(1301)
        back()  # shown already, so not printed again
        back()
        step()
        step()
        self.expect_nothing_more()
        step()
        self.expect(1390)
        forward()  # to 6390 ms
        forward()
        self.expect(9000, 9100)
        backward()
        step()
        step()
        self.expect_nothing_more()
        step()
        self.expect(20000)
        pause()  # goes on, a hundred times slower than it was recorded
        pause()
        step()
        self.expect(20050)
        step()
        self.expect_nothing_more()

    def test_by_keys(self):
        def key(name):
            return lambda: self.operator("key", name)
        self.check_transport(key("period"), key("comma"), key("space"), key("Right"), key("Left"))

    def test_by_touch(self):
        def touch(x):
            def act():
                self.point_at(x, 86)
                self.operator("click", 1)
            return act
        backward, back, pause, step, forward = (touch(x) for x in (36, 93, 150, 205, 262))
        self.check_transport(step, back, pause, forward, backward)

    def test_by_a_touch_on_the_strip(self):
        self.point_at(600, 86)
        self.operator("mousedown", 1)
        self.point_at(560, 86)
        self.operator("mouseup", 1)
        self.expect(1080, 1301, 1390, 9000, 9100)
        self.operator("key", "period")
        self.expect(20000)
        self.point_at(305, 86)
        self.operator("click", 1)
        self.operator("key", "period", "period")
        self.expect_nothing_more()


if __name__ == "__main__":
    unittest.main()
