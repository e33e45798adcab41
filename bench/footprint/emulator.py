"""Runs the target's programs in the emulator, and counts their instructions in its log.

With -d in_asm,exec,nochain,strace the log lists the instructions of a block of code when the block is translated, and
has a line for each time that a thread enters a block, and for each system call. A block that is entered is executed to
its end, so a stretch of the program took the sum over its blocks. Only the first thread, number 0, counts."""

import os
import re
import subprocess
import time
from collections import Counter

from shared import Failed, call

LOG = ["-d", "in_asm,exec,nochain,strace"]
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
        call = SYSTEM_CALL.match(said)
        if call:
            self.stretches[-1].names_of_calls.append(call[1].decode())
        if said and trace:
            self.take_all([trace + rest])


class Emulator:
    def __init__(self, program, sysroot):
        # The same random numbers each time: the loader and the C++ library would take a few instructions more or less.
        self.command = [program, "-L", sysroot, "-seed", "1"]

    def version(self):
        return call(self.command[0], "--version").splitlines()[0]

    def start(self, program, options=(), **arguments):
        """Without the caller's environment, for the same reason."""
        return subprocess.Popen([*self.command, *options, program], env={}, stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, text=True, **arguments)

    def watch_start(self, program):
        """Seconds until the program prints its map; and in KiB what it has then written to, and the most memory that it
        and the emulator had together."""
        begin = time.monotonic()
        with self.start(program) as process:
            first_area = process.stdout.readline()
            seconds = time.monotonic() - begin
            while process.stdout.readline().strip():
                pass  # the map ends with an empty line, the output with nothing
            memory = memory_of(process.pid, program, first_area) if first_area else {}
        expect_good(program, process)
        return {"seconds": seconds, **memory}

    def count(self, program, mark):
        """The stretches of the program between its marks, and its map."""
        reader, writer = os.pipe()
        execution = Execution(mark)
        with self.start(program, [*LOG, "-D", f"/dev/fd/{writer}"], pass_fds=[writer]) as process:
            os.close(writer)
            process.stdin.close()
            with os.fdopen(reader, "rb") as log:
                execution.take_all(log)
            output = process.stdout.read()
        expect_good(program, process)
        return execution.stretches, output.splitlines()


def memory_of(pid, program, first_area):
    """What is written is what is the program's alone. Not what is called dirty: that has pages of files, too, which were
    written a moment ago. The program's addresses are a part of the emulator's, which begins where the program's file
    would be at address 0."""
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


def expect_good(program, process):
    if process.returncode != 0:
        raise Failed(f"{os.path.basename(program)} ended with status {process.returncode} in the emulator")
