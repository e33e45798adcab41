"""The pages that the tests of this folder read, and their fenced blocks."""

import glob
import os
import re

SOURCE = os.environ.get("KX_SOURCE") or os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
GUIDE = sorted(glob.glob(os.path.join(SOURCE, "docs/guide/*.md")))
COMMENT = re.compile(r"^<!-- (file|within|not run): (.+) -->$")


class Block:
    """A fenced block: its language, its lines, the line of its fence, and what a comment before it tells."""

    def __init__(self, page, line, language, notes):
        self.page, self.line, self.language, self.notes, self.lines = page, line, language, notes, []

    def place(self):
        return "%s:%d" % (os.path.relpath(self.page, SOURCE), self.line)

    def text(self):
        return "\n".join(self.lines) + "\n"


def read_blocks(page):
    blocks, notes, block = [], {}, None
    with open(page, encoding="utf-8") as file:
        for number, line in enumerate(file.read().split("\n"), 1):
            if block is not None:
                if line == "```":
                    blocks.append(block)
                    block = None
                else:
                    block.lines.append(line)
            elif line.startswith("```"):
                block = Block(page, number, line[3:], notes)
                notes = {}
            else:
                found = COMMENT.match(line)
                if found:
                    notes[found.group(1)] = found.group(2)
                elif line.strip():
                    notes = {}
    if block is not None:
        raise SystemExit("%s is not closed" % block.place())
    return blocks
