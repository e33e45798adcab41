#!/usr/bin/env python3
"""The check of the reference notices each rule that bad.h breaks, and nothing else there."""

import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))

EXPECTED = """\
KX::Silent::withoutBlocking does not tell whether it blocks
KX::Silent::withoutThread does not tell its threads
KX::Told::deadline is a time without a unit
KX::Told::field is not described
KX::Told::takesWithoutOwner does not tell who owns 'silent'
KX::Told::undescribed is not described
KX::Told::withUnknownStatus names STATUS_LOST, which is no status
KX::Told::withWrongNumber says that STATUS_OK is 1
KX::Told::withoutOwner does not tell who owns what it returns
KX::Told::withoutStatus does not list its status numbers
KX::Told::withoutUnit does not tell the unit of 'timeout'
"""


def run(command, **options):
    return subprocess.run(command, capture_output=True, text=True, check=False, **options)


def main():
    with tempfile.TemporaryDirectory() as folder:
        settings = ["INPUT=" + os.path.join(HERE, "bad.h"), "OUTPUT_DIRECTORY=" + folder, "GENERATE_HTML=NO",
                    "GENERATE_LATEX=NO", "GENERATE_XML=YES", "QUIET=YES", "WARNINGS=NO"]
        run(["doxygen", "-"], input="\n".join(settings))
        result = run([sys.executable, os.path.join(HERE, "reference.py"), os.path.join(folder, "xml")])
        empty = run([sys.executable, os.path.join(HERE, "reference.py"), folder])
    found = sorted(re.sub(r"^\S+:\d+: ", "", line) for line in result.stdout.splitlines()[:-1])
    if "\n".join(found) + "\n" != EXPECTED or result.returncode != 1:
        print("status %d, and found was:\n%s\n%s" % (result.returncode, "\n".join(found), result.stderr))
        return 1
    if empty.returncode != 1:
        print("a folder without a reference passes")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
