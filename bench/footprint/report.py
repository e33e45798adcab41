"""Tables of what was measured, as Markdown that can be read as it is."""

import textwrap

from shared import Failed, table

from .counts import GROUPS

BEGIN, END = "<!-- measured: bench/footprint/measure --write -->\n", "<!-- end -->\n"
SECTIONS = {
    "code": (".text", ".plt", ".init", ".fini"),
    "constants": (".rodata",),
    "virtual tables and other constants that are relocated": (".data.rel.ro", ".init_array", ".fini_array"),
    "tables for exceptions": (".ARM.exidx", ".ARM.extab", ".eh_frame"),
    "names of symbols, and what finds them": (".dynsym", ".dynstr", ".gnu.hash", ".gnu.version", ".gnu.version_r"),
    "relocations": (".rel.dyn", ".rel.plt"),
}
KINDS = ("RELATIVE", "ABS32", "GLOB_DAT", "JUMP_SLOT")
RELOCATION_BYTES = 8  # an entry of a REL section on a 32-bit machine


def paragraph(text):
    return textwrap.fill(text, 115, break_long_words=False, break_on_hyphens=False) + "\n"


def sizes(libraries):
    return table([["bytes", *libraries],
                  *([part, *(library[part] for library in libraries.values())]
                    for part in ("text", "data", "bss", "file"))])


def sections(library):
    rest = {name: size for name, size in library["sections"].items() if name != ".bss"}
    rows = [[name, sum(rest.pop(member, 0) for member in members)] for name, members in SECTIONS.items()]
    return table([["part of libKXAPI_Events", "bytes"], *rows, ["everything else", sum(rest.values())]])


def relocations(libraries):
    found = [library["relocations"] for library in libraries.values()]
    kinds = [*KINDS, *sorted(set().union(*found) - {*KINDS})]
    numbers = [sum(kinds_of_one.values()) for kinds_of_one in found]
    return table([["relocations", *libraries],
                  *([kind, *(kinds_of_one.get(kind, 0) for kinds_of_one in found)] for kind in kinds),
                  ["together", *numbers], ["bytes", *(number * RELOCATION_BYTES for number in numbers)]])


def start(measured):
    names = ("goes_without", "links", "creates")
    counted = [measured[name] for name in names]
    watched = [measured["watched"][name] for name in names]
    return table([
        ["start", "Qt and Boost only", "with the libraries", "and a manager"],
        ["instructions before main", *(count["instructions"] for count in counted)],
        ["of these the loader's", *(count["loader"] for count in counted)],
        ["instructions of createInstance", "", "", counted[-1]["creation"]],
        ["memory written, KiB", *(round(watch["written_kib"]) for watch in watched)],
        ["most memory, with the emulator's own, KiB", *(round(watch["emulator_kib"]) for watch in watched)],
        ["time in the emulator, ms", *(round(1000 * watch["seconds"]) for watch in watched)]])


def creation(measured):
    return table([["instructions of createInstance", "number"], *measured["owners"].items(),
                  ["together", measured["creation"]]])


def presses(measured):
    columns = {f"{name}: {side}": press[side] for name, press in (("first", measured[0]), ("later", measured[-1]))
               for side in ("toolkitEventOccurred", "getNextEvent")}
    found = set().union(*(column["owners"] for column in columns.values()))
    groups = [group for group in dict.fromkeys([*GROUPS.values(), *sorted(found)]) if group in found]
    return table([["instructions of a key press", *columns],
                  *([group, *(column["owners"].get(group, 0) for column in columns.values())] for group in groups),
                  ["together", *(column["instructions"] for column in columns.values())],
                  ["system calls", *(", ".join(column["system_calls"]) for column in columns.values())]])


def tables(measured):
    libraries = measured["libraries"]
    events = libraries["libKXAPI_Events"]
    first, last = measured["presses"][0], measured["presses"][-1]
    return "\n".join((
        sizes(libraries),
        f"Text and data of libKXAPI_Events: {(events['text'] + events['data']) / 1024:.1f} KiB.\n",
        sections(events),
        relocations(libraries),
        paragraph("libKXAPI_Events needs " + ", ".join(events["needed"]) + "."),
        start(measured),
        creation(measured["creates"]),
        presses(measured["presses"]),
        f"The first press takes {first['instructions']:,} instructions, a later one {last['instructions']:,}.\n",
        paragraph(f"Built by {events['compiler']}, run by {measured['emulator']}."),
    ))


def replace(path, text):
    """Puts the text between the two lines that mark the place of the tables."""
    with open(path, encoding="utf-8") as file:
        before, _, rest = file.read().partition(BEGIN)
    _, end, after = rest.partition(END)
    if not end:
        raise Failed(f"{path} has no place for the tables")
    with open(path, "w", encoding="utf-8") as file:
        file.write(before + BEGIN + "\n" + text + "\n" + END + after)
