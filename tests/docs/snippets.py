#!/usr/bin/env python3
"""Compiles each block of C++ that the guide shows, against the headers of the tree.

A block after <!-- file: NAME --> is a whole source. Another one stands within a preamble, whose name
<!-- within: NAME --> tells: tests/docs/preambles/NAME.cpp, in the place of its line SNIPPET.
"""

import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

import pages

HERE = os.path.dirname(os.path.abspath(__file__))


def source_of(block):
    if "file" in block.notes:
        return '#line %d "%s"\n%s' % (block.line + 1, block.page, block.text())
    if "within" not in block.notes:
        raise SystemExit("%s: a comment before it must name its file or its preamble" % block.place())
    with open(os.path.join(HERE, "preambles", block.notes["within"] + ".cpp"), encoding="utf-8") as file:
        preamble = file.read()
    if preamble.count("SNIPPET\n") != 1:
        raise SystemExit("the preamble '%s' has no line SNIPPET" % block.notes["within"])
    return preamble.replace("SNIPPET\n", '#line %d "%s"\n%s' % (block.line + 1, block.page, block.text()))


def compile_block(block):
    command = [os.environ.get("CXX", "c++"), "-std=c++17", "-fsyntax-only", "-fPIC", "-Wall", "-Wextra", "-Werror",
               "-I", pages.SOURCE, *FLAGS, "-x", "c++", "-"]
    result = subprocess.run(command, input=source_of(block), capture_output=True, text=True, check=False)
    return "" if result.returncode == 0 else "%s does not compile:\n%s" % (block.place(), result.stderr)


FLAGS = subprocess.run(["pkg-config", "--cflags", "Qt5Widgets", "gtest"], capture_output=True, text=True,
                       check=True).stdout.replace("-I", "-isystem").split()


def main():
    blocks = [block for page in pages.GUIDE for block in pages.read_blocks(page) if block.language == "cpp"]
    with ThreadPoolExecutor(2) as executor:
        problems = [problem for problem in executor.map(compile_block, blocks) if problem]
    for problem in problems:
        print(problem)
    print("%d snippets, %d do not compile" % (len(blocks), len(problems)))
    return 1 if problems or not blocks else 0


if __name__ == "__main__":
    sys.exit(main())
