"""Tables of what was measured, as Markdown that can be read as it is."""

import textwrap

from counts import GROUPS

BEGIN, END = "<!-- measured: bench/footprint/measure --write -->\n", "<!-- end -->\n"
SECTIONS = (
    ("code", (".text", ".plt", ".init", ".fini")),
    ("constants", (".rodata",)),
    ("virtual tables and other constants that are relocated", (".data.rel.ro", ".init_array", ".fini_array")),
    ("tables for exceptions", (".ARM.exidx", ".ARM.extab", ".eh_frame")),
    ("names of symbols, and what finds them", (".dynsym", ".dynstr", ".gnu.hash", ".gnu.version", ".gnu.version_r")),
    ("relocations", (".rel.dyn", ".rel.plt")),
)
KINDS = ("RELATIVE", "ABS32", "GLOB_DAT", "JUMP_SLOT")
RELOCATION_BYTES = 8  # an entry of a REL section on a 32-bit machine


def table(*rows):
    """The first row is the head; all columns but the first hold numbers."""
    rows = [[f"{cell:,}" if isinstance(cell, int) else cell for cell in row] for row in rows]
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    lines = [[cell.rjust(width) if column else cell.ljust(width)
              for column, (cell, width) in enumerate(zip(row, widths))] for row in rows]
    lines.insert(1, ["-" * (width - 1) + ":" if column else "-" * width for column, width in enumerate(widths)])
    return "\n".join("| " + " | ".join(line) + " |" for line in lines) + "\n"


def paragraph(text):
    return textwrap.fill(text, 115, break_long_words=False, break_on_hyphens=False) + "\n"


def sizes(libraries):
    rows = [["bytes", *libraries]]
    for part in ("text", "data", "bss", "file"):
        rows.append([part, *(library[part] for library in libraries.values())])
    return table(*rows)


def sections(library):
    rest = dict(library["sections"])
    rows = [["part of libKXAPI_Events", "bytes"]]
    for name, members in SECTIONS:
        rows.append([name, sum(rest.pop(member, 0) for member in members)])
    rest.pop(".bss", 0)
    return table(*rows, ["everything else", sum(rest.values())])


def relocations(libraries):
    kinds = [*KINDS, *sorted({kind for library in libraries.values() for kind in library["relocations"]} - {*KINDS})]
    rows = [["relocations", *libraries]]
    for kind in kinds:
        rows.append([kind, *(library["relocations"].get(kind, 0) for library in libraries.values())])
    numbers = [sum(library["relocations"].values()) for library in libraries.values()]
    return table(*rows, ["together", *numbers], ["bytes", *(number * RELOCATION_BYTES for number in numbers)])


def start(measured):
    names = ("goes_without", "links", "creates")
    counted = [measured[name] for name in names]
    watched = [measured["watched"][name] for name in names]
    created = counted[-1]["creation"]
    return table(
        ["start", "Qt and Boost only", "with the libraries", "and a manager"],
        ["instructions before main", *(count["instructions"] for count in counted)],
        ["of these the loader's", *(count["loader"] for count in counted)],
        ["instructions of createInstance", "", "", created],
        ["memory written, KiB", *(round(watch["written_kib"]) for watch in watched)],
        ["most memory, with the emulator's own, KiB", *(round(watch["emulator_kib"]) for watch in watched)],
        ["time in the emulator, ms", *(round(1000 * watch["seconds"]) for watch in watched)])


def creation(measured):
    return table(["instructions of createInstance", "number"], *measured["owners"].items(),
                 ["together", measured["creation"]])


def press_columns(presses):
    for name, press in (("first", presses[0]), ("later", presses[-1])):
        for side in ("toolkitEventOccurred", "getNextEvent"):
            yield f"{name}: {side}", press[side]


def presses(measured):
    columns = dict(press_columns(measured))
    groups = list(dict.fromkeys(group for _, group in GROUPS))
    groups += sorted({group for column in columns.values() for group in column["owners"]} - {*groups})
    rows = [["instructions of a key press", *columns]]
    for group in groups:
        taken = [column["owners"].get(group, 0) for column in columns.values()]
        if any(taken):
            rows.append([group, *taken])
    return table(*rows, ["together", *(column["instructions"] for column in columns.values())],
                 ["system calls", *(", ".join(column["system_calls"]) for column in columns.values())])


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
        raise LookupError(f"{path} has no place for the tables")
    with open(path, "w", encoding="utf-8") as file:
        file.write(before + BEGIN + "\n" + text + "\n" + END + after)
