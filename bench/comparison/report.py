"""The results as text, for people to read as it is or as Markdown."""

from shared import table

from .promises import describe
from .results import OURS, UNITS

# In the order in which they are shown.
HEADINGS = {"time": "time for one", "p50": "p50", "p99": "p99", "memory": "memory for one",
            "processor": "of one core", "heap": "heap of the process"}


def format_value(value, metric):
    """Three digits that count, and no exponent."""
    unit = UNITS[metric]
    if unit == "ns":
        factor, unit = next((pair for pair in ((1e9, "s"), (1e6, "ms"), (1e3, "µs")) if value >= pair[0]), (1, unit))
        value /= factor
    return f"{value:,.{0 if value >= 100 else 1 if value >= 10 else 2}f} {unit}"


def format_cell(summary, metric):
    if summary is None:
        return ""
    text = format_value(summary.median, metric)
    if summary.samples == 1 or metric in ("memory", "heap"):
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
    parts = []
    for metric in metrics:
        sizes = sorted({key.size for key in found if key.metric == metric})
        parts.append(contenders_table([HEADINGS[metric], *sizes], [(size, metric) for size in sizes], found))
    return "\n".join(parts)


def contenders_table(head, columns, found):
    """A row for each contender: the best one in the last column of the first metric first, which is where most waits."""
    rows = {}
    for key, summary in found.items():
        if (key.size, key.metric) in columns:
            rows.setdefault(key.contender, {})[key.size, key.metric] = summary
    decisive = [column for column in columns if column[1] == columns[0][1]][-1]
    names = sorted(rows, key=lambda name: (decisive not in rows[name], rows[name].get(decisive)))
    return table([head, *([f"**{name}**" if name == OURS else name,
                           *(format_cell(rows[name].get(column), column[1]) for column in columns)]
                          for name in names)])


def make_report(machine, results, outcomes):
    parts = ["# Measured\n", "What the tables say, and how to make them again: [README.md](README.md). ± is half the "
             "distance between the quartiles.\n", table([("measured with", ""), *machine.items()], of_numbers=False),
             "## What must hold\n", promises_table(outcomes)]
    for scenario in dict.fromkeys(key.scenario for key in results):
        parts += [f"## {scenario[0].upper()}{scenario[1:]}\n", scenario_tables(scenario, results)]
    return "\n".join(parts)
