"""Compares the library with its peers and with what its platform allows."""

import argparse
import os
import re
import subprocess
import sys
import tempfile

from shared import TOP, Failed, WrongUse, say

from . import programs, promises, report, results

EPILOG = """Installs what is missing, builds build/bench, measures, and writes results.md, medians.csv and plots. The
exit status is 0 when all that must hold holds, 1 when something does not, 2 for wrong use. Thorough measuring takes
about eleven minutes and wants a machine that does nothing else."""


class Parser(argparse.ArgumentParser):
    def error(self, message):
        raise WrongUse(message)


def parse():
    parser = Parser(prog="bench/compare", description=__doc__, epilog=EPILOG, allow_abbrev=False)
    parser.add_argument("--quick", action="store_true", help="measure little, into build/performance")
    parser.add_argument("--filter", metavar="REGEX", type=re.compile,
                        help="measure only what matches, such as 'wake-up|KXAPI$', into build/performance")
    parser.add_argument("--output", metavar="FOLDER",
                        help="where to write; docs/performance if nothing is said here and above")
    parser.add_argument("--from", dest="files", metavar="FILE", nargs="+",
                        help="measure nothing, but read a medians.csv; of several the last that has a figure counts")
    options = parser.parse_args()
    if options.files and (options.quick or options.filter):
        parser.error("--from measures nothing, so --quick and --filter mean nothing beside it")
    if options.output is None:
        options.output = os.path.join(TOP, "build" if options.quick or options.filter else "docs", "performance")
    return options


def prepare(steps):
    """Runs functions of packaging/common.sh, which say what they do."""
    if subprocess.call(["bash", "-c", f'set -eu; root=$0; . "$root/packaging/common.sh"; {steps}', TOP]) != 0:
        raise Failed("bench/compare cannot go on")


def measure(options):
    load = os.getloadavg()[0]
    if load > 0.5:
        say(f"warning: this machine is busy with something else, its load is {load:.1f}")
    prepare("install_packages run bench; build bench benchmarks")
    build = os.path.join(TOP, "build", "bench")
    facts = report.describe_machine(build, load)
    samples = programs.measure(build, options.filter or re.compile(""), options.quick)
    if not samples:
        raise WrongUse(f"nothing that is measured matches '{options.filter.pattern}'")
    return facts, results.summarize(samples)


def make_folder(path):
    """One to write into, which is found out before anything is measured."""
    try:
        os.makedirs(path, exist_ok=True)
        with tempfile.TemporaryFile(dir=path):
            pass
    except OSError as problem:
        raise WrongUse(f"'{path}' cannot be written into: {problem.strerror}") from problem


def write(folder, facts, found, outcomes):
    with open(os.path.join(folder, "medians.csv"), "w", encoding="utf-8", newline="") as file:
        results.write_csv(file, facts, found)
    with open(os.path.join(folder, "results.md"), "w", encoding="utf-8") as file:
        file.write(report.make_report(facts, found, outcomes))
    prepare("install_packages bench")
    from . import plots  # pylint: disable=import-outside-toplevel # Matplotlib may have been installed a moment ago
    plots.draw_all(folder, found)


def main():
    try:
        options = parse()
        read = options.files and results.read_csv(options.files)
        make_folder(options.output)
        facts, found = read or measure(options)
        # A part of the benchmarks is judged by what was measured.
        outcomes = [outcome for outcome in (promises.judge(promise, found) for promise in promises.PROMISES)
                    if not options.filter or outcome.ratio is not None]
        write(options.output, facts, found, outcomes)
        print(report.promises_table(outcomes), end="")
        say(f"Written into {os.path.relpath(options.output)}")
        return 0 if all(outcome.holds for outcome in outcomes) else 1
    except Failed as problem:
        say(f"error: {problem}")
        return 2 if isinstance(problem, WrongUse) else 1
    except re.error as problem:
        say(f"error: argument --filter: '{problem.pattern}' is no regular expression: {problem}")
    except OSError as problem:
        say(f"error: {problem.filename}: {problem.strerror}")
    except KeyboardInterrupt:
        return 130
    return 2


if __name__ == "__main__":
    sys.exit(main())
