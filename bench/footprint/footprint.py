#!/usr/bin/env python3
"""Measures what the library takes on the target, of a build that is there already; without one, only checks the
arguments. The command for both is measure."""

import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile

import counts
import report
from elf import Reader
from emulator import Emulator
from execution import FootprintError

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
RECORD = os.path.join(TOP, "docs", "footprint.md")
LIBRARIES = ("libKXAPI_Events", "libKXAPI_OS_ABS", "libKXAPI_Hardware", "libKXAPI_Utility")
STARTS = ("goes_without", "links", "creates")
TIMED_RUNS = 20


def say(text):
    print(text, file=sys.stderr, flush=True)


def say_run(what, run, runs):
    """One line that moves on a terminal; elsewhere a line when it begins."""
    if sys.stderr.isatty():
        print(f"\r{what}: {run + 1} of {runs}", end="" if run + 1 < runs else "\n", file=sys.stderr, flush=True)
    elif run == 0:
        say(f"{what}, {runs} times")


def cached(build, *names):
    """Values that the build was configured with."""
    values = {}
    with open(os.path.join(build, "CMakeCache.txt"), encoding="utf-8") as lines:
        for line in lines:
            name, _, value = line.rstrip("\n").partition("=")
            values[name.partition(":")[0]] = value
    missing = [name for name in names if not values.get(name) or values[name].endswith("-NOTFOUND")]
    if missing:
        raise FootprintError(f"{build} was not configured for the target: it lacks {', '.join(missing)}")
    return [values[name] for name in names]


class Footprint:
    """The libraries and programs of a build, installed and stripped in a folder of their own.

    The loader takes a few instructions more for a longer path: the folder's has the same length wherever it is run."""

    def __init__(self, build):
        self.build = build
        emulator, sysroot, readelf = cached(build, "KXAPI_EMULATOR", "KXAPI_SYSROOT", "CMAKE_READELF")
        self.emulator = Emulator(emulator, sysroot)
        self.reader = Reader(readelf)

    def __enter__(self):
        self.folder = tempfile.mkdtemp(prefix="kx-footprint-", dir="/tmp")
        for component in ("runtime", "footprint"):
            done = subprocess.run(["cmake", "--install", self.build, "--component", component, "--strip",
                                   "--prefix", self.folder], capture_output=True, text=True, check=False)
            if done.returncode != 0:
                shutil.rmtree(self.folder)
                raise FootprintError(f"could not install {self.build}: {done.stderr.strip() or done.returncode}")
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.folder)

    def program(self, name):
        return os.path.join(self.folder, "bin", "footprint_" + name)

    def libraries(self):
        lib = os.path.join(self.folder, "lib")
        return {name: self.reader.measure(os.path.realpath(os.path.join(lib, name + ".so.1"))) for name in LIBRARIES}

    def count(self, name):
        built = os.path.join(self.build, "bench", "footprint", "footprint_" + name)
        return self.emulator.count(self.program(name), self.reader.address(built, "footprintMark"))

    def watch_starts(self):
        """One after the other, so that whatever else the machine does hits all of them."""
        runs = {name: [] for name in STARTS}
        for run in range(TIMED_RUNS):
            say_run("Watching the programs start", run, TIMED_RUNS)
            for name in STARTS:
                runs[name].append(self.emulator.watch_start(self.program(name)))
        return {name: {value: statistics.median(run[value] for run in runs[name]) for value in runs[name][0]}
                for name in STARTS}


def repeated(what, runs, count):
    """What count returns, which must be the same each time."""
    results = []
    for run in range(runs):
        say_run(f"Counting {what}", run, runs)
        results.append(count())
        if results[-1] != results[0]:
            raise FootprintError(f"{what}: the count does not repeat: {results[0]}, then {results[-1]}")
    return results[0]


def measure(build, runs):
    with Footprint(build) as footprint:
        def counted(name, what, tell):
            return repeated(what, runs, lambda: tell(*footprint.count(name)))

        return {
            "emulator": footprint.emulator.version(),
            "libraries": footprint.libraries(),
            "watched": footprint.watch_starts(),
            "goes_without": counted("goes_without", "a start without the library", counts.start),
            "links": counted("links", "a start with the library", counts.start),
            "creates": counted("creates", "a start that creates a manager", counts.creation),
            "presses": counted("presses", "key presses", counts.presses),
        }


def check_presses(build):
    """For the test suite: one run, in which all presses but the first ones must take the same."""
    with Footprint(build) as footprint:
        presses = counts.presses(*footprint.count("presses"))
    taken = [press["instructions"] for press in presses]
    print("instructions of each press:", *taken)
    if len(taken) != 10 or len(set(taken[-8:])) != 1 or not 0 < taken[-1] <= taken[0]:
        raise FootprintError("ten presses were expected, and the last eight of them to take the same")


def parse_arguments():
    parser = argparse.ArgumentParser(
        prog="bench/footprint/measure",
        description="Builds the library for 32-bit ARM and prints what it takes there: sizes, and the time, the memory "
                    "and the instructions of a start and of a key press in an emulator.")
    parser.add_argument("--build", help=argparse.SUPPRESS)
    parser.add_argument("--check-presses", help=argparse.SUPPRESS, action="store_true")
    parser.add_argument("--runs", type=int, default=3, help="how often each is counted; 3 if not told otherwise")
    parser.add_argument("--json", action="store_true", help="print all that was measured as JSON instead of tables")
    parser.add_argument("--write", action="store_true", help="also put the tables into docs/footprint.md")
    arguments = parser.parse_args()
    if arguments.runs < 2:
        parser.error("whether a count repeats shows from 2 runs on")
    return arguments


def main():
    arguments = parse_arguments()
    if not arguments.build:
        return 0
    try:
        if arguments.check_presses:
            check_presses(arguments.build)
            return 0
        measured = measure(arguments.build, arguments.runs)
        print(json.dumps(measured, indent=2) if arguments.json else report.tables(measured))
        if arguments.write:
            report.replace(RECORD, report.tables(measured))
    except (FootprintError, LookupError, OSError, subprocess.CalledProcessError) as error:
        say(f"error: {error}")
        return 1
    except KeyboardInterrupt:
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
