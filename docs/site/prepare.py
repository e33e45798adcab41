#!/usr/bin/env python3
"""prepare.py FOLDER: copies the documents and examples of the tree into FOLDER, as Doxygen reads them.

Readers of the tree follow relative links between Markdown files and to headings. The site has all pages in one
folder, under names of their own. So links and headings are rewritten here. A link to a file of the tree that is
not on the site becomes the file's path. Pictures are copied beside the pages.
"""

import glob
import os
import re
import shutil
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PAGES = ["docs/guide/*.md", "docs/*.md", "docs/performance/*.md", "platform/simulated/README.md",
         "tests/recordings/README.md", "examples/*.cpp"]
LINK = re.compile(r"(!?)\[((?:[^\[\]]|\[[^\]]*\])*)\]\(([^()\s]+)\)")
CODE = re.compile(r"(`+)(.+?)\1")
HEADING = re.compile(r"^(#{1,6}) +(.*?)$")


def slug(heading):
    """The anchor that code hosts give a heading: lower case, blanks as hyphens, no other signs."""
    text = re.sub(r"[`*]", "", re.sub(LINK, r"\2", heading)).strip().lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def page_name(path):
    """Of a document or an example, as docs/guide/keypad.md: guide-keypad."""
    base = os.path.splitext(path)[0]
    return re.sub(r"^docs-", "", base.replace("/", "-"))


def list_pages():
    found = [path for pattern in PAGES for path in sorted(glob.glob(os.path.join(ROOT, pattern)))]
    return {path: page_name(path) for path in (os.path.relpath(path, ROOT) for path in found)}


def read_classes():
    """Names of the classes of the installed headers, which pages link when they stand alone as code."""
    names = set()
    for folder in ("events", "events/sync", "encoder", "actions", "input", "toolkit", "recording", "replay", "platform",
                   "platform/simulated"):
        for header in glob.glob(os.path.join(ROOT, folder, "*.h")):
            name = os.path.splitext(os.path.basename(header))[0]
            with open(header, encoding="utf-8") as file:
                if re.search(r"^(?:class|struct)\b[^;]*\b%s\b[^;]*\{" % name, file.read(), re.MULTILINE):
                    names.add(name)
    return names


def anchor_of(page, heading):
    return "%s--%s" % (page, slug(heading))


class Writer:
    def __init__(self, target):
        self.target = target
        self.pages = list_pages()
        self.classes = read_classes()

    def write(self):
        os.makedirs(self.target)
        # Doxygen lists pages in the order of their files.
        for number, (path, page) in enumerate(self.pages.items()):
            with open(os.path.join(ROOT, path), encoding="utf-8") as file:
                text = file.read()
            text = self.example(path, text) if path.endswith(".cpp") else self.document(path, page, text)
            with open(os.path.join(self.target, "%02d-%s.md" % (number, page)), "w", encoding="utf-8") as file:
                file.write(text)

    @staticmethod
    def example(path, text):
        return "# %s {#%s}\n\n```{.cpp}\n%s```\n" % (path, page_name(path), text)

    def document(self, path, page, text):
        lines, fence, comment, first = [], False, False, True
        for line in text.split("\n"):
            if re.match(r"^```", line):
                fence = not fence
                line = re.sub(r"^```(\w+)$", r"```{.\1}", line)
            elif not fence and line.startswith("<!--"):
                comment = True
            if comment:
                comment = "-->" not in line
                continue
            if not fence and not line.startswith("    "):
                heading = HEADING.match(line)
                if heading:
                    anchor = page if first else anchor_of(page, heading.group(2))
                    first = False
                    line = "%s %s {#%s}" % (heading.group(1), re.sub("`", "", heading.group(2)), anchor)
                else:
                    line = self.inline(path, page, line)
            lines.append(line)
        return "\n".join(lines)

    def inline(self, path, page, line):
        line = LINK.sub(lambda match: self.link(path, page, match), line)
        return CODE.sub(self.code, line)

    def code(self, match):
        """A class of the reference, or an operation of one, becomes a link."""
        found = re.fullmatch(r"(?:KX::)?(\w+)(?:::(\w+))?(?:\(\))?", match.group(2))
        if not found or found.group(1) not in self.classes:
            return match.group(0)
        name = "KX::" + found.group(1) + ("::" + found.group(2) if found.group(2) else "")
        return '@ref %s "%s"' % (name, match.group(2))

    def link(self, path, page, match):
        picture, text, target = match.groups()
        if re.match(r"^[a-z]+:", target):
            return match.group(0)
        file, _, anchor = target.partition("#")
        file = os.path.relpath(os.path.join(ROOT, os.path.dirname(path), file), ROOT) if file else path
        if picture:
            return self.picture(file, text)
        if os.path.join(file, "README.md") in self.pages:
            file = os.path.join(file, "README.md")
        if file not in self.pages:
            plain = text.replace("`", "")
            return "`%s`" % file if plain in (file, os.path.basename(file)) else "%s (`%s`)" % (text, file)
        goal = self.pages[file] + ("--" + anchor if anchor else "")
        return '@ref %s "%s"' % (goal, text.replace("`", "").replace('"', ""))

    def picture(self, file, text):
        name = re.sub(r"^docs-", "", file.replace("/", "-"))
        shutil.copyfile(os.path.join(ROOT, file), os.path.join(self.target, name))
        image = '<img src="%s" alt="%s"/>' % (name, text.replace('"', "&quot;"))
        return '@htmlonly <div class="picture">%s</div> @endhtmlonly' % image


if __name__ == "__main__":
    Writer(sys.argv[1]).write()
