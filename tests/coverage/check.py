"""check.py REPORT LIST SOURCES: compares gcovr's report with the list of lines that no test reaches.

REPORT is gcovr's JSON file, SOURCES the folder that its file names start from. Fails when a line is unreached and not
listed, or when an entry of the list fits no unreached line. Lines are told apart by file and text, so an entry stays
valid when lines are added above it.
"""

import json
import os
import sys
from collections import defaultdict

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
from entries import BadEntry, read_entries  # noqa: E402


def unreached_lines(report, sources):
    """Of each file and text: the numbers of the lines that were never run. And how many lines were counted, run."""
    unreached, counted, reached = defaultdict(list), 0, 0
    for file in report["files"]:
        name = file["file"]
        with open(os.path.join(sources, name), encoding="utf-8") as source:
            texts = source.read().splitlines()
        for line in file["lines"]:
            if line.get("gcovr/noncode"):
                continue
            counted += 1
            if line["count"]:
                reached += 1
            else:
                number = line["line_number"]
                unreached[name, texts[number - 1].strip()].append(number)
    return unreached, counted, reached


def compare(unreached, entries):
    """The problems, a line each. A text that stands in a file more than once needs an entry for each unreached one."""
    listed = defaultdict(list)
    for entry in entries:
        listed[entry["file"], entry["line"].strip()].append(entry["place"])
    problems = []
    for (file, text), numbers in sorted(unreached.items()):
        missing = len(numbers) - len(listed[file, text])
        problems += [f"{file}:{number}: no test reaches this line: {text}" for number in numbers if missing > 0]
    for (file, text), places in sorted(listed.items()):
        extra = len(places) - len(unreached.get((file, text), []))
        problems += [f"{place}: {file} has no such line, or a test reaches it: {text}"
                     for place in places[-extra:] if extra > 0]
    return problems


def main(report_path, list_path, sources):
    with open(report_path, encoding="utf-8") as file:
        unreached, counted, reached = unreached_lines(json.load(file), sources)
    if counted == 0:
        print("error: the report counts no line")
        return 1
    try:
        entries = read_entries(list_path, ["file", "line", "reason"])
    except BadEntry as error:
        print(f"error: {error}")
        return 1
    problems = compare(unreached, entries)
    for problem in problems:
        print(problem)
    print(f"{reached} of {counted} lines reached, {reached / counted:.1%}; "
          f"{counted - reached} unreached, {len(entries)} of them listed with a reason")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
