"""Compares the library with its peers and with what its platform allows."""

import argparse
import os
import re
import subprocess
import sys
import tempfile

import machine
import programs
from promises import judge_all
from report import make_report, promises_table
from results import ProgramFailed, read_csv, summarize, write_csv
from selection import in_order

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUILD = os.path.join(TOP, "build", "bench")
RECORD = os.path.join(TOP, "docs", "performance")
TRIAL = os.path.join(TOP, "build", "performance")

BUSY = 0.5

EPILOG = """Installs the Debian packages that are missing, builds build/bench, runs every contender in turn and writes
results.md, medians.csv and plots. The table of what must hold is printed, too. The exit status is 0 when all of it
holds, 1 when something does not, 2 for wrong use. Thorough measuring takes about eleven minutes and wants a machine that
does nothing else."""


class WrongUse(Exception):
    """Something that was asked for cannot be."""


class Parser(argparse.ArgumentParser):
    """Says in one line what is wrong."""

    def error(self, message):
        raise WrongUse(message)


def parse(arguments):
    parser = Parser(prog="bench/compare", description=__doc__, epilog=EPILOG, allow_abbrev=False)
    parser.add_argument("--quick", action="store_true", help="measure little, into build/performance")
    parser.add_argument("--filter", metavar="REGEX", type=pattern,
                        help="measure only what matches, such as 'wake-up|KXAPI$', into build/performance")
    parser.add_argument("--output", metavar="FOLDER",
                        help="where to write; docs/performance if nothing is said here and above")
    parser.add_argument("--from", dest="files", metavar="FILE", nargs="+",
                        help="measure nothing, but read these files, each a medians.csv; the last one that has a "
                             "measurement counts")
    options = parser.parse_args(arguments)
    if options.files and (options.quick or options.filter):
        parser.error("--from measures nothing, so --quick and --filter mean nothing beside it")
    if options.output is None:
        options.output = TRIAL if options.quick or options.filter else RECORD
    return options


def pattern(text):
    try:
        return re.compile(text)
    except re.error as problem:
        raise argparse.ArgumentTypeError(f"'{text}' is no regular expression: {problem}") from problem


def prepare(steps):
    """Runs functions of packaging/common.sh, which say what they do."""
    script = f'set -eu; root=$1; . "$root/packaging/common.sh"; {steps}'
    if subprocess.run(["bash", "-c", script, "compare", TOP], check=False).returncode != 0:
        raise ProgramFailed("bench/compare cannot go on")


def read_files(names):
    facts, results = {}, {}
    for name in names:
        try:
            with open(name, encoding="utf-8") as file:
                more_facts, more_results = read_csv(file, name)
        except OSError as problem:
            raise WrongUse(f"{name}: {problem.strerror}") from problem
        except UnicodeDecodeError as problem:
            raise WrongUse(f"{name}: this is no text") from problem
        except ValueError as problem:
            raise WrongUse(str(problem)) from problem
        facts.update(more_facts)
        results.update(more_results)
    return facts, results


def measure(options):
    load = os.getloadavg()[0]
    if load > BUSY:
        programs.say(f"warning: this machine is busy with something else, its load is {load:.1f}")
    prepare("install_packages run bench; build bench benchmarks")
    facts = machine.describe(TOP, BUILD, load)
    plan = programs.QUICK if options.quick else programs.THOROUGH
    samples = programs.measure(BUILD, options.filter or re.compile(""), plan)
    if not samples:
        raise WrongUse(f"nothing that is measured matches '{options.filter.pattern}'")
    return facts, summarize(samples)


def make_folder(path):
    """One to write into, which is found out before anything is measured."""
    try:
        os.makedirs(path, exist_ok=True)
        with tempfile.TemporaryFile(dir=path):
            pass
    except OSError as problem:
        raise WrongUse(f"'{path}' cannot be written into: {problem.strerror}") from problem


def write(folder, facts, results, outcomes):
    try:
        write_files(folder, facts, results, outcomes)
    except OSError as problem:
        raise WrongUse(f"{problem.filename or folder}: {problem.strerror}") from problem


def write_files(folder, facts, results, outcomes):
    with open(os.path.join(folder, "medians.csv"), "w", encoding="utf-8", newline="") as file:
        write_csv(file, facts, results)
    with open(os.path.join(folder, "results.md"), "w", encoding="utf-8") as file:
        file.write(make_report(facts, results, outcomes))
    import plots  # pylint: disable=import-outside-toplevel # Matplotlib may have been installed a moment ago
    plots.draw_all(folder, results)


def judge(results, is_part):
    """A part of the benchmarks is judged by what was measured."""
    outcomes = judge_all(results)
    return [outcome for outcome in outcomes if outcome.ratio is not None] if is_part else outcomes


def compare(options):
    if options.files:
        facts, results = read_files(options.files)
        make_folder(options.output)
        prepare("install_packages bench")
    else:
        make_folder(options.output)
        facts, results = measure(options)
    results = in_order(results)
    outcomes = judge(results, options.filter is not None)
    write(options.output, facts, results, outcomes)
    print(promises_table(outcomes), end="")
    programs.say(f"Written into {os.path.relpath(options.output)}")
    return 0 if all(outcome.holds() for outcome in outcomes) else 1


def main(arguments):
    try:
        return compare(parse(arguments))
    except WrongUse as problem:
        programs.say(f"error: {problem}")
        return 2
    except ProgramFailed as problem:
        programs.say(f"error: {problem}")
        return 1
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
