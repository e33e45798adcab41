#!/usr/bin/env python3
"""recipes.py: each file that a page beside the guide names is there, and so are the targets and tests of commands."""

import glob
import os
import re
import subprocess
import sys

import pages

CODE = re.compile(r"`([^`\n]+)`")
PATH = re.compile(r"\.?[\w*-][\w.*-]*(?:/[\w.*-]+)+/?")
PLACEHOLDER = re.compile(r"\b[A-Z]{2,}\b")  # stands for any name
BUILD = os.environ["KX_BUILD"]
MADE = ("build/", "share/")  # by a build or an installation
TARGETS = re.compile(r"--target ((?:[\w-]+ ?)+)")
TESTS = re.compile(r"(?:\./test|ctest --test-dir build/dev(\S*)).*? -R ([^\s`]+)")


def paths_of(text):
    """In inline code, whole or the first word of a command."""
    for code in CODE.findall(text):
        word = code.split()[0].removeprefix("./")
        if PATH.fullmatch(word) and not word.startswith(MADE):
            yield word


def has_path(path):
    return bool(glob.glob(os.path.join(pages.SOURCE, PLACEHOLDER.sub("*", path))))


def has_target(name):
    asked = subprocess.run(["ninja", "-C", BUILD, "-t", "query", name], capture_output=True, check=False)
    return asked.returncode == 0


def has_tests(folder, pattern):
    listed = subprocess.run(["ctest", "--test-dir", BUILD + folder, "-N", "-R", pattern], capture_output=True,
                            text=True, check=True).stdout
    return not listed.rstrip().endswith("Total Tests: 0")


def check(path):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    named = [("file", name, has_path(name)) for name in paths_of(text)]
    named += [("target", name, has_target(name)) for names in TARGETS.findall(text) for name in names.split()]
    named += [("test", name, has_tests(folder, name)) for folder, name in TESTS.findall(text)]
    missing = ["%s: there is no %s %s" % (os.path.relpath(path, pages.SOURCE), kind, name)
               for kind, name, there in named if not there]
    return missing, len(named)


def main():
    names = ["CONTRIBUTING.md", "README.md", "SECURITY.md", "docs/*.md"]
    found = [path for name in names for path in sorted(glob.glob(os.path.join(pages.SOURCE, name)))]
    results = [check(path) for path in found]
    for missing, _ in results:
        for line in missing:
            print(line)
    count = sum(number for _, number in results)
    print("%d files, targets and tests" % count)
    return 1 if any(missing for missing, _ in results) or not count else 0


if __name__ == "__main__":
    sys.exit(main())
