#!/usr/bin/env python3
"""Compiles each block of C++ that the guide shows, against the headers of the tree.

A block after <!-- file: NAME --> is a whole source, which may include others of its page. Any other one is a fragment.
Its comment <!-- within: NAME --> names a preamble, tests/docs/preambles/NAME.cpp.in. What stands there behind the line
"// Each snippet:" is repeated for each of them, with SNIPPET and NUMBER replaced. So all fragments of a preamble are
one compilation.
"""

import os
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor

import pages

PREAMBLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "preambles")
FLAGS = subprocess.run(["pkg-config", "--cflags", "Qt5Widgets", "gtest"], capture_output=True, text=True,
                       check=True).stdout.replace("-I", "-isystem").split()


def read_snippets():
    return [block for page in pages.GUIDE for block in pages.read_blocks(page) if block.language == "cpp"]


def join_fragments(name, blocks):
    """One source of all fragments; the compiler tells page and line of each."""
    with open(os.path.join(PREAMBLES, name + ".cpp.in"), encoding="utf-8") as file:
        head, wrapper = file.read().split("// Each snippet:\n")
    parts = []
    for number, block in enumerate(blocks):
        text = '#line %d "%s"\n%s' % (block.line + 1, block.page, block.text())
        parts.append(wrapper.replace("NUMBER", str(number)).replace("SNIPPET\n", text))
    return head + "".join(parts)


def write_files(page, folder):
    """The sources that a page shows, all in one folder."""
    for block in pages.read_blocks(page):
        if "file" in block.notes and block.language == "cpp":
            with open(os.path.join(folder, os.path.basename(block.notes["file"])), "w", encoding="utf-8") as file:
                file.write(block.text())


def compile_source(source, page=None):
    with tempfile.TemporaryDirectory() as folder:
        if page:
            write_files(page, folder)
        command = [os.environ.get("CXX", "c++"), "-std=c++17", "-fsyntax-only", "-fPIC", "-Wall", "-Wextra", "-Werror",
                   "-I", folder, "-I", pages.SOURCE, *FLAGS, "-x", "c++", "-"]
        result = subprocess.run(command, input=source, capture_output=True, text=True, check=False)
    return "" if result.returncode == 0 else result.stderr


def sources(blocks):
    """A source, and the page whose files it includes, for each compilation."""
    for block in blocks:
        if "file" in block.notes:
            yield '#include "%s"\n' % os.path.basename(block.notes["file"]), block.page
        elif "within" not in block.notes:
            raise SystemExit("%s: a comment before it must name its file or its preamble" % block.place())
    for name in sorted({block.notes["within"] for block in blocks if "within" in block.notes}):
        yield join_fragments(name, [block for block in blocks if block.notes.get("within") == name]), None


def main():
    blocks = read_snippets()
    with ThreadPoolExecutor(2) as executor:
        problems = [problem for problem in executor.map(lambda job: compile_source(*job), sources(blocks)) if problem]
    for problem in problems:
        print(problem)
    print("%d snippets" % len(blocks))
    return 1 if problems or not blocks else 0


if __name__ == "__main__":
    sys.exit(main())
