#!/usr/bin/env python3
"""virtual_tables.py SOURCE LIST COMPILER...: compares the compiler's virtual tables of the classes in SOURCE with
the tables in LIST."""
import re
import subprocess
import sys
import tempfile

IMPLEMENTED = "Implemented"  # prefix of a class that stands for its abstract base


def listed_tables(path):
    tables = {}
    with open(path, encoding="utf-8") as lines:
        for line in (line.split("#")[0].rstrip() for line in lines):
            if line.startswith(" "):
                tables[name].append(line.strip())
            elif line:
                name = line
                tables[name] = []
    return tables


def dump_classes(source, compiler):
    with tempfile.TemporaryDirectory() as folder:
        dump = folder + "/classes"
        subprocess.run([*compiler, "-fsyntax-only", "-fdump-lang-class=" + dump, source], check=True)
        with open(dump, encoding="utf-8") as text:
            return text.read()


def operations(table):
    """The functions of the primary table, from its type information to the next offset or number."""
    lines = table.splitlines()
    first = next(index for index, line in enumerate(lines) if "(& _ZTI" in line) + 1
    names = []
    for line in lines[first:]:
        entry = re.fullmatch(r"\d+ +\(int \(\*\)\(\.\.\.\)\)(?:.*::)?(~?)(\w+)", line)
        if not entry or entry[2].isdigit():
            break
        names.append("destructor" if entry[1] else entry[2])
    return merge_destructors(names)


def merge_destructors(names):
    at = names.index("destructor")
    if names[at:at + 2] != ["destructor", "destructor"]:
        raise ValueError("one destructor slot alone: " + ", ".join(names))
    return names[:at] + names[at + 1:]


def compiled_tables(dump):
    """Tables by class. An abstract class has no names in its own table, so its implementation's table is used."""
    tables = {}
    for found in re.finditer(r"^Vtable for KX::(\w+)\n.*\n((?:.+\n)*)", dump, re.MULTILINE):
        if "__cxa_pure_virtual" not in found[2]:
            tables[found[1].removeprefix(IMPLEMENTED)] = operations(found[2])
        else:
            tables.setdefault(found[1], None)
    return tables


def main():
    source, listing, *compiler = sys.argv[1:]
    listed = listed_tables(listing)
    compiled = compiled_tables(dump_classes(source, compiler))
    wrong = [name for name in {**listed, **compiled} if listed.get(name) != compiled.get(name)]
    for name in wrong:
        print(f"FAILED: {name}: listed {listed.get(name)}, compiled {compiled.get(name)}")
    print(f"{len(compiled)} classes compared")
    return 1 if wrong or not compiled else 0


if __name__ == "__main__":
    sys.exit(main())
