#!/usr/bin/env python3
"""Each option of kxterminal, kxreplay and kxcan that a document names is one that the program knows."""

import os
import re
import subprocess
import sys

import pages

PROGRAMS = {"kxreplay": "tools/kxreplay/kxreplay", "kxcan": "tools/kxcan/kxcan", "kxterminal": "terminal/kxterminal"}
COMMAND = re.compile(r"\b(kxreplay|kxcan|kxterminal)\b([^`|;&>\n]*)")
OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]*")


def known_options(program):
    path = os.path.join(os.environ["KX_BUILD"], PROGRAMS[program])
    help_text = subprocess.run([path, "--help"], capture_output=True, text=True, check=True,
                               env=dict(os.environ, QT_QPA_PLATFORM="offscreen")).stdout
    return set(OPTION.findall(help_text))


def code_of(text):
    """Fenced, indented and inline code."""
    return "\n".join(re.findall(r"^```.*?^```$", text, re.MULTILINE | re.DOTALL)
                     + re.findall(r"^    .*$", text, re.MULTILINE) + re.findall(r"`([^`\n]+)`", text))


def main():
    known = {program: known_options(program) for program in PROGRAMS}
    files = subprocess.run(["git", "-c", "safe.directory=*", "ls-files", "--cached", "--others", "--exclude-standard",
                            "*.md"], cwd=pages.SOURCE, capture_output=True, text=True, check=True).stdout.split("\n")
    problems, count = [], 0
    for name in filter(None, files):
        with open(os.path.join(pages.SOURCE, name), encoding="utf-8") as file:
            code = code_of(file.read().replace("\\\n", " "))
        for program, rest in COMMAND.findall(code):
            for option in OPTION.findall(rest):
                count += 1
                if option not in known[program]:
                    problems.append("%s: %s knows no %s" % (name, program, option))
    print("\n".join(problems + ["%d options" % count]))
    return 1 if problems or not count else 0


if __name__ == "__main__":
    sys.exit(main())
