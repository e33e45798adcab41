"""Runs the target's programs in the emulator, and counts their instructions in its log.

The log lists the instructions of a block of code when the block is translated, and has a line each time that a thread
enters a block, and for each system call. A block is executed to its end. Only the first thread, number 0, counts."""

import os
import re
import subprocess
from collections import Counter

from shared import Failed

ENTRY = b"Trace 0: "
SYSTEM_CALL = re.compile(rb"^\d+ (\w+)\(")


class Stretch:
    """What the first thread did between two marks."""

    def __init__(self):
        self.by_block = Counter()  # instructions, by the address of their block as the log has it
        self.calls = 0
        self.names_of_calls = []

    def by_owner(self, memory_map):
        """Instructions by the name of the file that they are in. The map is the lines of /proc/PID/maps."""
        owners, areas = Counter(), []
        for bounds, *fields in map(str.split, filter(str.strip, memory_map)):
            areas.append((*(int(bound, 16) for bound in bounds.split("-")), os.path.basename("".join(fields[4:]))))
        for address, instructions in self.by_block.items():
            owner = (name for first, end, name in areas if first <= int(address, 16) < end)
            owners[next(owner, "")] += instructions
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
                address, text = line[2:].split(b":", 1)
                self.listed = self.listed or address
                self.blocks[self.listed] = (self.blocks[self.listed][0] + 1 if address != self.listed else 1,
                                            b"svc" in text)
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

    def take_system_call(self, line):
        """One that waits has other threads' lines between its name and the end of its line."""
        said, trace, rest = line.partition(b"Trace ")
        self.stretches[-1].names_of_calls += map(bytes.decode, SYSTEM_CALL.findall(said))
        if said and trace:
            self.take_all([trace + rest])


def count(emulator, program, mark):
    """The stretches of the program between its marks, and its map. No environment: else the count would not repeat."""
    reader, writer = os.pipe()
    execution = Execution(mark)
    log_options = ["-d", "in_asm,exec,nochain,strace", "-D", f"/dev/fd/{writer}"]
    with subprocess.Popen([*emulator, *log_options, program], env={}, stdout=subprocess.PIPE, text=True,
                          pass_fds=[writer]) as process:
        os.close(writer)
        with os.fdopen(reader, "rb") as log:
            execution.take_all(log)
        output = process.stdout.read()
    if process.returncode != 0:
        raise Failed(f"{os.path.basename(program)} ended with status {process.returncode} in the emulator")
    return execution.stretches, output.splitlines()
