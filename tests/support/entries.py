"""Reads the lists that tests keep beside the sources: entries of named fields, which people write by hand.

    # a comment
    file: events/KXEvent.cpp
    line: int lost = 0;
    reason: two words
        and what does not fit into one line

An empty line ends an entry. Lines that are indented by four spaces belong to the field before them.
"""

import re


class BadEntry(Exception):
    """What is wrong, and where."""


def read_entries(path, fields):
    """The entries of a file, each a dictionary of exactly these fields, and of its place as 'FILE:LINE'."""
    entries, entry, field = [], {}, None
    with open(path, encoding="utf-8") as lines:
        for number, line in enumerate(lines, 1):
            line = line.rstrip()
            place = f"{path}:{number}"
            named = re.match(r"([a-z]+):(?: (.*))?$", line)
            if line.startswith("    ") and field:
                entry[field].append(line[4:])
            elif named and named[1] in fields and named[1] not in entry:
                entry.setdefault("place", place)
                field = named[1]
                entry[field] = [named[2]] if named[2] else []
            elif not line:
                _end(entries, entry, fields)
                entry, field = {}, None
            elif not line.startswith("#"):
                raise BadEntry(f"{place}: neither a comment nor one of the fields {', '.join(fields)}: {line}")
    _end(entries, entry, fields)
    return entries


def _end(entries, entry, fields):
    if not entry:
        return
    missing = [field for field in fields if not entry.get(field)]
    if missing:
        raise BadEntry(f"{entry['place']}: the entry lacks {' and '.join(missing)}")
    entries.append({field: "\n".join(entry[field]) for field in fields} | {"place": entry["place"]})
