"""Measures what the library takes on the target, of a build that is there already; without one, only checks the
arguments. The command for both is measure."""

import argparse
import os
import sys
import tempfile

from shared import TOP, Failed, call, read_cache, say

from . import elf, emulator, report

LIBRARIES = ("libKXAPI_Events", "libKXAPI_OS_ABS", "libKXAPI_Hardware", "libKXAPI_Utility")
RUNS = 3  # of each program: the counts must be the same


class Footprint:
    """A build, installed and stripped in a folder. For a longer path the loader takes a few instructions more."""

    def __init__(self, build, folder):
        self.build, self.folder = build, folder
        cache = read_cache(build)
        missing = [name for name in ("KXAPI_EMULATOR", "KXAPI_SYSROOT", "CMAKE_READELF")
                   if cache.get(name, "-NOTFOUND").endswith("-NOTFOUND")]
        if missing:
            raise Failed(f"{build} was not configured for the target: it lacks {', '.join(missing)}")
        # The same random numbers each time: else the count would not repeat.
        self.emulator = [cache["KXAPI_EMULATOR"], "-L", cache["KXAPI_SYSROOT"], "-seed", "1"]
        self.readelf = cache["CMAKE_READELF"]
        for component in ("runtime", "footprint"):
            call("cmake", "--install", build, "--component", component, "--strip", "--prefix", folder)

    def count(self, name, tell):
        """What one run tells."""
        built = os.path.join(self.build, "bench", "footprint", "footprint_" + name)
        mark = elf.address(self.readelf, built, "footprintMark")
        return tell(*emulator.count(self.emulator, f"{self.folder}/bin/footprint_{name}", mark))

    def measure(self):
        measured = {"emulator": call(self.emulator[0], "--version").splitlines()[0],
                    "libraries": {name: elf.measure(self.readelf, os.path.realpath(f"{self.folder}/lib/{name}.so.1"))
                                  for name in LIBRARIES}}
        for name, what, tell in (("goes_without", "a start without the library", report.start),
                                 ("links", "a start with the library", report.start),
                                 ("creates", "a start that creates a manager", report.creation),
                                 ("presses", "key presses", report.presses)):
            measured[name] = repeated(what, RUNS, lambda name=name, tell=tell: self.count(name, tell))
        return measured

    def check_presses(self):
        """For the test suite: one run, in which all presses but the first ones must take the same."""
        taken = [press["instructions"] for press in self.count("presses", report.presses)]
        print("instructions of each press:", *taken)
        if len(taken) != 10 or len(set(taken[-8:])) != 1 or not 0 < taken[-1] <= taken[0]:
            raise Failed("ten presses were expected, and the last eight of them to take the same")
        return 0


def repeated(what, runs, count):
    """What count returns, which must be the same each time."""
    say(f"Counting {what}, {runs} times")
    first, *others = (count() for _ in range(runs))
    for other in (other for other in others if other != first):
        raise Failed(f"{what}: the count does not repeat: {first}, then {other}")
    return first


def main():
    parser = argparse.ArgumentParser(
        prog="bench/footprint/measure",
        description="Builds the library for 32-bit ARM and prints its sizes, and what a start and a key press take.")
    parser.add_argument("--build", help=argparse.SUPPRESS)
    parser.add_argument("--check-presses", help=argparse.SUPPRESS, action="store_true")
    parser.add_argument("--write", action="store_true", help="also put the tables into docs/footprint.md")
    arguments = parser.parse_args()
    if not arguments.build:
        return 0
    try:
        with tempfile.TemporaryDirectory(prefix="kx-footprint-", dir="/tmp") as folder:
            footprint = Footprint(arguments.build, folder)
            if arguments.check_presses:
                return footprint.check_presses()
            tables = report.tables(footprint.measure())
        print(tables)
        if arguments.write:
            report.replace(os.path.join(TOP, "docs", "footprint.md"), tables)
        return 0
    except (Failed, OSError) as error:
        say(f"error: {error}")
        return 1
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    sys.exit(main())
