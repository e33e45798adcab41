"""What a library consists of, as readelf tells."""

import os
import re
from collections import Counter

from shared import Failed, call

SECTION = re.compile(r"(?m)^\s*\[ *\d+\] (\S+)\s+([A-Z_]+)\s+[\da-f]+ [\da-f]+ ([\da-f]+) [\da-f]+ +([A-Za-z]*) +\d")
RELOCATION = re.compile(r"(?m)^[0-9a-f]{8}\s+[0-9a-f]{8}\s+R_ARM_(\w+)")
REMARK = re.compile(r"(?m)^\s*\[ *[0-9a-f]+\]\s+(GCC: .+)")
NEEDED = re.compile(r"\(NEEDED\).*\[(.+)\]")


def sections(text):
    """(name, bytes, part) of each section that is loaded; part as the program size has it: text, data or bss."""
    for name, kind, size, flags in SECTION.findall(text):
        if "A" in flags:
            yield name, int(size, 16), "text" if "W" not in flags else "bss" if kind == "NOBITS" else "data"


def measure(readelf, path):
    found = list(sections(call(readelf, "-W", "--sections", path)))
    remarks = REMARK.findall(call(readelf, "-W", "--string-dump=.comment", path))
    return {**{wanted: sum(size for _, size, part in found if part == wanted) for wanted in ("text", "data", "bss")},
            "file": os.path.getsize(path),
            "sections": {name: size for name, size, _ in found},
            "relocations": dict(Counter(RELOCATION.findall(call(readelf, "-W", "--relocs", path))).most_common()),
            "needed": NEEDED.findall(call(readelf, "-W", "--dynamic", path)),
            "compiler": remarks[0] if remarks else "an unknown compiler"}


def address(readelf, path, function):
    """Where a function of a program begins that is not moved when it is loaded."""
    for found in re.findall(rf"(?m)^ *\d+: ([0-9a-f]+) .* {function}$", call(readelf, "-W", "--symbols", path)):
        return int(found, 16) & ~1  # the lowest bit tells which instruction set it is in
    raise Failed(f"{path} has no function {function}")
