"""Changes the sources of the library a little, one place at a time, and tells which changes no test notices.

See --help. Everything that it makes is below build/mutants of the project.
"""

import argparse
import difflib
import fcntl
import hashlib
import itertools
import json
import math
import os
import signal
import subprocess
import sys
import threading
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
FOLDER = TOP / "build" / "mutants"
MEASURED = FOLDER / "measured.json"
HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(TOP / "tests" / "support"))

from by_hand import is_equivalent, read_by_hand, read_equivalent  # noqa: E402
from entries import BadEntry  # noqa: E402
from operators import all_mutants, in_even_order, lot  # noqa: E402
from programs import PROGRAMS, TESTS, Runner, Stopped, folder_of, steps_for  # noqa: E402
from trees import CannotTest, Tree  # noqa: E402


def read_source(file):
    return (TOP / file).read_text(encoding="utf-8")


def read_sources():
    """The sources of the folders in the table."""
    listed = subprocess.run(["git", "-c", "safe.directory=*", "ls-files", "--", *PROGRAMS], cwd=TOP,
                            stdout=subprocess.PIPE, check=True, text=True).stdout.split()
    files = [file for file in listed if file.endswith((".cpp", ".h")) and (TOP / file).is_file()]
    order = list(PROGRAMS)
    return {file: read_source(file) for file in sorted(files, key=lambda file: (order.index(folder_of(file)), file))}


def say(text):
    print(text, file=sys.stderr, flush=True)


class Results:
    """What is known of mutants, one JSON object a line, so that an interrupted run loses nothing."""

    def __init__(self, path):
        self.path = path
        self.known = {}
        self.lock = threading.Lock()
        # Taken at the start, as the copies are: a test that changes meanwhile is not the one that runs.
        self.digests = {folder: self._digest(folder) for folder in PROGRAMS}
        self.last = {}  # result of each mutant, whatever the tests were
        if path.exists():
            for line in path.read_text().splitlines():
                result = json.loads(line)
                self._remember(result)

    def key(self, mutant, text):
        """Of the mutated source and of all that decides its result beside the other sources."""
        mutated = hashlib.sha256("\0".join((mutant.file, mutant.apply(text))).encode()).hexdigest()
        return mutated[:32] + "-" + self.digests[folder_of(mutant.file)][:32]

    def survived_before(self, mutant):
        """Whether the mutant survived when it was tested last, with other tests perhaps."""
        return self.last.get(self.key(mutant, read_source(mutant.file)).split("-")[0]) == "survived"

    @staticmethod
    def _digest(folder):
        digest = hashlib.sha256(json.dumps(steps_for(folder + "/", True, True)).encode())
        for tests in [*TESTS[folder], "support"]:
            for path in sorted((TOP / "tests" / tests).rglob("*")):
                if path.is_file() and path.suffix in (".cpp", ".h", ".txt"):
                    digest.update(path.read_bytes())
        return digest.hexdigest()

    def add(self, key, **result):
        with self.lock:
            self._remember(dict(result, key=key))
            with open(self.path, "a", encoding="utf-8") as file:
                file.write(json.dumps(self.known[key]) + "\n")

    def _remember(self, result):
        self.known[result["key"]] = result
        self.last[result["key"].split("-")[0]] = result["result"]


class Choice:
    """The mutants of one source, of which so many are tested. One that cannot be built gives way to the next."""

    def __init__(self, mutants, wanted):
        self.rest = list(mutants)
        self.wanted = min(wanted, len(self.rest))
        self.lock = threading.Lock()

    def take(self):
        with self.lock:
            if self.wanted == 0 or not self.rest:
                return None
            self.wanted -= 1
            return self.rest.pop(0)

    def give_way(self):
        with self.lock:
            self.wanted += 1


class Run:
    def __init__(self, arguments, choices, equivalent, results):
        self.arguments = arguments
        self.choices = choices
        self.equivalent = equivalent
        self.results = results
        self.runners = [Runner() for _ in range(arguments.jobs)]
        self.trees = [Tree(TOP, FOLDER / f"tree-{number}", runner)
                      for number, runner in enumerate(self.runners)]
        self.usual_seconds = {}
        self.counts = {"killed": 0, "survived": 0, "equivalent": 0, "unbuildable": 0}
        self.survivors = []
        self.lock = threading.Lock()
        self.building = threading.Lock()
        self.measuring = threading.Lock()
        self.total = sum(choice.wanted for choice in choices)
        self.problem = None

    def prepare(self, tree, file):
        """Builds the programs of a folder with the sources as they are, and sees that they pass."""
        folder = folder_of(file)
        if folder in tree.prepared:
            return
        steps = steps_for(file, True, False)
        if not tree.prepared:
            tree.bring_up_to_date()
            self.remember_what_was_measured(tree)
        tree.restore()
        for preset in sorted({preset for preset, _ in steps}):
            say(f"Building the tests of {folder} in {tree.build_folder(preset).relative_to(TOP)}")
            # One tree after the other: a compiler cache then spares the others the work.
            with self.building:
                tree.configure(preset)
                built, output = tree.build(preset, [program for its_preset, program in steps if its_preset == preset],
                                           self.arguments.jobs)
            if not built:
                raise CannotTest(f"{output}\nthe sources as they are cannot be built")
        for preset, program in steps:
            with self.measuring:
                if f"{preset} {program}" not in self.usual_seconds:
                    self.measure(tree, preset, program)
        tree.prepared.add(folder)

    def measure(self, tree, preset, program):
        outcome = tree.run(preset, program, 30)
        if not outcome.passed:
            raise CannotTest(f"{program} ({preset}) fails with the sources as they are: {outcome.what}")
        self.usual_seconds[f"{preset} {program}"] = outcome.seconds
        MEASURED.write_text(json.dumps({"digest": tree.digest, "seconds": self.usual_seconds}), encoding="utf-8")

    def remember_what_was_measured(self, tree):
        """An earlier run has seen the programs pass, if nothing has changed since."""
        with self.measuring:
            if not self.usual_seconds and MEASURED.exists():
                measured = json.loads(MEASURED.read_text(encoding="utf-8"))
                if measured["digest"] == tree.digest:
                    self.usual_seconds = measured["seconds"]

    def work(self, tree):
        try:
            for choice in self.choices:
                while mutant := choice.take():
                    self.test(tree, choice, mutant)
        except Stopped:
            return
        except Exception as error:  # the others would wait for ever
            self.problem = error
            self.stop()

    def test(self, tree, choice, mutant):
        if is_equivalent(mutant, self.equivalent):
            self.tell(mutant, "equivalent", "")
            return
        text = read_source(mutant.file)
        key = self.results.key(mutant, text)
        known = self.results.known.get(key)
        if not known:
            result, by = self.find_out(tree, mutant, text)
            self.results.add(key, result=result, by=by, file=mutant.file, line=mutant.line, operator=mutant.operator)
            known = self.results.known[key]
        if known["result"] == "unbuildable":
            if hasattr(mutant, "text"):
                raise CannotTest(f"the mutant '{mutant.operator}' of {mutant.file} cannot be built:\n{known['by']}")
            choice.give_way()
        self.tell(mutant, known["result"], known["by"])

    def find_out(self, tree, mutant, text):
        self.prepare(tree, mutant.file)
        tree.change(mutant.file, mutant.apply(text))
        for preset, program in steps_for(mutant.file, mutant.is_about_threads, mutant.is_only_about_threads):
            built, output = tree.build(preset, [program])
            if not built:
                return "unbuildable", output[-2000:]
            outcome = tree.run(preset, program, self.usual_seconds[f"{preset} {program}"])
            if not outcome.passed:
                return "killed", f"{program}: {outcome.what}"
        return "survived", ""

    def tell(self, mutant, result, by):
        with self.lock:
            self.counts[result] += 1
            if result == "survived":
                self.survivors.append(mutant)
            if result == "unbuildable":
                return
            done = sum(self.counts.values()) - self.counts["unbuildable"]
            line = (f"{done} of {self.total}  {result:10} {mutant.file}:{mutant.line_number}  {mutant.operator}"
                    f"{'  ' + by if by else ''}")
            if not sys.stdout.isatty():
                print(line, flush=True)
            else:
                end = "\n" if result == "survived" else "\r"
                print("\x1b[2K" + line[:os.get_terminal_size().columns - 1], end=end, flush=True)

    def stop(self):
        for runner in self.runners:
            runner.stop()

    def execute(self):
        """Whether the run came to its end."""
        try:
            workers = [threading.Thread(target=self.work, args=(tree,), daemon=True) for tree in self.trees]
            for worker in workers:
                worker.start()
            for worker in workers:
                while worker.is_alive():
                    worker.join(0.5)
        except (KeyboardInterrupt, Stopped):
            self.stop()
            return False
        if self.problem:
            raise self.problem
        return True


def show(mutant):
    text = read_source(mutant.file)
    diff = difflib.unified_diff(text.splitlines(), mutant.apply(text).splitlines(), f"a/{mutant.file}",
                                f"b/{mutant.file}", lineterm="", n=2)
    print(f"\nsurvived: {mutant.operator}")
    print("\n".join(diff))


def only_survivors(choices, results):
    """Of what was chosen, what survived when it was tested last."""
    remaining = []
    for choice in choices:
        mutants = [mutant for mutant in choice.rest if results.survived_before(mutant)]
        remaining.append(Choice(mutants, len(mutants)))
    return remaining


def chosen(sources, by_hand, arguments):
    """The choices in their order: those by hand, then the sources from the lowest layer upwards."""
    choices = []
    for mutant in by_hand:
        if matches(mutant.file, arguments.pattern) or arguments.pattern == mutant.operator:
            choices.append(Choice([mutant], 1))
    if arguments.by_hand:
        return choices
    others = {folder: [] for folder in PROGRAMS}
    for file, text in sources.items():
        if matches(file, arguments.pattern):
            mutants = in_even_order(all_mutants(file, text))
            wanted = round(math.sqrt(len(mutants)) / 2 * arguments.times)
            choices.append(Choice(mutants, wanted))
            others[folder_of(file)] += mutants[wanted:]
    if arguments.sample:
        return [Choice(sampled(others), arguments.sample)]
    return choices


def sampled(others):
    """Mutants of the folders in turn, as if drawn by lot, but the same each time."""
    queues = [sorted(mutants, key=lambda mutant: lot(mutant.file, mutant.begin, mutant.operator, mutant.replacement))
              for mutants in others.values()]
    return [mutant for turn in itertools.zip_longest(*queues) for mutant in turn if mutant]


def matches(file, pattern):
    return not pattern or file.startswith(pattern.rstrip("/") + "/") or file == pattern or \
        os.path.basename(file) == pattern or os.path.splitext(os.path.basename(file))[0] == pattern


def parse_arguments():
    parser = argparse.ArgumentParser(
        prog="./test mutants", description="Changes the sources a little, one place at a time, and tells which "
        "changes no test notices. Goes on where it was stopped.")
    parser.add_argument("pattern", nargs="?", help="a folder, a source, or the name of a mutant made by hand; "
                                                   "all without it")
    parser.add_argument("--by-hand", action="store_true", help="only the mutants of tests/mutants/by-hand.txt")
    parser.add_argument("--survivors", action="store_true", help="only those that survived when last tested")
    parser.add_argument("--times", type=float, default=1, metavar="N", help="tests N times as many (1)")
    parser.add_argument("--sample", type=int, default=0, metavar="N",
                        help="tests N others instead, of all folders in turn: what the tests are worth that were made "
                             "for the usual ones")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), metavar="N", help="at once (%(default)s)")
    parser.add_argument("--list", action="store_true", help="only prints the mutants in their order")
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    sources = read_sources()
    try:
        by_hand = read_by_hand(HERE / "by-hand.txt", read_source)
        equivalent = read_equivalent(HERE / "equivalent.txt", sources)
    except BadEntry as error:
        print(f"error: {error}", file=sys.stderr)
        return 2
    choices = chosen(sources, by_hand, arguments)
    FOLDER.mkdir(parents=True, exist_ok=True)
    results = Results(FOLDER / "results.jsonl")
    if arguments.survivors:
        choices = only_survivors(choices, results)
    if not any(choice.wanted for choice in choices):
        print(f"error: nothing to change fits '{arguments.pattern}'", file=sys.stderr)
        return 2
    if arguments.list:
        for choice in choices:
            for mutant in choice.rest[:choice.wanted]:
                print(f"{mutant.file}:{mutant.line_number}  {mutant.operator}  {mutant.line}")
        return 0
    run = Run(arguments, choices, equivalent, results)
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, signal.default_int_handler)
    lock = open(FOLDER / "lock", "w", encoding="utf-8")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        print(f"error: another run uses {FOLDER}", file=sys.stderr)
        return 2
    try:
        at_its_end = run.execute()
    except CannotTest as error:
        print(f"error: {error}", file=sys.stderr)
        return 2
    for mutant in run.survivors:
        show(mutant)
    counts = run.counts
    not_run = run.total - counts["killed"] - counts["survived"] - counts["equivalent"]
    why = "have no substitute that can be built" if at_its_end else "not tested"
    print(f"{counts['killed']} killed, {counts['survived']} survived, {counts['equivalent']} equivalent"
          + (f"; {not_run} {why}" if not_run else ""))
    return 0 if at_its_end and not counts["survived"] else 1


if __name__ == "__main__":
    sys.exit(main())
