"""What a shared library consists of, as readelf tells."""

import os
import re
import subprocess
from collections import Counter

SECTION = re.compile(r"\s*\[ *\d+\] (\S+)\s+([A-Z_]+)\s+[0-9a-f]+ [0-9a-f]+ ([0-9a-f]+) [0-9a-f]+ +([A-Za-z]*) +\d")
RELOCATION = re.compile(r"[0-9a-f]{8}\s+[0-9a-f]{8}\s+R_ARM_(\w+)")
REMARK = re.compile(r"\s*\[ *[0-9a-f]+\]\s+(GCC: .+)")
NEEDED = re.compile(r"\(NEEDED\).*\[(.+)\]")


def sections(text):
    """(name, bytes, part) of each section that is loaded; part as the program size has it: text, data or bss."""
    for line in text.splitlines():
        found = SECTION.match(line)
        if found and "A" in found[4]:
            part = "text" if "W" not in found[4] else "bss" if found[2] == "NOBITS" else "data"
            yield found[1], int(found[3], 16), part


def relocations(text):
    """Number of relocations by kind."""
    return Counter(found[1] for found in map(RELOCATION.match, text.splitlines()) if found)


def needed(text):
    return NEEDED.findall(text)


def compiler(text):
    """What a compiler leaves in a section for remarks."""
    return next((found[1] for found in map(REMARK.match, text.splitlines()) if found), "an unknown compiler")


class Reader:
    def __init__(self, readelf):
        self.readelf = readelf

    def show(self, what, path):
        return subprocess.run([self.readelf, "-W", what, path], check=True, capture_output=True, text=True,
                              env={**os.environ, "LC_ALL": "C"}).stdout

    def measure(self, path):
        parts, by_section = Counter(), {}
        for name, size, part in sections(self.show("--sections", path)):
            parts[part] += size
            by_section[name] = size
        return {
            **{part: parts[part] for part in ("text", "data", "bss")},
            "file": os.path.getsize(path),
            "sections": by_section,
            "relocations": dict(relocations(self.show("--relocs", path)).most_common()),
            "needed": needed(self.show("--dynamic", path)),
            "compiler": compiler(self.show("--string-dump=.comment", path)),
        }

    def address(self, path, function):
        """Where the function of a program begins that is not moved when it is loaded."""
        for line in self.show("--symbols", path).splitlines():
            fields = line.split()
            if fields[-1:] == [function]:
                return int(fields[1], 16) & ~1  # the lowest bit tells which instruction set it is in
        raise LookupError(f"{path} has no function {function}")
