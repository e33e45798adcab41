"""Counts instructions in what the emulator logs with -d in_asm,exec,nochain,strace.

It lists the instructions of a block of code when it translates the block, and writes a line each time it enters the
block, and one for each system call. A block that is entered is executed to its end, so a stretch of the program took
the sum over the blocks that its thread entered. Only the first thread, number 0, counts."""

import re
from collections import Counter

from shared import Failed

ENTRY = b"Trace 0: "
SYSTEM_CALL = re.compile(rb"\d+ (\w+)\(")


class Stretch:
    """What the first thread did between two marks."""

    def __init__(self):
        self.by_block = Counter()  # instructions, by the address of their block as the log has it
        self.calls = 0
        self.names_of_calls = []

    @property
    def instructions(self):
        return sum(self.by_block.values())

    def by_owner(self, memory_map):
        """Instructions by the name of the file that they are in. The map is the lines of /proc/PID/maps."""
        areas = []
        for bounds, *fields in (line.split(maxsplit=5) for line in memory_map if line.strip()):
            first, end = (int(bound, 16) for bound in bounds.split("-"))
            areas.append((first, end, fields[4].strip().rsplit("/", 1)[-1] if len(fields) > 4 else ""))
        owners = Counter()
        for address, instructions in self.by_block.items():
            place = int(address, 16)
            owners[next((name for first, end, name in areas if first <= place < end), "")] += instructions
        return owners


class Execution:
    """Takes the log line by line. The entry of the block at the mark's address begins a stretch."""

    def __init__(self, mark):
        self.mark = b"%08x" % mark
        self.blocks = {}  # address: number of instructions, and whether the last one calls the system
        self.listed = None  # the address of the block that is being listed
        self.entry = b""  # the last one
        self.stretches = [Stretch()]

    def take_all(self, lines):
        for line in lines:
            if line.startswith(ENTRY):
                if line.split(b"/", 2)[1:2] == [self.mark]:
                    self.stretches.append(Stretch())
                self.entry = line
                self.count(1)
            elif line.startswith(b"0x"):
                self.take_instruction(line)
            elif line.startswith(b"IN:"):
                self.listed = None
            elif line.startswith(b"Stopped "):
                # Something came between the entry, which is logged first, and the block, which is entered anew.
                if self.entry.split()[2:3] == line.split()[6:7]:
                    self.count(-1)
            elif not line.startswith(b"Trace "):
                self.take_system_call(line)

    def count(self, times):
        try:
            address = self.entry.split(b"/", 2)[1]
            instructions, calls = self.blocks[address]
        except (IndexError, KeyError):
            raise Failed(f"the emulator enters what it has not listed: {self.entry!r}") from None
        self.stretches[-1].by_block[address] += times * instructions
        self.stretches[-1].calls += times * calls

    def take_instruction(self, line):
        address, text = line[2:].split(b":", 1)
        if self.listed is None:
            self.listed = address
            self.blocks[address] = 0, False
        self.blocks[self.listed] = self.blocks[self.listed][0] + 1, b"svc" in text

    def take_system_call(self, line):
        """One that waits has other threads' lines between its name and the end of its line."""
        said, trace, rest = line.partition(b"Trace ")
        call = SYSTEM_CALL.match(said)
        if call:
            self.stretches[-1].names_of_calls.append(call[1].decode())
        if said and trace:
            self.take_all([trace + rest])
