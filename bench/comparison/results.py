"""What was measured: samples, their medians, and the file that keeps these."""

import csv
import math
import statistics
from collections import namedtuple

from shared import WrongUse

OURS = "KXAPI"
GROWTH = "growth, "  # so begin scenarios that are drawn as curves
UNITS = {"time": "ns", "p50": "ns", "p99": "ns", "memory": "bytes", "processor": "%", "heap": "bytes"}
COLUMNS = ["scenario", "contender", "group", "size", "metric", "unit", "median", "lower quartile", "upper quartile",
           "samples"]
ORDER = ["in-process, one event", "in-process, 1000 events", "in-process, two threads", "pipe queue, one event",
         "key press", "wake-up, one core", "wake-up, two cores", "actions waiting", "chain of actions",
         "name of an event type", GROWTH + "events waiting", GROWTH + "events waiting in a pipe",
         GROWTH + "actions waiting", GROWTH + "chain of actions"]


Summary = namedtuple("Summary", "median lower upper samples")
# The group is ours, limit, peer, Qt with GLib or Qt without GLib. The size is how much waits, how long a chain is, how
# many threads or keys there are; 0 where nothing grows.
Key = namedtuple("Key", "scenario contender group size metric", defaults=(0, "time"))


def summarize(samples):
    """Medians and quartiles of pairs of a key and a number, in the order of the report."""
    values = {}
    for key, value in samples:
        values.setdefault(key, []).append(value)
    quartiles = {key: statistics.quantiles(numbers * 2 if len(numbers) == 1 else numbers, method="inclusive")
                 for key, numbers in values.items()}
    return in_order({key: Summary(median, lower, upper, len(values[key]))
                     for key, (lower, median, upper) in quartiles.items()})


def in_order(results):
    return {key: results[key] for key in sorted(results, key=lambda key: ((ORDER + [key[0]]).index(key[0]), key))}


def group(results, scenario, metric, field):
    """Pairs of a key and its summary, in a list for each value of a field of the key. Ours come first."""
    found = {}
    for key in sorted(results, key=lambda key: (key.group != "ours", key)):
        if (key.scenario, key.metric) == (scenario, metric):
            found.setdefault(getattr(key, field), []).append((key, results[key]))
    return list(found.values()) if field == "contender" else [found[value] for value in sorted(found)]


def latencies(results, scenario):
    """Contenders with both percentiles, the one with the best median first."""
    rows = [(key, summary.median, results[key._replace(metric="p99")].median) for key, summary in results.items()
            if (key.scenario, key.metric) == (scenario, "p50") and key._replace(metric="p99") in results]
    return sorted(rows, key=lambda row: row[1])


def write_csv(file, machine, results):
    """The machine as comments, then a line for each median."""
    file.writelines(f"# {name}: {value}\n" for name, value in machine.items())
    writer = csv.writer(file, lineterminator="\n")
    writer.writerow(COLUMNS)
    for key, summary in results.items():
        numbers = map("{:.10g}".format, summary)
        writer.writerow([*key[:3], key.size or "", key.metric, UNITS[key.metric], *numbers])


def read_csv(names):
    """What write_csv wrote, of several files. The last one that has a measurement counts."""
    machine, results = {}, {}
    for name in names:
        with open(name, encoding="utf-8") as file:
            try:
                lines = file.read().splitlines()
            except UnicodeDecodeError as problem:
                raise WrongUse(f"{name}: this is no text") from problem
        facts = [line[2:].partition(": ")[::2] for line in lines if line.startswith("# ")]
        machine.update(facts)
        rows = list(csv.reader(lines[len(facts):]))
        if rows and rows[0] != COLUMNS:
            raise WrongUse(f"{name}:{len(facts) + 1}: these are not the columns of a comparison")
        if len(rows) < 2:
            raise WrongUse(f"{name}: there is no measurement in it")
        for number, row in enumerate(rows[1:], len(facts) + 2):
            try:
                results.update([read_row(row)])
            except ValueError as problem:
                raise WrongUse(f"{name}:{number}: this is no measurement") from problem
    return machine, in_order(results)


def read_row(row):
    scenario, contender, group, size, metric, unit, median, lower, upper, samples = row
    summary = Summary(float(median), float(lower), float(upper), int(samples))
    # A chain may take no memory; nothing takes no time.
    if (not scenario or not contender or not group or UNITS.get(metric) != unit or summary.samples < 1
            or not 0 <= min(summary) <= max(summary) < math.inf or (min(summary) == 0 and metric != "memory")):
        raise ValueError
    return Key(scenario, contender, group, int(size or 0), metric), summary
