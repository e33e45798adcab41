"""check.py REPORT LIST SOURCES: compares gcovr's report with the list of lines that no test reaches.

REPORT is gcovr's JSON file, SOURCES the folder that its file names start from. Fails when a line is unreached and not
listed, or when an entry of the list fits no unreached line. Lines are told apart by file and text, so an entry stays
valid when lines are added above it. A line that is reached by chance may be reached.
"""

import json
import os
import sys
from collections import defaultdict

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
from entries import BadEntry, read_entries  # noqa: E402


def read_lines(report, sources):
    """The numbers of the lines of each file and text, of all that were counted and of those that were never run."""
    counted, unreached = defaultdict(list), defaultdict(list)
    for file in report["files"]:
        name = file["file"]
        with open(os.path.join(sources, name), encoding="utf-8") as source:
            texts = source.read().splitlines()
        for line in file["lines"]:
            if line.get("gcovr/noncode"):
                continue
            number = line["line_number"]
            key = name, texts[number - 1].strip()
            counted[key].append(number)
            if not line["count"]:
                unreached[key].append(number)
    return counted, unreached


def compare(counted, unreached, entries):
    """The problems, a line each. A text that stands in a file more than once needs an entry for each unreached one."""
    listed, by_chance = defaultdict(list), set()
    for entry in entries:
        key = entry["file"], entry["line"].strip()
        listed[key].append(entry["place"])
        if entry["reached"] == "by chance":
            by_chance.add(key)
        elif entry["reached"] != "never":
            raise BadEntry(f"{entry['place']}: a line is reached never or by chance")
    problems = []
    for (file, text), numbers in sorted(unreached.items()):
        missing = len(numbers) - len(listed[file, text])
        problems += [f"{file}:{number}: no test reaches this line: {text}" for number in numbers if missing > 0]
    for (file, text), places in sorted(listed.items()):
        expected = counted if (file, text) in by_chance else unreached
        extra = len(places) - len(expected.get((file, text), []))
        problems += [f"{place}: {file} has no such line, or a test reaches it: {text}"
                     for place in places[-extra:] if extra > 0]
    return problems


def main(report_path, list_path, sources):
    with open(report_path, encoding="utf-8") as file:
        counted, unreached = read_lines(json.load(file), sources)
    if not counted:
        print("error: the report counts no line")
        return 1
    try:
        entries = read_entries(list_path, ["file", "line", "reached", "reason"])
        problems = compare(counted, unreached, entries)
    except BadEntry as error:
        print(f"error: {error}")
        return 1
    for problem in problems:
        print(problem)
    lines, missed = (sum(map(len, numbers.values())) for numbers in (counted, unreached))
    print(f"{lines - missed} of {lines} lines reached, {1 - missed / lines:.1%}; {missed} unreached; "
          f"{len(entries)} are listed with a reason")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
