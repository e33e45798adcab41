#!/usr/bin/env python3
"""links.py [SITE]: no link, picture or anchor is dead, in all Markdown files of the tree and in the built site."""

import glob
import os
import re
import subprocess
import sys
from html.parser import HTMLParser
from urllib.parse import unquote

import pages

LINK = re.compile(r"!?\[(?:[^\[\]]|\[[^\]]*\])*\]\(([^()\s]+)\)")
HEADING = re.compile(r"^#{1,6} +(.*?)$")


def strip_code(text):
    """Without fenced and inline code, whose brackets are no links; as many lines."""
    text = re.sub(r"^```.*?^```$", lambda match: "\n" * match.group(0).count("\n"), text,
                  flags=re.MULTILINE | re.DOTALL)
    text = re.sub(r"^    .*$", "", text, flags=re.MULTILINE)
    return re.sub(r"`[^`\n]*`", "", text)


def slug(heading):
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).replace("`", "").replace("*", "").strip().lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def anchors_of(path):
    with open(path, encoding="utf-8") as file:
        text = re.sub(r"^```.*?^```$", "", file.read(), flags=re.MULTILINE | re.DOTALL)
    found = [HEADING.match(line) for line in text.split("\n")]
    return {slug(match.group(1)) for match in found if match}


def check_markdown(path):
    problems, count = [], 0
    with open(path, encoding="utf-8") as file:
        text = strip_code(file.read())
    for match in LINK.finditer(text):
        target = match.group(1)
        if re.match(r"^[a-z]+:", target):
            continue
        count += 1
        place = "%s:%d" % (os.path.relpath(path, pages.SOURCE), text.count("\n", 0, match.start()) + 1)
        file, _, anchor = target.partition("#")
        goal = os.path.join(os.path.dirname(path), file) if file else path
        if not os.path.exists(goal):
            problems.append("%s: there is no %s" % (place, target))
        elif anchor and (not goal.endswith(".md") or anchor not in anchors_of(goal)):
            problems.append("%s: there is no heading for %s" % (place, target))
    return problems, count


class Page(HTMLParser):
    """The targets and the anchors of a page of the site."""

    def __init__(self, path):
        super().__init__()
        self.targets, self.anchors = [], set()
        with open(path, encoding="utf-8") as file:
            self.feed(file.read())

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        self.targets += [values[name] for name in ("href", "src") if values.get(name)]
        self.anchors |= {values[name] for name in ("id", "name") if values.get(name)}


def check_site(folder):
    parsed = {os.path.basename(path): Page(path) for path in glob.glob(os.path.join(folder, "*.html"))}
    problems, count = [], 0
    for name, page in parsed.items():
        for target in page.targets:
            if re.match(r"^(?!file:)[a-z]+:", target):
                continue
            count += 1
            file, _, anchor = unquote(target).partition("#")
            file = file or name
            if anchor == "nested-classes":
                continue  # Doxygen links the list of nested classes also where all of them are private
            if not os.path.exists(os.path.join(folder, file)):
                problems.append("%s: there is no %s" % (name, target))
            elif anchor and file in parsed and anchor not in parsed[file].anchors:
                problems.append("%s: there is no anchor for %s" % (name, target))
    return problems, count


def main():
    files = subprocess.run(["git", "-c", "safe.directory=*", "ls-files", "--cached", "--others", "--exclude-standard",
                            "*.md"], cwd=pages.SOURCE, capture_output=True, text=True, check=True).stdout.split("\n")
    results = [check_markdown(os.path.join(pages.SOURCE, name)) for name in files
               if name and os.path.exists(os.path.join(pages.SOURCE, name))]
    results += [check_site(folder) for folder in sys.argv[1:]]
    for problems, _ in results:
        for problem in problems:
            print(problem)
    counts = [count for _, count in results]
    print("%d links" % sum(counts))
    return 1 if any(problems for problems, _ in results) or not sum(counts) or not counts[-1] else 0


if __name__ == "__main__":
    sys.exit(main())
