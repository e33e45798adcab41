"""The programs that measure, and how they are run in turn."""

import json
import os
import re
import tempfile
from collections import namedtuple

from shared import Failed, call, say

from .results import GROWTH, OURS, UNITS, Key

PROGRAMS = ("queue_bench", "wakeup_bench", "action_bench", "name_bench")
FULL_BUS = [Key(GROWTH + "keypad on a full bus", OURS, "ours", keys) for keys in (1, 4, 8, 12, 16)]
FULL_BUS_FIGURES = {"processor": r"(?m)^processor time .* s, ([0-9.]+) %", "heap": r"(?m)^heap +([0-9]+) bytes"}
# Each round starts every program anew, so that all have their share of whatever else the machine does, and of good and
# bad places in memory. In a program the contenders take turns.
Plan = namedtuple("Plan", "rounds repetitions seconds full_bus_seconds")
THOROUGH, QUICK = Plan(5, 4, 0.1, 4), Plan(3, 1, 0.02, 1)


def read_label(label):
    """The label of a measurement, which is its line in the list of the program, too."""
    scenario, contender, group, size = label.split("|")
    return Key(scenario, contender, group, int(size))


def matches(pattern, key):
    return pattern.search("/".join([key.scenario, key.contender] + [str(key.size)] * bool(key.size)))


def choose(folder, pattern):
    """The programs that measure what matches, whether it is growth, and the numbers of that in their lists."""
    for growing in (False, True):
        for program in PROGRAMS:
            path = os.path.join(folder, program)
            numbers = [number for number, key in enumerate(map(read_label, call(path, "--list").splitlines()))
                       if key.scenario.startswith(GROWTH) == growing and matches(pattern, key)]
            if numbers:
                yield path, growing, numbers


def run_program(path, growing, numbers, plan):
    """One round of one program. A curve asks for no sharp numbers."""
    share = 0.5 if growing else 1
    with tempfile.NamedTemporaryFile("r", encoding="utf-8", suffix=".json") as output:
        call(path, "--only=" + ",".join(map(str, numbers)), "--benchmark_enable_random_interleaving=true",
             f"--benchmark_repetitions={max(1, round(plan.repetitions * share))}",
             f"--benchmark_min_time={plan.seconds * share}", f"--benchmark_out={output.name}",
             "--benchmark_out_format=json")
        return read_samples(os.path.basename(path), output.read())


def read_samples(program, text):
    """The samples in what Google Benchmark writes: pairs of a key and a number."""
    samples = []
    try:
        for run in json.loads(text)["benchmarks"]:
            if run.get("error_occurred"):
                raise Failed(f"{program}: {run['name']}: {run['error_message']}")
            if run["run_type"] == "iteration":
                key = read_label(run["label"])
                if "items_per_second" in run:
                    samples.append((key, 1e9 / run["items_per_second"]))
                samples += ((key._replace(metric=metric), run[metric]) for metric in UNITS if metric in run)
    except (ValueError, KeyError, TypeError) as problem:
        raise Failed(f"{program}: its results cannot be read") from problem
    return samples


def run_full_bus(folder, key, seconds):
    """It fails by itself when something is lost; what it takes of the processor is not judged here."""
    output = call(os.path.join(folder, "full_bus"), str(seconds), "90", str(key.size))
    for metric, figure in FULL_BUS_FIGURES.items():
        found = re.search(figure, output)
        if not found:
            raise Failed(f"full_bus does not tell about '{metric}'")
        yield key._replace(metric=metric), float(found[1])


def measure(build, pattern, is_quick):
    """All samples of what matches."""
    folder = os.path.join(build, "bench")
    plan = QUICK if is_quick else THOROUGH
    chosen = list(choose(folder, pattern))
    buses = [key for key in FULL_BUS if matches(pattern, key)]
    samples = []
    for turn in range(1, plan.rounds + 1):
        for path, growing, numbers in chosen:
            say(f"Round {turn} of {plan.rounds}: {os.path.basename(path)}, {len(numbers)} benchmarks")
            samples += run_program(path, growing, numbers, plan)
        for key in buses:
            say(f"Round {turn} of {plan.rounds}: full_bus, {key.size} keys, {plan.full_bus_seconds} s")
            samples += run_full_bus(folder, key, plan.full_bus_seconds)
    return samples
