"""The programs that measure: which there are, what they measure, and how they are run in turn."""

import os
import re
import subprocess
import sys
import tempfile
from typing import NamedTuple

from results import GROWTH, OURS, Key, ProgramFailed, read_benchmarks, split_name

FULL_BUS = GROWTH + "keypad on a full bus"
FULL_BUS_KEYS = (1, 4, 8, 12, 16)
FULL_BUS_PERCENT = 90  # it is not here that it is judged
FULL_BUS_FIGURES = {"processor": re.compile(r"^processor time .* s, ([0-9.]+) % of one core", re.MULTILINE),
                    "heap": re.compile(r"^heap +([0-9]+) bytes", re.MULTILINE)}


class Program(NamedTuple):
    """The shares tell how much of the repetitions and of the time for each a program needs."""

    name: str
    path: str
    repetitions_share: float = 1
    time_share: float = 1


PROGRAMS = [
    Program("queue_bench", "bench/queues/queue_bench"),
    Program("key_bench", "bench/keys/key_bench"),
    Program("wakeup_bench", "bench/wakeup/wakeup_bench"),
    Program("action_bench", "bench/actions/action_bench"),
    Program("name_bench", "bench/names/name_bench"),
    # A curve asks for no sharp numbers.
    Program("growth_bench", "bench/growth/growth_bench", 0.5, 0.5),
]


class Plan(NamedTuple):
    """How much is measured. Each round starts every program anew, so that all have their share of whatever else the
    machine does, and of good and bad places in memory. In a program the contenders take turns."""

    rounds: int
    repetitions: int
    seconds: float
    full_bus_seconds: int


THOROUGH = Plan(rounds=5, repetitions=4, seconds=0.1, full_bus_seconds=4)
QUICK = Plan(rounds=3, repetitions=1, seconds=0.02, full_bus_seconds=1)


def say(text):
    print(text, file=sys.stderr, flush=True)


def escape(name):
    """A pattern of Google Benchmark that matches this name."""
    return re.sub(r"[^A-Za-z0-9 ,:/_-]", lambda match: f"[{match[0]}]", name)


def without_additions(name):
    scenario, contender, size = split_name(name)
    return "/".join([scenario, contender] + ([] if size is None else [str(size)]))


def call(command):
    """What it prints. What it says on standard error counts when it fails."""
    try:
        return subprocess.run(command, check=True, text=True, capture_output=True).stdout
    except OSError as problem:
        raise ProgramFailed(f"{os.path.basename(command[0])} cannot be started: {problem.strerror}") from problem
    except subprocess.CalledProcessError as problem:
        name = os.path.basename(command[0])
        said = (problem.stderr or problem.stdout or "").rstrip().rpartition("\n")[2]
        reason = f": {said}" if said else ""
        raise ProgramFailed(f"{name} ended with status {problem.returncode}{reason}") from problem


def choose(folder, pattern):
    """For each program that has benchmarks which match, their names."""
    chosen = {}
    for program in PROGRAMS:
        listed = call([os.path.join(folder, program.path), "--benchmark_list_tests"]).splitlines()
        names = [name for name in listed if pattern.search(without_additions(name))]
        if names:
            chosen[program] = names
    return chosen


def run_program(folder, program, names, plan):
    """One round of one program."""
    repetitions = max(1, round(plan.repetitions * program.repetitions_share))
    with tempfile.TemporaryDirectory() as temporary:
        output = os.path.join(temporary, "results.json")
        call([os.path.join(folder, program.path),
              "--benchmark_filter=^(" + "|".join(escape(name) for name in names) + ")$",
              "--benchmark_enable_random_interleaving=true",
              f"--benchmark_repetitions={repetitions}",
              f"--benchmark_min_time={plan.seconds * program.time_share}",
              f"--benchmark_out={output}", "--benchmark_out_format=json"])
        try:
            with open(output, encoding="utf-8") as file:
                return read_benchmarks(file.read())
        except ProgramFailed as problem:
            raise ProgramFailed(f"{program.name}: {problem}") from problem


def run_full_bus(folder, seconds, keys):
    """It fails by itself when something is lost, or it takes too much of the processor."""
    program = os.path.join(folder, "bench", "full_bus")
    output = call([program, str(seconds), str(FULL_BUS_PERCENT), str(keys)])
    for metric, figure in FULL_BUS_FIGURES.items():
        found = figure.search(output)
        if found is None:
            raise ProgramFailed(f"full_bus does not tell about '{metric}'")
        yield Key(FULL_BUS, OURS, keys, metric), float(found[1])


def measure(folder, pattern, plan):
    """All samples of what matches."""
    chosen = choose(folder, pattern)
    keys_in_use = [keys for keys in FULL_BUS_KEYS if pattern.search(f"{FULL_BUS}/{OURS}/{keys}")]
    samples = []
    for number in range(1, plan.rounds + 1):
        for program, names in chosen.items():
            say(f"Round {number} of {plan.rounds}: {program.name}, {len(names)} benchmarks")
            samples += run_program(folder, program, names, plan)
        if keys_in_use:
            say(f"Round {number} of {plan.rounds}: full_bus, {len(keys_in_use)} times {plan.full_bus_seconds} s")
        for keys in keys_in_use:
            samples += run_full_bus(folder, plan.full_bus_seconds, keys)
    return samples
