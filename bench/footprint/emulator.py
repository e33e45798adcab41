"""Runs the target's programs in the emulator."""

import os
import subprocess
import time

from execution import Execution, FootprintError, MemoryMap

# Nothing of the caller's environment, and the same random numbers each time: the loader and the C++ library would
# otherwise take a few instructions more or less.
ENVIRONMENT = {}
OPTIONS = ["-seed", "1"]
LOG = ["-d", "in_asm,exec,nochain,strace"]


class Emulator:
    def __init__(self, program, sysroot):
        self.command = [program, "-L", sysroot, *OPTIONS]

    def version(self):
        said = subprocess.run([self.command[0], "--version"], check=True, capture_output=True, text=True).stdout
        return said.splitlines()[0]

    def start(self, program, options=(), **arguments):
        return subprocess.Popen([*self.command, *options, program], env=ENVIRONMENT, stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, text=True, **arguments)

    def watch_start(self, program):
        """Seconds until the program prints its map; and in KiB what it has then written to, and the most memory that it
        and the emulator had together."""
        begin = time.monotonic()
        process = self.start(program)
        first_area = process.stdout.readline()
        seconds = time.monotonic() - begin
        try:
            while process.stdout.readline().strip():
                pass  # the map ends with an empty line, the output with nothing
            written = written_by(process.pid, program, first_area) if first_area else 0
            most = most_memory_of(process.pid) if first_area else 0
        finally:
            process.communicate()
        expect_good(program, process)
        return {"seconds": seconds, "written_kib": written, "emulator_kib": most}

    def count(self, program, mark):
        """The stretches of the program between its marks, and its map."""
        reader, writer = os.pipe()
        try:
            process = self.start(program, [*LOG, "-D", f"/dev/fd/{writer}"], pass_fds=[writer])
        finally:
            os.close(writer)
        process.stdin.close()
        execution = Execution(mark)
        with os.fdopen(reader, "rb") as log:
            try:
                execution.take_all(log)
            except FootprintError:
                process.kill()
                process.wait()
                raise
        output = process.stdout.read()
        process.wait()
        expect_good(program, process)
        return execution.stretches, MemoryMap(output.splitlines())


def written_by(pid, program, first_area):
    """What is the program's alone, in KiB. Not what is called dirty: that has the pages of a file, too, which was
    written a moment ago. The program's addresses are a part of the emulator's own, which begins where the program's
    file would be at address 0."""
    base, inside, written = None, False, 0
    with open(f"/proc/{pid}/smaps", encoding="utf-8") as lines:
        for line in lines:
            name, *fields = line.split()
            if "-" in name:
                begin = int(name.split("-")[0], 16)
                if base is None and fields[-1] == os.path.realpath(program):
                    base = begin - int(first_area.split("-")[0], 16)
                inside = base is not None and base <= begin < base + 2**32
            elif inside and name == "Anonymous:":
                written += int(fields[0])
    return written


def most_memory_of(pid):
    with open(f"/proc/{pid}/status", encoding="utf-8") as lines:
        return next(int(line.split()[1]) for line in lines if line.startswith("VmHWM:"))


def expect_good(program, process):
    if process.returncode != 0:
        raise FootprintError(f"{os.path.basename(program)} ended with status {process.returncode} in the emulator")
