"""The results, and what they were measured on, as text for people to read as it is or as Markdown."""

import os
import platform
import re

from shared import TOP, Failed, call, read_cache, table

from .promises import describe
from .results import OURS, UNITS

# In the order in which they are shown.
HEADINGS = {"time": "time for one", "p50": "p50", "p99": "p99", "memory": "memory for one",
            "processor": "of one core", "heap": "heap of the process"}

PEERS = {"Boost": "libboost1.74-dev",  # the package without a number has one of its own
         "Qt": "qtbase5-dev", "GLib": "libglib2.0-dev", "libuv": "libuv1-dev",
         "moodycamel::ConcurrentQueue": "libconcurrentqueue-dev",
         "moodycamel::ReaderWriterQueue": "libreaderwriterqueue-dev", "Google Benchmark": "libbenchmark-dev"}


def format_value(value, metric):
    """Three digits that count, and no exponent."""
    unit = UNITS[metric]
    if unit == "ns":
        factor, unit = next((pair for pair in ((1e9, "s"), (1e6, "ms"), (1e3, "µs")) if value >= pair[0]), (1, unit))
        value /= factor
    return f"{value:,.{0 if value >= 100 else 1 if value >= 10 else 2}f} {unit}"


def format_cell(summary, metric):
    text = format_value(summary.median, metric) if summary else ""
    if not summary or summary.samples == 1 or metric in ("memory", "heap"):
        return text
    return f"{text} ± {100 * (summary.upper - summary.lower) / 2 / summary.median:.0f} %"


def promises_table(outcomes):
    return table([("promise", "measured", "verdict"), *map(describe, outcomes)], of_numbers=False)


def scenario_tables(scenario, results):
    """One table of all metrics, or one for each metric where sizes are the columns."""
    found = {key: summary for key, summary in results.items() if key.scenario == scenario}
    metrics = [metric for metric in HEADINGS if any(key.metric == metric for key in found)]
    if not any(key.size for key in found):
        return contenders_table(["contender", *map(HEADINGS.get, metrics)], [(0, metric) for metric in metrics], found)
    columns = [sorted({(key.size, metric) for key in found if key.metric == metric}) for metric in metrics]
    return "\n".join(contenders_table([HEADINGS[places[0][1]], *(size for size, _ in places)], places, found)
                     for places in columns)


def contenders_table(head, columns, found):
    """The first row has the best in the last column of the first metric, which is where most waits."""
    rows = {}
    for key, summary in found.items():
        rows.setdefault(key.contender, {})[key.size, key.metric] = summary
    decisive = [column for column in columns if column[1] == columns[0][1]][-1]
    names = sorted(rows, key=lambda name: (decisive not in rows[name], rows[name].get(decisive)))
    return table([head, *([f"**{name}**" if name == OURS else name,
                           *(format_cell(rows[name].get(column), column[1]) for column in columns)]
                          for name in names if rows[name].keys() & columns)])


def make_report(machine, results, outcomes):
    parts = ["# Measured\n", "What the tables say, and how to make them again: [README.md](README.md). ± is half the "
             "distance between the quartiles.\n", table([("measured with", ""), *machine.items()], of_numbers=False),
             "## What must hold\n", promises_table(outcomes)]
    for scenario in dict.fromkeys(key.scenario for key in results):
        parts += [f"## {scenario[0].upper()}{scenario[1:]}\n", scenario_tables(scenario, results)]
    return "\n".join(parts)


def first_line(*command):
    """What a program says, or unknown where it is not there."""
    try:
        return call(*command).partition("\n")[0]
    except Failed:
        return "unknown"


def describe_machine(build, load):
    """Pairs of a name and a value, and nothing that tells whose machine it is."""
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        processor = file.read()
    model = re.findall(r"(?m)^model name[^:]*: (.*)$", processor) or ["unknown"]
    virtual = ", a virtual machine" if re.search(r"(?m)^flags.*\bhypervisor\b", processor) else ""
    memory = os.sysconf("SC_PHYS_PAGES") * os.sysconf("SC_PAGE_SIZE")
    compiler = first_line(read_cache(build).get("CMAKE_CXX_COMPILER", ""), "--version")
    versions = {name: first_line("dpkg-query", "-W", "-f", "${Version}", package) for name, package in PEERS.items()}
    return {
        "Processor": f"{model[0]}, {os.cpu_count()} cores{virtual}",
        "Memory": f"{memory / 2 ** 30:.1f} GiB",
        "Load before": f"{load:.2f}",
        "Kernel": f"{platform.system()} {re.match('[0-9.]*', platform.release())[0]}, {platform.machine()}",
        "System": platform.freedesktop_os_release()["PRETTY_NAME"],
        "Compiler": f"{compiler}, CMake's Release flags",
        "Revision": first_line("git", "-c", "safe.directory=*", "-C", TOP, "describe", "--always", "--dirty"),
        # Of 5.15.8+dfsg-11 it is 5.15.8.
        **{name: re.sub(r"^\d+:|[+~-].*$", "", version) for name, version in versions.items()},
    }
