"""The results as text, for people to read as it is or as Markdown."""

from promises import describe, describe_ratio, describe_verdict
from results import OURS

# In the order in which they are shown.
HEADINGS = {"time": "time for one", "p50": "p50", "p99": "p99", "memory": "memory for one",
            "processor": "of one core", "heap": "heap of the process"}
IN_BYTES = ("memory", "heap")


def format_number(number):
    """Three digits that count, and no exponent."""
    if number >= 100:
        return f"{number:,.0f}"
    return f"{number:.1f}" if number >= 10 else f"{number:.2f}"


def format_time(nanoseconds):
    for limit, unit in ((1e3, "ns"), (1e6, "µs"), (1e9, "ms")):
        if nanoseconds < limit:
            return f"{format_number(nanoseconds * 1e3 / limit)} {unit}"
    return f"{format_number(nanoseconds / 1e9)} s"


def format_value(value, metric):
    if metric in IN_BYTES:
        return f"{format_number(value)} bytes"
    return f"{format_number(value)} %" if metric == "processor" else format_time(value)


def format_table(rows, of_numbers=False):
    """Columns of the same width, so that it can be read without a browser, too. The first row is the head, and the
    first column are names."""
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    lines = []
    for number, row in enumerate(rows):
        cells = [row[0].ljust(widths[0])]
        cells += [cell.rjust(width) if of_numbers else cell.ljust(width) for cell, width in zip(row[1:], widths[1:])]
        lines.append("| " + " | ".join(cells) + " |")
        if number == 0:
            rule = ["-" * widths[0]] + ["-" * (width - 1) + (":" if of_numbers else "-") for width in widths[1:]]
            lines.append("| " + " | ".join(rule) + " |")
    return "\n".join(lines) + "\n"


def promises_table(outcomes):
    rows = [("promise", "measured", "verdict")]
    rows += [(describe(outcome.promise), describe_ratio(outcome), describe_verdict(outcome)) for outcome in outcomes]
    return format_table(rows)


def unique(things):
    return list(dict.fromkeys(things))


def scenario_tables(scenario, results):
    """One table of all that was measured, or one of each metric where sizes are the columns."""
    found = {key: summary for key, summary in results.items() if key.scenario == scenario}
    metrics = [metric for metric in HEADINGS if any(key.metric == metric for key in found)]
    if all(key.size is None for key in found):
        head = ("contender", *(HEADINGS[metric] for metric in metrics))
        return contenders_table(head, [(None, metric) for metric in metrics], found)
    return "\n".join(sizes_table(metric, found) for metric in metrics)


def sizes_table(metric, found):
    sizes = sorted({key.size for key in found if key.metric == metric})
    head = (HEADINGS[metric], *(f"{size:,}" for size in sizes))
    return contenders_table(head, [(size, metric) for size in sizes], found)


def contenders_table(head, columns, found):
    """A row for each contender: the best one in the last column of the first metric first, which is where most waits."""
    rows = {}
    for key, summary in found.items():
        if (key.size, key.metric) in columns:
            rows.setdefault(key.contender, {})[key.size, key.metric] = summary
    decisive = [column for column in columns if column[1] == columns[0][1]][-1]
    table = [head]
    for contender in sorted(rows, key=lambda name: (decisive not in rows[name], rows[name].get(decisive))):
        name = f"**{contender}**" if contender == OURS else contender
        table.append((name, *(format_cell(rows[contender].get(column), column[1]) for column in columns)))
    return format_table(table, of_numbers=True)


def format_cell(summary, metric):
    if summary is None:
        return ""
    text = format_value(summary.median, metric)
    if summary.samples == 1 or metric in IN_BYTES:
        return text
    return f"{text} ± {100 * (summary.upper - summary.lower) / 2 / summary.median:.0f} %"


def make_report(machine, results, outcomes):
    parts = ["# Measured\n", "What the tables say, and how to make them again: [README.md](README.md). ± is half the "
             "distance between the quartiles.\n"]
    parts.append(format_table([("measured with", ""), *machine.items()]))
    parts += ["## What must hold\n", promises_table(outcomes)]
    for scenario in unique(key.scenario for key in results):
        parts += [f"## {scenario[0].upper()}{scenario[1:]}\n", scenario_tables(scenario, results)]
    return "\n".join(parts)
