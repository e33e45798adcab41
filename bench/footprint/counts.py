"""What the stretches of the three programs tell."""

from collections import Counter

from execution import FootprintError

GROUPS = (
    ("footprint_", "the program itself"),
    ("libKXAPI_Events", "libKXAPI_Events"),
    ("libKXAPI_", "the platform's libraries"),
    ("libstdc++", "C++ library"),
    ("libgcc_s", "C++ library"),
    ("libc.", "C library"),
    ("libboost_", "Boost"),
    ("ld-linux", "loader"),
)


def group_of(file):
    return next((group for begin, group in GROUPS if file.startswith(begin)), file or "elsewhere")


def by_group(owners):
    groups = Counter()
    for file, instructions in owners.items():
        if instructions:
            groups[group_of(file)] += instructions
    return dict(groups)


def start(stretches, memory_map):
    """Up to main. GLib's part is left out: when it is loaded it divides the time of day, with more or fewer
    instructions as the time has it."""
    owners = stretches[0].by_owner(memory_map)
    return {
        "instructions": sum(count for file, count in owners.items() if "libglib" not in file),
        "loader": owners["ld-linux-armhf.so.3"],
    }


def creation(stretches, memory_map):
    """In main, up to the manager. What the worker does meanwhile does not count, but its system calls stand among the
    others in the log."""
    return {
        **start(stretches, memory_map),
        "creation": stretches[1].instructions,
        "owners": by_group(stretches[1].by_owner(memory_map)),
    }


def side(stretch, memory_map):
    if len(stretch.names_of_calls) != stretch.calls:
        raise FootprintError(f"{stretch.calls} system calls were made, but {len(stretch.names_of_calls)} are named: "
                             "count again")
    return {
        "instructions": stretch.instructions,
        "owners": by_group(stretch.by_owner(memory_map)),
        "system_calls": stretch.names_of_calls,
    }


def presses(stretches, memory_map):
    """Each has a stretch for toolkitEventOccurred, one for getNextEvent, and one for what comes until the next."""
    marked = stretches[1:]
    sides = [(side(marked[index], memory_map), side(marked[index + 1], memory_map))
             for index in range(0, len(marked), 3)]
    return [{
        "instructions": handed["instructions"] + taken["instructions"],
        "toolkitEventOccurred": handed,
        "getNextEvent": taken,
    } for handed, taken in sides]
