"""What the runs tell, and tables of it as Markdown that can be read as it is."""

import re
import textwrap
from collections import Counter

from shared import Failed, table

BEGIN, END = "<!-- measured: bench/footprint/measure --write -->\n", "<!-- end -->\n"
GROUPS = {"footprint_": "the program itself", "libKXAPI_Events": "libKXAPI_Events",
          "libKXAPI_": "the platform's libraries", "libstdc++": "C++ library", "libgcc_s": "C++ library",
          "libc.": "C library", "libboost_": "Boost", "ld-linux": "loader"}
SECTIONS = {
    "code": (".text", ".plt", ".init", ".fini"),
    "constants": (".rodata",),
    "virtual tables and other constants that are relocated": (".data.rel.ro", ".init_array", ".fini_array"),
    "tables for exceptions": (".ARM.exidx", ".ARM.extab", ".eh_frame"),
    "names of symbols, and what finds them": (".dynsym", ".dynstr", ".gnu.hash", ".gnu.version", ".gnu.version_r"),
    "relocations": (".rel.dyn", ".rel.plt"),
}
KINDS = ("RELATIVE", "ABS32", "GLOB_DAT", "JUMP_SLOT")
FILL = textwrap.TextWrapper(115, break_long_words=False, break_on_hyphens=False)
RELOCATION_BYTES = 8  # an entry of a REL section on a 32-bit machine


def by_group(stretch, memory_map):
    groups = Counter()
    for file, instructions in stretch.by_owner(memory_map).items():
        group = next((group for begin, group in GROUPS.items() if file.startswith(begin)), file or "elsewhere")
        groups[group] += instructions
    return dict(+groups)


def start(stretches, memory_map):
    """Up to main. GLib's part is left out: it divides the time of day, which does not always take the same."""
    owners = stretches[0].by_owner(memory_map)
    return {"instructions": sum(number for file, number in owners.items() if "libglib" not in file),
            "loader": owners["ld-linux-armhf.so.3"]}


def creation(stretches, memory_map):
    """In main, up to the manager. What the worker does meanwhile does not count."""
    return {**start(stretches, memory_map), "creation": stretches[1].by_block.total(),
            "owners": by_group(stretches[1], memory_map)}


def side(stretch, memory_map):
    names = stretch.names_of_calls
    if len(names) != stretch.calls:
        raise Failed(f"{stretch.calls} system calls were made, but {len(names)} are named: count again")
    return {"instructions": stretch.by_block.total(), "owners": by_group(stretch, memory_map), "system_calls": names}


def presses(stretches, memory_map):
    """Each has a stretch for toolkitEventOccurred, one for getNextEvent, and one for what comes until the next."""
    return [{"instructions": handed.by_block.total() + taken.by_block.total(),
             "toolkitEventOccurred": side(handed, memory_map), "getNextEvent": side(taken, memory_map)}
            for handed, taken in zip(stretches[1::3], stretches[2::3])]


def tables(measured):
    """All that was measured, the libraries first."""
    libraries = measured["libraries"]
    events = libraries["libKXAPI_Events"]
    rest = {name: size for name, size in events["sections"].items() if name != ".bss"}
    parts = [[name, sum(rest.pop(member, 0) for member in members)] for name, members in SECTIONS.items()]
    relocations = [library["relocations"] for library in libraries.values()]
    kinds = [*KINDS, *sorted(set().union(*relocations) - {*KINDS})]
    numbers = [sum(relocation.values()) for relocation in relocations]
    return "\n".join((
        table([["bytes", *libraries], *([part, *(library[part] for library in libraries.values())]
                                        for part in ("text", "data", "bss", "file"))]),
        f"Text and data of libKXAPI_Events: {(events['text'] + events['data']) / 1024:.1f} KiB.\n",
        table([["part of libKXAPI_Events", "bytes"], *parts, ["everything else", sum(rest.values())]]),
        table([["relocations", *libraries],
               *([kind, *(relocation.get(kind, 0) for relocation in relocations)] for kind in kinds),
               ["together", *numbers], ["bytes", *(number * RELOCATION_BYTES for number in numbers)]]),
        FILL.fill("libKXAPI_Events needs " + ", ".join(events["needed"]) + ".") + "\n",
        runs(measured),
        FILL.fill(f"Built by {events['compiler']}, run by {measured['emulator']}.") + "\n",
    ))


def runs(measured):
    """The starts and the presses."""
    counted = [measured[name] for name in ("goes_without", "links", "creates")]
    first, last = measured["presses"][0], measured["presses"][-1]
    columns = {f"{name}: {half}": press[half] for name, press in (("first", first), ("later", last))
               for half in ("toolkitEventOccurred", "getNextEvent")}
    found = set().union(*(column["owners"] for column in columns.values()))
    groups = [group for group in dict.fromkeys([*GROUPS.values(), *sorted(found)]) if group in found]
    return "\n".join((
        table([["start", "Qt and Boost only", "with the libraries", "and a manager"],
               ["instructions before main", *(count["instructions"] for count in counted)],
               ["of these the loader's", *(count["loader"] for count in counted)],
               ["instructions of createInstance", "", "", counted[-1]["creation"]]]),
        table([["instructions of createInstance", "number"], *counted[-1]["owners"].items(),
               ["together", counted[-1]["creation"]]]),
        table([["instructions of a key press", *columns],
               *([group, *(column["owners"].get(group, 0) for column in columns.values())] for group in groups),
               ["together", *(column["instructions"] for column in columns.values())],
               ["system calls", *(", ".join(column["system_calls"]) for column in columns.values())]]),
        f"The first press takes {first['instructions']:,} instructions, a later one {last['instructions']:,}.\n"))


def replace(path, text):
    """Puts the text between the two lines that mark the place of the tables."""
    with open(path, encoding="utf-8") as file:
        new, found = re.subn(f"(?s){BEGIN}.*{END}", lambda _: f"{BEGIN}\n{text}\n{END}", file.read())
    if not found:
        raise Failed(f"{path} has no place for the tables")
    with open(path, "w", encoding="utf-8") as file:
        file.write(new)
