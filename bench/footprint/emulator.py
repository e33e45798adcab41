"""Runs the target's programs in the emulator, and counts their instructions in its log.

The log lists the instructions of a block of code when the block is translated, and has a line each time that a thread
enters a block, and for each system call. A block is executed to its end. Only the first thread, number 0, counts."""

import contextlib
import os
import re
import subprocess
import time
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


@contextlib.contextmanager
def running(emulator, program, **arguments):
    """The program without an environment: else the count would not repeat."""
    with subprocess.Popen([*emulator, program], env={}, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                          **arguments) as process:
        yield process
    if process.returncode != 0:
        raise Failed(f"{os.path.basename(program)} ended with status {process.returncode} in the emulator")


def watch_start(emulator, program):
    """Seconds until the program prints its map, and in KiB what memory it has then."""
    begin = time.monotonic()
    with running(emulator, program) as process:
        first_area = process.stdout.readline()
        seconds = time.monotonic() - begin
        while process.stdout.readline().strip():
            pass  # the map ends with an empty line, the output with nothing
        memory = memory_of(process.pid, program, first_area) if first_area else {}
    return {"seconds": seconds, **memory}


def count(emulator, program, mark):
    """The stretches of the program between its marks, and its map."""
    reader, writer = os.pipe()
    execution = Execution(mark)
    log_options = ["-d", "in_asm,exec,nochain,strace", "-D", f"/dev/fd/{writer}"]
    with running([*emulator, *log_options], program, pass_fds=[writer]) as process:
        os.close(writer)
        process.stdin.close()
        with os.fdopen(reader, "rb") as log:
            execution.take_all(log)
        output = process.stdout.read()
    return execution.stretches, output.splitlines()


def memory_of(pid, program, first_area):
    """What it has written to (anonymous; what is called dirty has pages of files, too), and the most that it and the
    emulator had together. The program's addresses lie in the emulator's from where the program's address 0 is."""
    base, inside, written = None, False, 0
    with open(f"/proc/{pid}/smaps", encoding="utf-8") as lines:
        for name, *fields in map(str.split, lines):
            if "-" in name:
                begin = int(name.split("-")[0], 16)
                if base is None and fields[-1] == os.path.realpath(program):
                    base = begin - int(first_area.split("-")[0], 16)
                inside = base is not None and base <= begin < base + 2**32
            elif inside and name == "Anonymous:":
                written += int(fields[0])
    with open(f"/proc/{pid}/status", encoding="utf-8") as lines:
        most = next(int(line.split()[1]) for line in lines if line.startswith("VmHWM:"))
    return {"written_kib": written, "emulator_kib": most}
