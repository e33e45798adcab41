"""The lines that kxterminal prints."""

import re
from typing import NamedTuple


class Event(NamedTuple):
    time: int
    name: str
    event_class: int
    key: int
    os_key: int
    value: int
    count: int
    data: tuple

    PATTERN = re.compile(r"(\d+) (\S+) class=(-?\d+) key=(-?\d+) os=(-1|0x[0-9a-f]+) value=(-?\d+) count=(-?\d+) "
                         r"data=(\d+),(\d+),(\d+),(\d+)")

    @classmethod
    def parse(cls, line):
        match = cls.PATTERN.fullmatch(line)
        if match is None:
            raise AssertionError(f"not the line of an event: {line!r}")
        time_stamp, name, event_class, key, os_key, value, count, *data = match.groups()
        return cls(int(time_stamp), name, int(event_class), int(key), int(os_key, 0), int(value), int(count),
                   tuple(map(int, data)))


# The library's own lines on standard output, between the events.
LIBRARY_LINE = re.compile(r"KXInputEventManager::|KXActionQueue::|Key \d+, KeyCode: |ENCODER (UP|DOWN)")
