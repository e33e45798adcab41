"""What bench/compare makes of what the programs measure."""

import json
import os
import platform
import re
import subprocess
import sys
import tempfile
import unittest
from unittest import mock

from comparison import programs, promises, report, results
from comparison.promises import Promise
from comparison.results import Key, Summary
from shared import Failed, WrongUse, call


def key(contender, scenario="scenario", size=0, metric="time", group="peer"):
    return Key(scenario, contender, group, size, metric)


def measured(**nanoseconds):
    """Results of one scenario; an underscore in a contender's name stands for a space."""
    return {key(name.replace("_", " ")): Summary(value, value, value, 3) for name, value in nanoseconds.items()}


def sized(contender, *sizes, metric="time"):
    return {key(contender, size=size, metric=metric): Summary(size, size, size, 1) for size in sizes}


def run(label="a|b|peer|0", **more):
    return {"name": "a/b", "run_type": "iteration", "label": label, **more}


def read(*runs):
    return programs.read_samples("program", json.dumps({"benchmarks": runs}))


class Samples(unittest.TestCase):
    def test_are_times_of_one_item(self):
        ((found, time),) = read(run("a, x|b|limit|10", items_per_second=4e6))
        self.assertEqual((Key("a, x", "b", "limit", 10, "time"), 250), (found, time))

    def test_of_latency_and_memory_are_counters(self):
        self.assertEqual([(key("b", "a", metric="p50"), 100), (key("b", "a", metric="memory"), 184)],
                         read(run(p50=100, memory=184)))

    def test_leave_out_what_is_summed_up_already(self):
        self.assertEqual([], read(run(run_type="aggregate")))

    def test_of_a_contender_that_failed_are_none(self):
        with self.assertRaisesRegex(Failed, "^program: a/b: out of order$"):
            read(run(error_occurred=True, error_message="out of order"))

    def test_that_cannot_be_read_are_refused(self):
        for text in ("", "{", "[]", '{"context": {}}', json.dumps({"benchmarks": [run("no label")]})):
            with self.subTest(text=text), self.assertRaisesRegex(Failed, "^program: its results cannot be read$"):
                programs.read_samples("program", text)


class Choice(unittest.TestCase):
    def test_is_by_scenario_contender_and_size_and_growth_comes_last(self):
        listed = "growth, a|KXAPI|ours|1\na|KXAPI|ours|10\na|KXAPI, poll|ours|10\nb|KXAPI|ours|0\n"
        with mock.patch.object(programs, "PROGRAMS", ["p"]), mock.patch.object(programs, "call", return_value=listed):
            for pattern, expected in (("", [("f/p", False, [1, 2, 3]), ("f/p", True, [0])]),
                                      ("KXAPI$|KXAPI/1", [("f/p", False, [1, 3]), ("f/p", True, [0])]),
                                      ("^a/.*/10", [("f/p", False, [1, 2])]), ("c", [])):
                with self.subTest(pattern=pattern):
                    self.assertEqual(expected, list(programs.choose("f", re.compile(pattern))))


class Medians(unittest.TestCase):
    def summary(self, *numbers):
        return results.summarize([(key("a"), number) for number in numbers])[key("a")]

    def test_are_not_moved_by_one_that_runs_away(self):
        self.assertEqual(Summary(3, 2, 4, 5), self.summary(1, 2, 1000000, 3, 4))

    def test_of_even_numbers_lie_between(self):
        self.assertEqual(2.5, self.summary(4, 1, 2, 3).median)

    def test_of_a_single_one_are_that(self):
        self.assertEqual(Summary(7, 7, 7, 1), self.summary(7))

    def test_keep_contenders_apart(self):
        found = results.summarize([(key("a"), 1), (key("b"), 10), (key("a"), 3), (key("b"), 30)])
        self.assertEqual({key("a"): 2, key("b"): 20}, {name: summary.median for name, summary in found.items()})

    def test_stand_in_an_order_of_their_own(self):
        found = {key(name, scenario, size): None for name in "ab" for size in (10, 9)
                 for scenario in ("unknown", results.ORDER[1], results.ORDER[0])}
        backwards = dict(reversed(list(found.items())))
        self.assertEqual(list(results.in_order(found)), list(results.in_order(backwards)))
        self.assertEqual(results.ORDER[0], list(results.in_order(found))[0].scenario)


class File(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.name = os.path.join(folder.name, "medians.csv")

    def write(self, found, **facts):
        with open(self.name, "w", encoding="utf-8") as file:
            results.write_csv(file, facts, found)

    def check_refused(self, content, words):
        with open(self.name, "wb") as file:
            file.write(content)
        with self.assertRaisesRegex(WrongUse, f"^{self.name}{words}"):
            results.read_csv([self.name])

    def test_comes_back_as_it_was(self):
        found = {key("a", "one, two", 7): Summary(2.5, 1.5, 3.5, 20), key("b", "s"): Summary(1698816, 1, 2e6, 1),
                 key("c", "t", metric="memory"): Summary(0, 0, 0, 1)}
        self.write(found, Qt="5.15.8", Compiler="c++: 12")
        self.assertEqual(({"Qt": "5.15.8", "Compiler": "c++: 12"}, found), results.read_csv([self.name]))

    def test_that_comes_last_counts(self):
        other = self.name + "2"
        self.write(measured(a=1, b=2), Qt="5")
        os.rename(self.name, other)
        self.write(measured(b=3), Qt="6")
        self.assertEqual(({"Qt": "6"}, measured(a=1, b=3)), results.read_csv([other, self.name]))

    def test_with_a_wrong_line_is_refused(self):
        head = "# Qt: 5\n" + ",".join(results.COLUMNS) + "\n"
        for line in ("", "a", "a,b,peer,,time,ns,1,1,1", "a,b,peer,,time,ns,x,1,1,1", "a,b,peer,,time,ns,0,0,0,1",
                     "a,b,peer,,time,ns,nan,1,1,1", "a,b,peer,,time,ns,1,1,inf,1", "a,b,peer,,time,ns,1,1,1,0",
                     "a,b,peer,,time,bytes,1,1,1,1", "a,b,peer,x,time,ns,1,1,1,1", ",b,peer,,time,ns,1,1,1,1"):
            with self.subTest(line=line):
                self.check_refused(f"{head}a,b,peer,,time,ns,1,1,1,1\n{line}\n".encode(), ":4: this is no measurement")

    def test_with_other_columns_or_nothing_is_refused(self):
        self.check_refused(b"# Qt: 5\na,b\n", ":2: these are not the columns")
        for content in (b"", b"# Qt: 5\n", (",".join(results.COLUMNS) + "\n").encode()):
            self.check_refused(content, ": there is no measurement in it")
        self.check_refused(b"\xff\xfe", ": this is no text")


class Promises(unittest.TestCase):
    def judge(self, most, found, rival="rival", **more):
        return promises.judge(Promise("scenario", most, rival, **more), found)

    def test_hold_up_to_the_limit(self):
        for ours, holds in ((159, True), (160, True), (161, False)):
            outcome = self.judge(1.6, measured(KXAPI=ours, rival=100))
            self.assertEqual((ours / 100, holds), (outcome.ratio, outcome.holds))

    def test_of_being_faster_are_fractions(self):
        for ours, holds in ((99, True), (100, True), (101, False)):
            self.assertEqual(holds, self.judge(1 / 3, measured(KXAPI=ours, rival=300)).holds)

    def test_of_less_do_not_hold_at_the_limit(self):
        for ours, holds in ((99, True), (100, False)):
            self.assertEqual(holds, self.judge(1, measured(KXAPI=ours, rival=100), less=True).holds)

    def test_look_at_the_fastest_of_a_group(self):
        found = {**measured(KXAPI=150, other=10), key("slow", group="Qt"): Summary(200, 0, 0, 1),
                 key("fast", group="Qt"): Summary(100, 0, 0, 1)}
        self.assertEqual(("fast", 1.5), self.judge(1, found, "Qt")[1:3])

    def test_look_at_the_one_that_is_named(self):
        self.assertEqual(("pipe", 1.5), self.judge(1, measured(KXAPI=150, pipe=100, pipe_with_poll=50), "pipe")[1:3])

    def test_do_not_hold_unmeasured(self):
        for found in ({}, measured(KXAPI=1), measured(rival=1)):
            outcome = self.judge(1, found)
            self.assertEqual((None, False), (outcome.ratio, outcome.holds))

    def test_may_compare_ours_with_ours(self):
        found = {**sized("KXAPI", 1000, 2400), **sized("KXAPI, loop detection off", 1000)}
        self.assertEqual(2.4, self.judge(2.5, found, "KXAPI", size=2400, rival_size=1000).ratio)

    def test_keep_sizes_and_metrics_apart(self):
        found = {**sized("KXAPI", 1), **sized("rival", 2), **sized("KXAPI", 2, metric="p50")}
        self.assertIsNone(self.judge(1, found, size=2).ratio)

    def test_are_told_in_words(self):
        for promise, words in (
                (Promise("s", 1.6, "r"), "s: at most 1.6 times what r takes"),
                (Promise("s", 1.0, "r", metric="p50", less=True), "s, p50: faster than r"),
                (Promise("s", 1 / 1.5, "r", size=1000), "s, 1,000: at least 1.5 times as fast as r"),
                (Promise("s", 2.5, "r", size=100000, rival_size=1000),
                 "s, 100,000: at most 2.5 times what r with 1,000 takes")):
            self.assertEqual((words, "not measured", "-"), promises.describe(promises.Outcome(promise, "r")))

    def test_that_are_broken_stand_out(self):
        self.assertEqual(("0.50 times", "holds"), promises.describe(self.judge(1.1, measured(KXAPI=1, rival=2)))[1:])
        self.assertEqual(("0.50 times as fast", "DOES NOT HOLD"),
                         promises.describe(self.judge(1 / 3, measured(KXAPI=2, rival=1)))[1:])

    def test_are_about_scenarios_that_are_known(self):
        self.assertLessEqual({promise.scenario for promise in promises.PROMISES}, {*results.ORDER})


class ProgramThatFails(unittest.TestCase):
    def test_has_its_last_line_told(self):
        for reason, script in ((": the reason", "echo printed; echo first >&2; echo the reason >&2; exit 3"),
                               (": printed", "echo printed; exit 3"), ("", "exit 3")):
            with self.assertRaisesRegex(Failed, f"^sh ended with status 3{reason}$"):
                call("/bin/sh", "-c", script)


class FullBus(unittest.TestCase):
    PRINTED = ("frames read          5700, 0 out of order\n"
               "processor time       0.04 s, 1.38 % of one core (below 5.0 % wanted)\n"
               "heap                 1693328 bytes, the toolkit's included\n")

    def run_with(self, printed):
        with mock.patch.object(programs, "call", return_value=printed) as called:
            samples = dict(programs.run_full_bus("folder", key("KXAPI", size=12), 3))
        self.assertEqual(("folder/full_bus", "3", "90", "12"), called.call_args.args)
        return samples

    def test_tells_the_processor_time_and_the_heap_for_so_many_keys(self):
        self.assertEqual({key("KXAPI", size=12, metric="processor"): 1.38,
                          key("KXAPI", size=12, metric="heap"): 1693328}, self.run_with(self.PRINTED))

    def test_fails_without_one_of_both(self):
        for figure in ("processor", "heap"):
            with self.subTest(figure=figure), self.assertRaisesRegex(Failed, figure):
                self.run_with(self.PRINTED.replace(figure, "x"))


class Report(unittest.TestCase):
    def test_gives_three_digits_and_a_unit(self):
        for nanoseconds, text in ((0.5, "0.50 ns"), (9.876, "9.88 ns"), (98.76, "98.8 ns"), (987.6, "988 ns"),
                                  (9876, "9.88 µs"), (9.876e6, "9.88 ms"), (98.76e9, "98.8 s")):
            self.assertEqual(text, report.format_value(nanoseconds, "time"))
        self.assertEqual("12,112 bytes", report.format_value(12112, "memory"))
        self.assertEqual("0.50 %", report.format_value(0.5, "processor"))

    def cells(self, found):
        return [[cell.strip() for cell in line.split("|")[1:-1]]
                for line in report.scenario_tables("scenario", found).splitlines()]

    def test_has_the_fastest_first(self):
        self.assertEqual(["fast", "**KXAPI**", "slow"],
                         [row[0] for row in self.cells(measured(slow=9, KXAPI=5, fast=2))[2:]])

    def test_leaves_a_gap_where_nothing_was_measured(self):
        rows = self.cells({**sized("a", 2, 1), **sized("b", 2)})
        self.assertEqual(["time for one", "1", "2"], rows[0])
        self.assertEqual([["a", "1.00 ns", "2.00 ns"], ["b", "", "2.00 ns"]], rows[2:])

    def test_has_a_table_for_each_metric_where_sizes_are_columns(self):
        rows = self.cells({**sized("a", 1000, metric="memory"), **sized("a", 1000)})
        self.assertEqual(["time for one", "memory for one"], [row[0] for row in rows if row[1:] == ["1,000"]])

    def test_has_percentiles_side_by_side(self):
        found = {key("a", metric="p99"): Summary(3, 3, 3, 1), key("a", metric="p50"): Summary(2, 2, 2, 1)}
        self.assertEqual(["a", "2.00 ns", "3.00 ns"], self.cells(found)[2])

    def test_tells_how_far_the_samples_spread(self):
        self.assertEqual("100 ns ± 5 %", report.format_cell(Summary(100, 95, 105, 4), "time"))

    def test_tells_everything(self):
        found = measured(KXAPI=5, rival=4)
        outcome = promises.judge(Promise("scenario", 1.1, "rival"), found)
        text = report.make_report({"Qt": "5.15.8"}, found, [outcome])
        for part in ("5.15.8", "1.25 times", "DOES NOT HOLD", "## Scenario", "**KXAPI**", "rival", "4.00 ns"):
            self.assertIn(part, text)


class Pictures(unittest.TestCase):
    def test_have_a_panel_for_each_size(self):
        panels = results.group({**sized("b", 1000, 1), **sized("a", 1000)}, "scenario", "time", "size")
        self.assertEqual([[("b", 1)], [("a", 1000), ("b", 1000)]],
                         [[(name.contender, name.size) for name, _ in panel] for panel in panels])

    def test_have_curves_by_size_and_ours_first(self):
        ours = {name._replace(group="ours"): summary for name, summary in sized("KXAPI", 10, 1).items()}
        curves = results.group({**sized("Asio", 1), **ours}, "scenario", "time", "contender")
        self.assertEqual([[("KXAPI", 1), ("KXAPI", 10)], [("Asio", 1)]],
                         [[(name.contender, name.size) for name, _ in curve] for curve in curves])

    def test_have_latencies_that_are_whole(self):
        found = {key("a", metric="p50"): Summary(2, 0, 0, 1), key("a", metric="p99"): Summary(3, 0, 0, 1),
                 key("b", metric="p50"): Summary(1, 0, 0, 1)}
        self.assertEqual([(key("a", metric="p50"), 2, 3)], results.latencies(found, "scenario"))


class Machine(unittest.TestCase):
    def describe(self, cache):
        with tempfile.TemporaryDirectory() as build:
            with open(os.path.join(build, "CMakeCache.txt"), "w", encoding="utf-8") as file:
                file.write(cache)
            return report.describe_machine(build, 0.25)

    def test_is_described_without_its_name_and_paths(self):
        facts = self.describe("CMAKE_CXX_COMPILER:FILEPATH=/usr/bin/c++\n")
        words = re.findall(r"[^\s,]+", " ".join(facts.values()))
        self.assertNotIn(platform.node(), words)
        self.assertEqual([], [word for word in words if "/" in word.replace("GNU/Linux", "")])

    def test_is_described_as_far_as_it_is_known(self):
        facts = self.describe("")
        self.assertEqual("unknown, CMake's Release flags", facts["Compiler"])
        self.assertEqual("0.25", facts["Load before"])
        self.assertEqual([], [name for name, value in facts.items() if not value])


class Command(unittest.TestCase):
    def run_command(self, *arguments):
        done = subprocess.run([sys.executable, "-m", "comparison", *arguments], capture_output=True, text=True,
                              timeout=60, check=False)
        return done.returncode, done.stdout, done.stderr

    def check_refused(self, words, *arguments):
        status, output, error = self.run_command(*arguments)
        self.assertEqual((2, ""), (status, output), error)
        self.assertRegex(error, f"^error: [^\n]*{words}[^\n]*\n$")

    def test_helps(self):
        status, output, error = self.run_command("--help")
        self.assertEqual((0, ""), (status, error))
        self.assertIn("--quick", output)

    def test_refuses_what_it_does_not_know(self):
        self.check_refused("--fast", "--fast")
        self.check_refused("word", "word")
        self.check_refused("--output", "--output")
        self.check_refused("regular expression", "--filter", "(")
        self.check_refused("--from", "--from", "medians.csv", "--quick")

    def test_refuses_files_and_folders(self):
        with tempfile.TemporaryDirectory() as folder:
            name = os.path.join(folder, "medians.csv")
            new = os.path.join(folder, "new")
            self.check_refused("No such file", "--from", name, "--output", new)
            self.check_refused("Is a directory", "--from", folder, "--output", new)
            with open(name, "w", encoding="utf-8") as file:
                file.write("a,b\n")
            self.check_refused("medians.csv:1: ", "--from", name, "--output", new)
            self.assertFalse(os.path.exists(new))
            with open(name, "w", encoding="utf-8") as file:
                results.write_csv(file, {}, measured(KXAPI=1))
            for output in ("", "/proc", name):
                self.check_refused(f"'{output}'", "--from", name, "--output", output)


if __name__ == "__main__":
    unittest.main()
