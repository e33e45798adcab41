"""What the stretches of the programs tell."""

from collections import Counter

from shared import Failed

GROUPS = {
    "footprint_": "the program itself",
    "libKXAPI_Events": "libKXAPI_Events",
    "libKXAPI_": "the platform's libraries",
    "libstdc++": "C++ library",
    "libgcc_s": "C++ library",
    "libc.": "C library",
    "libboost_": "Boost",
    "ld-linux": "loader",
}


def by_group(owners):
    groups = Counter()
    for file, instructions in owners.items():
        group = next((group for begin, group in GROUPS.items() if file.startswith(begin)), file or "elsewhere")
        groups[group] += instructions
    return dict(+groups)


def start(stretches, memory_map):
    """Up to main. GLib's part is left out: when it is loaded it divides the time of day, which takes more or fewer
    instructions as the time goes."""
    owners = stretches[0].by_owner(memory_map)
    return {"instructions": sum(count for file, count in owners.items() if "libglib" not in file),
            "loader": owners["ld-linux-armhf.so.3"]}


def creation(stretches, memory_map):
    """In main, up to the manager. What the worker does meanwhile does not count."""
    return {**start(stretches, memory_map), "creation": stretches[1].instructions,
            "owners": by_group(stretches[1].by_owner(memory_map))}


def side(stretch, memory_map):
    if len(stretch.names_of_calls) != stretch.calls:
        raise Failed(f"{stretch.calls} system calls were made, but {len(stretch.names_of_calls)} are named: count again")
    return {"instructions": stretch.instructions, "owners": by_group(stretch.by_owner(memory_map)),
            "system_calls": stretch.names_of_calls}


def presses(stretches, memory_map):
    """Each has a stretch for toolkitEventOccurred, one for getNextEvent, and one for what comes until the next."""
    sides = [(side(handed, memory_map), side(taken, memory_map))
             for handed, taken in zip(stretches[1::3], stretches[2::3])]
    return [{"instructions": handed["instructions"] + taken["instructions"], "toolkitEventOccurred": handed,
             "getNextEvent": taken} for handed, taken in sides]
