"""Runs the target's programs in the emulator."""

import os
import subprocess
import time

from shared import Failed

from .execution import Execution

# The same random numbers each time, and an empty environment: the loader and the C++ library would take a few
# instructions more or less.
OPTIONS = ["-seed", "1"]
LOG = ["-d", "in_asm,exec,nochain,strace"]


class Emulator:
    def __init__(self, program, sysroot):
        self.command = [program, "-L", sysroot, *OPTIONS]

    def version(self):
        said = subprocess.run([self.command[0], "--version"], check=True, capture_output=True, text=True).stdout
        return said.splitlines()[0]

    def start(self, program, options=(), **arguments):
        return subprocess.Popen([*self.command, *options, program], env={}, stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, text=True, **arguments)

    def watch_start(self, program):
        """Seconds until the program prints its map; and in KiB what it has then written to, and the most memory that it
        and the emulator had together."""
        begin = time.monotonic()
        process = self.start(program)
        first_area = process.stdout.readline()
        seconds = time.monotonic() - begin
        written = most = 0
        try:
            while process.stdout.readline().strip():
                pass  # the map ends with an empty line, the output with nothing
            if first_area:
                written = written_by(process.pid, program, first_area)
                with open(f"/proc/{process.pid}/status", encoding="utf-8") as lines:
                    most = next(int(line.split()[1]) for line in lines if line.startswith("VmHWM:"))
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
        try:
            with os.fdopen(reader, "rb") as log:
                execution.take_all(log)
        except Failed:
            process.kill()
            process.wait()
            raise
        output = process.stdout.read()
        process.wait()
        expect_good(program, process)
        return execution.stretches, output.splitlines()


def written_by(pid, program, first_area):
    """What is the program's alone, in KiB. Not what is called dirty: that has pages of files, too, which were written a
    moment ago. The program's addresses are a part of the emulator's, which begins where the program's file would be at
    address 0."""
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
    return written


def expect_good(program, process):
    if process.returncode != 0:
        raise Failed(f"{os.path.basename(program)} ended with status {process.returncode} in the emulator")
