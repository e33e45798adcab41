"""What was measured: samples as the programs report them, their medians, and the file that keeps these."""

import csv
import json
import math
import re
import statistics
import sys
from typing import NamedTuple, Optional

OURS = "KXAPI"
GROWTH = "growth, "  # so begin scenarios that are drawn as curves
UNITS = {"time": "ns", "p50": "ns", "p99": "ns", "memory": "bytes", "processor": "%", "heap": "bytes"}
COUNTERS = {"p50_ns": "p50", "p99_ns": "p99", "bytes_per_item": "memory"}
COLUMNS = ["scenario", "contender", "size", "metric", "unit", "median", "lower quartile", "upper quartile", "samples"]

# What Google Benchmark adds to a name.
ADDED_TO_NAME = re.compile(r"(iterations|repeats|min_time|min_warmup_time|threads):.*|(manual|real|process)_time")


class ProgramFailed(Exception):
    """A program that measures did not end well, or a contender in it."""


class Key(NamedTuple):
    """What is measured, of whom. The size is how much waits, how long a chain is, how many threads or keys there
    are."""

    scenario: str
    contender: str
    size: Optional[int]
    metric: str


class Summary(NamedTuple):
    median: float
    lower: float
    upper: float
    samples: int


def split_name(name):
    """The scenario, the contender and the size of a benchmark's name."""
    parts = [part for part in name.split("/") if not ADDED_TO_NAME.fullmatch(part)]
    size = int(parts.pop()) if len(parts) > 2 and parts[-1].isdigit() else None
    if len(parts) != 2:
        raise ProgramFailed(f"'{name}' is not named SCENARIO/CONTENDER or SCENARIO/CONTENDER/NUMBER")
    return parts[0], parts[1], size


def read_benchmarks(text):
    """The samples in what Google Benchmark writes: pairs of a key and a number."""
    try:
        runs = json.loads(text)["benchmarks"]
    except (ValueError, KeyError, TypeError) as problem:
        raise ProgramFailed("its results cannot be read") from problem
    samples = []
    for run in runs:
        if run.get("error_occurred"):
            raise ProgramFailed(f"{run['name']}: {run['error_message']}")
        if run["run_type"] == "iteration":
            samples += read_run(run)
    return samples


def read_run(run):
    place = split_name(run["name"])
    if "p50_ns" not in run:  # beside percentiles a mean tells nothing: a single late wake-up outweighs a thousand
        yield Key(*place, "time"), 1e9 / run["items_per_second"]
    for counter, metric in COUNTERS.items():
        if counter in run:
            yield Key(*place, metric), run[counter]


def summarize(samples):
    """Medians and quartiles of pairs of a key and a number, in the order in which the keys first came."""
    values = {}
    for key, value in samples:
        values.setdefault(key, []).append(value)
    return {key: summarize_values(numbers) for key, numbers in values.items()}


def summarize_values(numbers):
    if len(numbers) == 1:
        return Summary(numbers[0], numbers[0], numbers[0], 1)
    lower, median, upper = statistics.quantiles(numbers, n=4, method="inclusive")
    return Summary(median, lower, upper, len(numbers))


def write_csv(file, machine, results):
    """The machine as comments, then a line for each median."""
    for name, value in machine.items():
        file.write(f"# {name}: {value}\n")
    writer = csv.writer(file, lineterminator="\n")
    writer.writerow(COLUMNS)
    for key, summary in results.items():
        numbers = [f"{number:.10g}" for number in (summary.median, summary.lower, summary.upper)]
        size = "" if key.size is None else key.size
        writer.writerow([key.scenario, key.contender, size, key.metric, UNITS[key.metric], *numbers, summary.samples])


def read_csv(file, name):
    """What write_csv wrote. A ValueError tells what is wrong with the file of this name, and in which line."""
    machine, results, columns = {}, {}, None
    for number, line in enumerate(file, 1):
        if line.startswith("# "):
            key, _, value = line[2:].rstrip("\n").partition(": ")
            machine[key] = value
            continue
        row = next(csv.reader([line]), [])
        if columns is None:
            columns = row
            if row != COLUMNS:
                raise ValueError(f"{name}:{number}: these are not the columns of a comparison")
            continue
        try:
            key, summary = read_row(row)
        except ValueError as problem:
            raise ValueError(f"{name}:{number}: this is no measurement") from problem
        if has_size_of_another_kind(key, results):
            raise ValueError(f"{name}:{number}: this size, or none, does not go with '{key.scenario}'")
        results[key] = summary
    if not results:
        raise ValueError(f"{name}: there is no measurement in it")
    return machine, results


def has_size_of_another_kind(key, results):
    """Whether it has a size and others of its scenario have none, or the other way round. What grows needs one."""
    others = [other.size for other in results if other.scenario == key.scenario]
    if key.size is None:
        return key.scenario.startswith(GROWTH) or any(size is not None for size in others)
    return None in others


def read_row(row):
    scenario, contender, size, metric, unit, *numbers, samples = row
    if not scenario or not contender or UNITS.get(metric) != unit or len(numbers) != 3:
        raise ValueError("no names, no such metric, or not its numbers")
    key = Key(scenario, contender, int(size) if size else None, metric)
    summary = Summary(*(float(number) for number in numbers), int(samples))
    # Nothing takes no time, but a chain may take no memory.
    least = 0 if metric == "memory" else sys.float_info.min
    if not least <= min(summary[:3]) <= max(summary[:3]) < math.inf or summary.samples < 1:
        raise ValueError("these are no numbers that are measured")
    return key, summary
