#!/usr/bin/env python3
"""The pictures of the guide are those that kxreplay draws today, from the recordings of today.

Compared are texts, shapes, places and colours. How Qt writes a file may change with its version.
"""

import glob
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

import pages

NUMBER = re.compile(r"-?\d+(?:\.\d+)?")
TOLD = ("d", "x", "y", "cx", "cy", "r", "width", "height", "points", "fill", "stroke", "transform")


def drawing(path):
    """What a picture shows: each text, and each shape with its rounded numbers."""
    shown = []
    for element in ElementTree.parse(path).getroot().iter():
        tag = element.tag.rpartition("}")[2]
        if tag in ("svg", "title", "desc", "defs"):
            continue
        values = [NUMBER.sub(lambda match: "%.0f" % float(match.group(0)), element.get(name, "")) for name in TOLD]
        shown.append((tag, (element.text or "").strip(), values))
    return [line for line in shown if line[1] or line[0] != "g"]


def main():
    kept = os.path.join(pages.SOURCE, "docs/guide/pictures")
    with tempfile.TemporaryDirectory() as folder:
        program = os.path.join(os.environ["KX_BUILD"], "tools/kxreplay/kxreplay")
        subprocess.run([os.path.join(pages.SOURCE, "docs/guide/draw"), folder], check=True,
                       env=dict(os.environ, KXREPLAY=program))
        names = {os.path.basename(path) for path in glob.glob(folder + "/*") + glob.glob(kept + "/*")}
        problems = [name for name in sorted(names)
                    if not all(os.path.exists(os.path.join(place, name)) for place in (folder, kept))
                    or drawing(os.path.join(folder, name)) != drawing(os.path.join(kept, name))]
    for name in problems:
        print("docs/guide/pictures/%s is not what docs/guide/draw draws" % name)
    print("%d pictures" % len(names))
    return 1 if problems or not names else 0


if __name__ == "__main__":
    sys.exit(main())
