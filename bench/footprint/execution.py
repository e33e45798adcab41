"""Counts instructions in what the emulator logs with -d in_asm,exec,nochain,strace.

It lists the instructions of a block of code when it translates it, then writes a line each time it enters the block,
and one for each system call. A block ends where the program may go on elsewhere, so who enters it executes all of it:
what a stretch of the program took is the sum over the blocks that its thread entered. The emulator numbers the
threads; only what the first one did is counted, whatever the others do beside it."""

import re
from collections import Counter

ENTRY = b"Trace 0: "
SYSTEM_CALL = re.compile(rb"\d+ (\w+)\(")


class FootprintError(Exception):
    """Something went wrong; the text says in one line what."""


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
        """Instructions by the name of the file that they are in."""
        owners = Counter()
        for address, instructions in self.by_block.items():
            owners[memory_map.owner(int(address, 16))] += instructions
        return owners


class Execution:
    """Takes the log line by line. A mark is the entry of the block at one address; it begins a stretch."""

    def __init__(self, mark):
        self.mark = b"%08x" % mark
        self.blocks = {}  # address: number of instructions, and whether the last one calls the system
        self.listed = None  # the address of the block that is being listed
        self.entry = b""  # the last one
        self.stretches = [Stretch()]

    def take_all(self, lines):
        for line in lines:
            if line.startswith(ENTRY):
                self.enter(line)
            elif line.startswith(b"0x"):
                self.take_instruction(line)
            elif not line.startswith(b"Trace "):
                self.take_other(line)

    def enter(self, line):
        try:
            address = line.split(b"/", 2)[1]
            instructions, calls = self.blocks[address]
        except (IndexError, KeyError):
            raise FootprintError(f"the emulator enters what it has not listed: {line!r}") from None
        if address == self.mark:
            self.stretches.append(Stretch())
        self.stretches[-1].by_block[address] += instructions
        self.stretches[-1].calls += calls
        self.entry = line

    def take_instruction(self, line):
        address, text = line[2:].split(b":", 1)
        if self.listed is None:
            self.listed = address
            self.blocks[address] = 0, False
        self.blocks[self.listed] = self.blocks[self.listed][0] + 1, b"svc" in text

    def take_other(self, line):
        if line.startswith(b"IN:"):
            self.listed = None
        elif line.startswith(b"Stopped "):
            self.take_back(line)
        else:
            self.take_system_call(line)

    def take_back(self, line):
        """Something else came between the entry, which is logged first, and the block, which will be entered anew."""
        if self.entry.split()[2:3] == line.split()[6:7]:
            address = self.entry.split(b"/", 2)[1]
            instructions, calls = self.blocks[address]
            self.stretches[-1].by_block[address] -= instructions
            self.stretches[-1].calls -= calls

    def take_system_call(self, line):
        """One that waits has other threads' lines between its name and the end of its line."""
        at = line.find(b"Trace ")
        call = SYSTEM_CALL.match(line if at < 0 else line[:at])
        if call:
            self.stretches[-1].names_of_calls.append(call[1].decode())
        if at > 0:
            self.take_all([line[at:]])


class MemoryMap:
    """Whose an address is, as /proc/PID/maps tells."""

    def __init__(self, lines):
        self.areas = []
        for line in filter(str.strip, lines):
            bounds, *fields = line.split(maxsplit=5)
            first, end = (int(bound, 16) for bound in bounds.split("-"))
            self.areas.append((first, end, fields[4].strip().rsplit("/", 1)[-1] if len(fields) > 4 else ""))

    def owner(self, address):
        return next((name for first, end, name in self.areas if first <= address < end), "")
