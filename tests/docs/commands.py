#!/usr/bin/env python3
"""commands.py [--write] [PAGE...]: runs each command line that the guide shows, and compares its output.

A block of the language console has lines "$ COMMAND", each followed by its output. A command that ends with a
backslash goes on in the next line. All commands of a page run in one folder, in their order. It has the tree's docs,
examples and tests, and the files that the page shows: those whose block follows <!-- file: NAME -->. The built
programs are in the path, and /opt/kx stands for the installation.

<!-- not run: REASON --> before a block leaves it out, with a line. --write puts the output of today into the pages.
"""

import os
import re
import subprocess
import sys
import tempfile

import pages

BUILD = os.environ["KX_BUILD"]
PREFIX = os.environ.get("KX_PREFIX", "")
SHOWN_PREFIX = "/opt/kx"
TREE = ("docs", "examples", "tests", "packaging")
LANGUAGES = ("console", "cpp", "cmake", "text")


def make_folder(folder):
    for name in TREE:
        os.symlink(os.path.join(pages.SOURCE, name), os.path.join(folder, name))


def environment():
    programs = [os.path.join(BUILD, folder) for folder in ("tools/kxreplay", "tools/kxcan", "terminal")]
    values = dict(os.environ, PATH=os.pathsep.join(programs + [os.environ["PATH"]]), LC_ALL="C.UTF-8",
                  QT_QPA_PLATFORM="offscreen")
    for name in ("LD_LIBRARY_PATH", "KX_DEBUG", "KX_CAN_BUS_0", "PKG_CONFIG_PATH", "CMAKE_PREFIX_PATH"):
        values.pop(name, None)
    return values


def parse(block):
    """[command lines, shown output lines] of each command of a block."""
    steps = []
    for line in block.lines:
        if line.startswith("$ "):
            steps.append([[line], []])
        elif steps and steps[-1][0][-1].endswith("\\") and not steps[-1][1]:
            steps[-1][0].append(line)
        elif steps:
            steps[-1][1].append(line)
        else:
            raise SystemExit("%s does not begin with a command" % block.place())
    return steps


def run(lines, folder):
    command = "\n".join(lines)[2:].replace(SHOWN_PREFIX, PREFIX)
    result = subprocess.run(["bash", "-c", command], cwd=folder, env=environment(), stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, timeout=100)
    output = result.stdout.replace(PREFIX, SHOWN_PREFIX) if PREFIX else result.stdout
    return output.replace(folder, "...").rstrip("\n").split("\n") if output.strip() else []


def check(block, folder):
    """Problems of a block, and its lines as they are today."""
    problems, today = [], []
    for lines, shown in parse(block):
        if SHOWN_PREFIX in "\n".join(lines) and not PREFIX:
            raise SystemExit("%s needs an installation: set KX_PREFIX" % block.place())
        printed = run(lines, folder)
        today += lines + printed
        if printed != shown:
            problems.append("%s: '%s' prints\n%s\ninstead of\n%s" % (block.place(), " ".join(lines)[2:],
                                                                     "\n".join(printed), "\n".join(shown)))
    return problems, today


def check_page(page, write):
    problems, count, left_out, replaced = find_indented(page), 0, [], {}
    with tempfile.TemporaryDirectory() as folder:
        make_folder(folder)
        for block in pages.read_blocks(page):
            if block.language not in LANGUAGES:
                problems.append("%s: a block of '%s' is none of %s" % (block.place(), block.language, LANGUAGES))
            if "file" in block.notes:
                path = os.path.join(folder, block.notes["file"])
                os.makedirs(os.path.dirname(path), exist_ok=True)
                with open(path, "w", encoding="utf-8") as file:
                    file.write(block.text())
            if block.language == "text" and any(line.startswith("$ ") for line in block.lines):
                problems.append("%s: a command stands in a block of the language console" % block.place())
            if block.language != "console":
                continue
            if "not run" in block.notes:
                left_out.append("%s is not run: %s" % (block.place(), block.notes["not run"]))
                continue
            found, today = check(block, folder)
            problems += found
            count += 1
            replaced[block.line] = (len(block.lines), today)
    if write:
        rewrite(page, replaced)
    return problems, count, left_out


def find_indented(page):
    """Blocks without a fence, which nobody compiles or runs."""
    with open(page, encoding="utf-8") as file:
        text = re.sub(r"^```.*?^```$", lambda match: "\n" * match.group(0).count("\n"), file.read(),
                      flags=re.MULTILINE | re.DOTALL)
    return ["%s:%d: a block of code has a fence and a language" % (page, number)
            for number, line in enumerate(text.split("\n"), 1) if line.startswith("    ")]


def rewrite(page, replaced):
    with open(page, encoding="utf-8") as file:
        lines = file.read().split("\n")
    for line in sorted(replaced, reverse=True):
        length, today = replaced[line]
        lines[line:line + length] = today
    with open(page, "w", encoding="utf-8") as file:
        file.write("\n".join(lines))


def main():
    arguments = sys.argv[1:]
    write = "--write" in arguments
    names = [argument for argument in arguments if argument != "--write"]
    total, failed = 0, False
    for page in [os.path.abspath(name) for name in names] or pages.GUIDE:
        problems, count, left_out = check_page(page, write)
        total += count
        for line in left_out + problems:
            print(line)
        failed = failed or (bool(problems) and not write)
    print("%d blocks of commands" % total)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
