#!/usr/bin/env python3
"""The guide explains each line that the library writes, and none that it does not write.

The first words of each diagnostic line and of each message of the debug service stand in docs/guide/gestures.md. What
that page's tables quote stands in the sources.
"""

import glob
import os
import re
import sys

import pages

FOLDERS = ("events", "encoder", "actions", "input", "recording/recorder", "platform/linux/*")
WRITTEN = re.compile(r'writeLine\(std::c(?:out|err),\s*\{\s*"((?:[^"\\]|\\.)*)"'
                     r'|reportError\("((?:[^"\\]|\\.)*)"\)'
                     r'|return \{"(ENCODER (?:[^"\\]|\\.)*)"')
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
QUOTED = re.compile(r"^\| (?:`kx_\w+`: )?`([^`]+)` \|", re.MULTILINE)


def sources():
    for folder in FOLDERS:
        for path in glob.glob(os.path.join(pages.SOURCE, folder, "*.cpp")):
            with open(path, encoding="utf-8") as file:
                # The compiler joins neighbouring literals.
                yield path, re.sub(r'"\s*\n\s*"', "", file.read())


def fixed_part(quoted):
    """What a quoted line has before its first number or its dots."""
    return re.split(r"\d|\.\.\.|\"", quoted)[0].strip()


def main():
    with open(os.path.join(pages.SOURCE, "docs/guide/gestures.md"), encoding="utf-8") as file:
        text = file.read()
    table = text[text.index("## What the library writes"):]
    problems, literals, count = [], [], 0
    for path, source in sources():
        literals += LITERAL.findall(source)
        for match in WRITTEN.finditer(source):
            count += 1
            line = next(group for group in match.groups() if group is not None)
            if line.strip() not in table:
                problems.append("%s writes a line that the guide does not explain: %s" %
                                (os.path.relpath(path, pages.SOURCE), line))
    for quoted in QUOTED.findall(table):
        count += 1
        part = fixed_part(quoted)
        if part and not any(part in literal for literal in literals):
            problems.append("the guide quotes a line that no source writes: %s" % quoted)
    print("\n".join(problems + ["%d lines" % count]))
    return 1 if problems or not count else 0


if __name__ == "__main__":
    sys.exit(main())
