"""What bench/compare and bench/footprint/measure share."""

import os
import re
import subprocess
import sys

TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


class Failed(Exception):
    """Something went wrong; the text says in one line what."""


class WrongUse(Failed):
    """Something that was asked for cannot be."""


def say(text):
    print(text, file=sys.stderr, flush=True)


def call(*command):
    """What a program prints. What it says on standard error counts when it fails."""
    name = os.path.basename(command[0])
    try:
        done = subprocess.run(command, check=False, text=True, capture_output=True, env={**os.environ, "LC_ALL": "C"})
    except OSError as problem:
        raise Failed(f"{name} cannot be started: {problem.strerror}") from problem
    if done.returncode != 0:
        said = (done.stderr or done.stdout).rstrip().rpartition("\n")[2]
        raise Failed(f"{name} ended with status {done.returncode}" + (f": {said}" if said else ""))
    return done.stdout


def read_cache(build):
    """What CMake was configured with."""
    with open(os.path.join(build, "CMakeCache.txt"), encoding="utf-8") as file:
        return dict(re.findall(r"(?m)^(\w+):\w+=(.*)$", file.read()))


def table(rows, of_numbers=True):
    """A Markdown table whose columns line up. The first row is the head; numbers stand on the right of their column."""
    rows = [[f"{cell:,}" if isinstance(cell, int) else cell for cell in row] for row in rows]
    widths = [max(map(len, column)) for column in zip(*rows)]
    aligns = ["<"] + [">" if of_numbers else "<"] * (len(widths) - 1)
    lines = [[f"{cell:{align}{width}}" for cell, align, width in zip(row, aligns, widths)] for row in rows]
    lines.insert(1, ["-" * (width - 1) + (":" if align == ">" else "-") for align, width in zip(aligns, widths)])
    return "".join("| " + " | ".join(line) + " |\n" for line in lines)
