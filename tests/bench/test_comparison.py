"""What bench/compare makes of what the programs measure."""

import io
import json
import os
import platform
import re
import subprocess
import sys
import tempfile
import unittest
from unittest import mock

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
COMPARISON = os.path.join(TOP, "bench", "comparison")
sys.path.insert(0, COMPARISON)

# pylint: disable=wrong-import-position # they are found only now
import machine
import programs
import promises
import report
import results
import selection
from promises import Promise
from results import Key, ProgramFailed, Summary


def benchmark(name, nanoseconds, **more):
    return dict({"name": name, "run_type": "iteration", "items_per_second": 1e9 / nanoseconds}, **more)


def read(*runs):
    return results.read_benchmarks(json.dumps({"benchmarks": runs}))


def key(contender, scenario="scenario", size=None, metric="time"):
    return Key(scenario, contender, size, metric)


def measured(**nanoseconds):
    """Results of one scenario; an underscore in a contender's name stands for a space."""
    return {key(name.replace("_", " ")): Summary(value, value, value, 3) for name, value in nanoseconds.items()}


class Names(unittest.TestCase):
    def test_consist_of_scenario_and_contender(self):
        self.assertEqual(("in-process, one event", "KXAPI", None), results.split_name("in-process, one event/KXAPI"))

    def test_may_end_with_a_size(self):
        self.assertEqual(("actions waiting", "Asio", 1000), results.split_name("actions waiting/Asio/1000"))

    def test_lose_what_the_library_adds(self):
        for addition in ("real_time", "manual_time", "iterations:2000", "iterations:2000/manual_time", "threads:2"):
            with self.subTest(addition=addition):
                self.assertEqual(("a", "b", 7), results.split_name("a/b/7/" + addition))

    def test_of_another_form_are_refused(self):
        for name in ("a", "a/b/c", "a/b/1/2"):
            with self.subTest(name=name):
                self.assertRaises(ProgramFailed, results.split_name, name)

    def test_match_themselves_only_as_patterns(self):
        name = "pipe queue, one event/write, poll, read (a+b.c)"
        self.assertTrue(re.fullmatch(programs.escape(name), name))
        self.assertFalse(re.fullmatch(programs.escape(name), name.replace(".", "x")))


class Samples(unittest.TestCase):
    def test_are_times_of_one_item(self):
        (sample,) = read(benchmark("a/b/10", 250))
        self.assertEqual(Key("a", "b", 10, "time"), sample[0])
        self.assertAlmostEqual(250, sample[1])

    def test_of_latency_have_no_mean(self):
        samples = read(benchmark("a/b", 250, p50_ns=100, p99_ns=900))
        self.assertEqual([(Key("a", "b", None, "p50"), 100), (Key("a", "b", None, "p99"), 900)], samples)

    def test_of_memory_stand_beside_the_time(self):
        self.assertIn((Key("a", "b", 1, "memory"), 184), read(benchmark("a/b/1", 5, bytes_per_item=184)))

    def test_leave_out_what_is_summed_up_already(self):
        self.assertEqual([], read(benchmark("a/b_median", 5, run_type="aggregate")))

    def test_of_a_contender_that_failed_are_none(self):
        with self.assertRaisesRegex(ProgramFailed, "a/b: out of order"):
            read({"name": "a/b", "run_type": "iteration", "error_occurred": True, "error_message": "out of order"})

    def test_that_are_no_json_are_refused(self):
        for text in ("", "{", "[]", '{"context": {}}'):
            with self.subTest(text=text):
                self.assertRaises(ProgramFailed, results.read_benchmarks, text)


class Medians(unittest.TestCase):
    def test_of_odd_and_even_numbers(self):
        self.assertEqual(3, results.summarize_values([5, 1, 3]).median)
        self.assertEqual(2.5, results.summarize_values([4, 1, 2, 3]).median)

    def test_are_not_moved_by_one_that_runs_away(self):
        self.assertEqual(Summary(3, 2, 4, 5), results.summarize_values([1, 2, 3, 4, 1000000]))

    def test_of_a_single_one_are_that(self):
        self.assertEqual(Summary(7, 7, 7, 1), results.summarize_values([7]))

    def test_keep_contenders_apart(self):
        found = results.summarize([(key("a"), 1), (key("b"), 10), (key("a"), 3), (key("b"), 30)])
        self.assertEqual({key("a"): 2, key("b"): 20}, {name: summary.median for name, summary in found.items()})


class File(unittest.TestCase):
    def setUp(self):
        self.machine = {"Processor": "some: with a colon", "Qt": "5.15.8"}
        self.results = {key("write, poll, read", "pipe queue", 7000, "time"): Summary(735.25, 730, 740, 15),
                        key("KXAPI", "wake-up", None, "p99"): Summary(1e7, 9e6, 2e7, 3)}
        file = io.StringIO()
        results.write_csv(file, self.machine, self.results)
        self.lines = file.getvalue().splitlines(keepends=True)

    def test_brings_back_what_was_written(self):
        self.assertEqual((self.machine, self.results), results.read_csv(self.lines, "name"))

    def test_tells_which_line_is_wrong(self):
        for number, line in ((3, "scenario\n"), (4, "\n"), (4, "a,b,c,time,ns,1,2,3,4\n"), (5, "a,b,,time,s,1,1,1,4\n"),
                             (5, "a,b,,time,ns,x,1,1,4\n"), (5, "a,b,,time,ns,1,1\n"), (5, "a,b,,time,ns,-1,1,1,1\n"),
                             (5, "a,b,,time,ns,0,0,0,1\n"), (5, "a,b,,time,ns,nan,1,1,1\n"),
                             (5, "a,b,,time,ns,1,1,inf,1\n"), (5, "a,b,,time,ns,1,1,1,0\n"),
                             (5, ",b,,time,ns,1,1,1,1\n"), (5, "a,,,time,ns,1,1,1,1\n"),
                             (5, "pipe queue,a,,time,ns,1,1,1,1\n"),
                             (5, '"growth, x",a,,time,ns,1,1,1,1\n')):
            with self.subTest(line=line):
                lines = list(self.lines)
                lines[number - 1] = line
                with self.assertRaisesRegex(ValueError, f"^name:{number}: "):
                    results.read_csv(lines, "name")

    def test_keeps_all_digits_that_are_shown(self):
        heap = key("KXAPI", "growth, keypad", 1, "heap")
        file = io.StringIO()
        results.write_csv(file, {}, {heap: Summary(1698816, 1698816, 1698816, 1)})
        self.assertEqual(1698816, results.read_csv(file.getvalue().splitlines(), "name")[1][heap].median)

    def test_may_tell_that_no_memory_is_taken(self):
        lines = [*self.lines[:3], "a,b,1,memory,bytes,0,0,0,1\n"]
        self.assertEqual(0, results.read_csv(lines, "name")[1][key("b", "a", 1, "memory")].median)

    def test_without_measurements_is_refused(self):
        for lines in ([], self.lines[:2], self.lines[:3]):
            with self.subTest(lines=lines):
                with self.assertRaisesRegex(ValueError, "^name: there is no measurement"):
                    results.read_csv(lines, "name")


class Promises(unittest.TestCase):
    def judge(self, most, whom="rival", **nanoseconds):
        return promises.judge(Promise("scenario", most, whom), measured(**nanoseconds))

    def test_hold_up_to_the_limit(self):
        for ours, holds in ((159, True), (160, True), (161, False)):
            with self.subTest(ours=ours):
                outcome = self.judge(1.6, KXAPI=ours, rival=100)
                self.assertAlmostEqual(ours / 100, outcome.ratio)
                self.assertEqual(holds, outcome.holds())

    def test_of_being_faster_are_fractions(self):
        for ours, holds in ((99, True), (100, True), (101, False)):
            with self.subTest(ours=ours):
                self.assertEqual(holds, self.judge(1 / 3, KXAPI=ours, rival=300).holds())

    def test_of_less_do_not_hold_at_the_limit(self):
        for ours, holds in ((99, True), (100, False)):
            with self.subTest(ours=ours):
                outcome = promises.judge(Promise("scenario", 1, "rival", less=True), measured(KXAPI=ours, rival=100))
                self.assertEqual(holds, outcome.holds())
                self.assertEqual("scenario: faster than rival", promises.describe(outcome.promise))

    def test_tell_qt_with_and_without_glib_apart(self):
        nanoseconds = {"KXAPI": 10, "Qt_a": 40, "Qt_b": 30, "Qt_a,_no_GLib": 9, "Qt_b,_no_GLib": 20, "GLib": 1}
        for family, rival in ((promises.QT_WITH_GLIB, "Qt b"), (promises.QT_WITHOUT_GLIB, "Qt a, no GLib")):
            with self.subTest(family=family):
                self.assertEqual(rival, self.judge(1, family, **nanoseconds).rival)

    def test_look_at_the_fastest_of_a_family(self):
        outcome = self.judge(1, "Qt", KXAPI=150, Qt_slow=200, Qt_fast=100, GLib=10)
        self.assertEqual(("Qt fast", 1.5), (outcome.rival, outcome.ratio))

    def test_look_at_the_one_that_is_named(self):
        outcome = self.judge(1, "pipe", KXAPI=150, pipe=100, pipe_with_poll=50)
        self.assertEqual(("pipe", 1.5), (outcome.rival, outcome.ratio))

    def test_do_not_hold_unmeasured(self):
        for nanoseconds in ({}, {"KXAPI": 1}, {"rival": 1}):
            with self.subTest(nanoseconds=nanoseconds):
                outcome = self.judge(1, **nanoseconds)
                self.assertIsNone(outcome.ratio)
                self.assertFalse(outcome.holds())

    def test_may_compare_ours_with_ours(self):
        found = {key("KXAPI", size=1000): Summary(100, 0, 0, 1), key("KXAPI", size=100000): Summary(240, 0, 0, 1),
                 key("KXAPI, loop detection off", size=1000): Summary(1, 0, 0, 1)}
        outcome = promises.judge(Promise("scenario", 2.5, "KXAPI", size=100000, rival_size=1000), found)
        self.assertAlmostEqual(2.4, outcome.ratio)

    def test_keep_sizes_and_metrics_apart(self):
        found = {key("KXAPI", size=1): Summary(1, 0, 0, 1), key("rival", size=2): Summary(1, 0, 0, 1),
                 key("KXAPI", size=2, metric="p50"): Summary(1, 0, 0, 1)}
        self.assertIsNone(promises.judge(Promise("scenario", 1, "rival", size=2), found).ratio)

    def test_are_told_in_words(self):
        for promise, words in (
                (Promise("s", 1.6, "r"), "s: at most 1.6 times what r takes"),
                (Promise("s", 1.0, "r", metric="p50"), "s, p50: not slower than r"),
                (Promise("s", 1 / 3, "r", size=1000), "s, 1,000: at least 3 times as fast as r"),
                (Promise("s", 2.5, "r", size=100000, rival_size=1000),
                 "s, 100,000: at most 2.5 times what r with 1,000 takes")):
            self.assertEqual(words, promises.describe(promise))

    def test_that_are_broken_stand_out(self):
        words = [promises.describe_verdict(self.judge(1, **nanoseconds))
                 for nanoseconds in ({"KXAPI": 1, "rival": 2}, {"KXAPI": 2, "rival": 1}, {})]
        self.assertEqual(["holds", "DOES NOT HOLD", "-"], words)


class ProgramThatFails(unittest.TestCase):
    def check(self, reason, script):
        with self.assertRaisesRegex(ProgramFailed, f"^sh ended with status 3{reason}$"):
            programs.call(["/bin/sh", "-c", script])

    def test_has_its_last_line_told(self):
        self.check(": the reason", "echo printed; echo first >&2; echo the reason >&2; exit 3")
        self.check(": printed", "echo printed; exit 3")
        self.check("", "exit 3")


class FullBus(unittest.TestCase):
    PRINTED = ("frames read          5700, 0 out of order\n"
               "processor time       0.04 s, 1.38 % of one core (below 5.0 % wanted)\n"
               "heap                 1693328 bytes, the toolkit's included\n")

    def run_with(self, printed):
        with mock.patch.object(programs, "call", return_value=printed) as call:
            samples = dict(programs.run_full_bus("folder", 3, 12))
        program = os.path.join("folder", "bench", "full_bus")
        self.assertEqual([program, "3", str(programs.FULL_BUS_PERCENT), "12"], call.call_args.args[0])
        return samples

    def test_tells_the_processor_time_and_the_heap_for_so_many_keys(self):
        scenario = "growth, keypad on a full bus"
        self.assertEqual({Key(scenario, "KXAPI", 12, "processor"): 1.38, Key(scenario, "KXAPI", 12, "heap"): 1693328},
                         self.run_with(self.PRINTED))

    def test_fails_without_one_of_both(self):
        for figure in ("processor", "heap"):
            with self.subTest(figure=figure), self.assertRaisesRegex(ProgramFailed, figure):
                self.run_with(self.PRINTED.replace(figure, "x"))


class Report(unittest.TestCase):
    def test_gives_three_digits_and_a_unit(self):
        for nanoseconds, text in ((9.876, "9.88 ns"), (98.76, "98.8 ns"), (987.6, "988 ns"), (9876, "9.88 µs"),
                                  (9.876e6, "9.88 ms"), (98.76e9, "98.8 s")):
            self.assertEqual(text, report.format_time(nanoseconds))
        self.assertEqual("12,112 bytes", report.format_value(12112, "memory"))
        self.assertEqual("0.50 %", report.format_value(0.5, "processor"))
        self.assertEqual("1,697,888 bytes", report.format_value(1697888, "heap"))

    def test_has_columns_of_one_width(self):
        lines = report.scenario_tables("scenario", measured(KXAPI=1, a_very_long_name=1000)).splitlines()
        self.assertEqual(1, len({len(line) for line in lines}), lines)

    def test_has_the_fastest_first(self):
        lines = report.scenario_tables("scenario", measured(slow=9, KXAPI=5, fast=2)).splitlines()[2:]
        self.assertEqual(["fast", "**KXAPI**", "slow"], [line.split("|")[1].strip() for line in lines])

    def test_leaves_a_gap_where_nothing_was_measured(self):
        found = {key("a", size=1): Summary(1, 1, 1, 1), key("a", size=2): Summary(2, 2, 2, 1),
                 key("b", size=2): Summary(3, 3, 3, 1)}
        rows = [[cell.strip() for cell in line.split("|")[1:-1]]
                for line in report.scenario_tables("scenario", found).splitlines()]
        self.assertEqual(["time for one", "1", "2"], rows[0])
        self.assertEqual([["a", "1.00 ns", "2.00 ns"], ["b", "", "3.00 ns"]], rows[2:])

    def test_has_a_table_for_each_metric_where_sizes_are_columns(self):
        found = {key("a", size=size, metric=metric): Summary(size, size, size, 1)
                 for metric in ("memory", "time") for size in (1000, 1)}
        text = report.scenario_tables("scenario", found)
        heads = [line for line in text.splitlines() if "for one" in line]
        self.assertEqual(["time for one", "memory for one"], [line.split("|")[1].strip() for line in heads])
        self.assertRegex(heads[0], r"\| +1 \| +1,000 \|")

    def test_has_percentiles_side_by_side(self):
        found = {key("a", metric="p99"): Summary(3, 3, 3, 1), key("a", metric="p50"): Summary(2, 2, 2, 1)}
        self.assertRegex(report.scenario_tables("scenario", found), r"\| a +\| +2.00 ns \| +3.00 ns \|")

    def test_tells_how_far_the_samples_spread(self):
        self.assertEqual("100 ns ± 5 %", report.format_cell(Summary(100, 95, 105, 4), "time"))

    def test_tells_everything(self):
        found = measured(KXAPI=5, rival=4)
        text = report.make_report({"Qt": "5.15.8"}, found, promises.judge_all(found, [Promise("scenario", 1, "rival")]))
        for part in ("5.15.8", "1.25 times", "DOES NOT HOLD", "## Scenario", "**KXAPI**", "rival", "4.00 ns"):
            self.assertIn(part, text)


class Selection(unittest.TestCase):
    def test_has_a_panel_for_each_size(self):
        found = {key("b", size=size): Summary(size, 0, 0, 1) for size in (1000, 1)}
        found[key("a", size=1000)] = Summary(7, 0, 0, 1)
        panels = selection.panels(found, ["scenario"])
        self.assertEqual(["scenario, 1", "scenario, 1,000"], [panel.title for panel in panels])
        self.assertEqual([("a", 7), ("b", 1000)], panels[1].bars)

    def test_takes_latencies_that_are_whole(self):
        found = {key("a", metric="p50"): Summary(2, 0, 0, 1), key("a", metric="p99"): Summary(3, 0, 0, 1),
                 key("b", metric="p50"): Summary(1, 0, 0, 1)}
        self.assertEqual([("a", 2, 3)], selection.latencies(found, "scenario"))

    def test_draws_curves_by_size_and_ours_first(self):
        found = {key(name, size=size): Summary(size, 0, 0, 1) for name in ("Asio", "KXAPI") for size in (10, 1, 100)}
        curves = selection.curves(found, "scenario", "time")
        self.assertEqual(["KXAPI", "Asio"], [curve.name for curve in curves])
        self.assertEqual([1, 10, 100], curves[0].sizes)

    def test_does_not_depend_on_whose_turn_came_first(self):
        found = {key(name, scenario, size): Summary(1, 0, 0, 1) for name in "ab" for size in (10, 9)
                 for scenario in ("unknown", selection.ORDER[1], selection.ORDER[0])}
        backwards = dict(reversed(list(found.items())))
        self.assertEqual(list(selection.in_order(found)), list(selection.in_order(backwards)))
        self.assertEqual(selection.ORDER[0], list(selection.in_order(found))[0].scenario)

    def test_knows_the_scenarios_of_the_promises(self):
        drawn = {scenario for scenarios in selection.BARS.values() for scenario in scenarios}
        for promise in promises.PROMISES:
            self.assertIn(promise.scenario, drawn.union(selection.LATENCIES))


class Machine(unittest.TestCase):
    def setUp(self):
        self.build = tempfile.TemporaryDirectory()
        self.addCleanup(self.build.cleanup)

    def describe(self, cache):
        with open(os.path.join(self.build.name, "CMakeCache.txt"), "w", encoding="utf-8") as file:
            file.write(cache)
        return machine.describe(TOP, self.build.name, 0.25)

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
        done = subprocess.run([sys.executable, COMPARISON, *arguments], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, timeout=60, check=False)
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

    def test_refuses_what_is_no_pattern(self):
        self.check_refused("regular expression", "--filter", "(")

    def test_refuses_to_measure_and_to_read_at_once(self):
        self.check_refused("--from", "--from", "medians.csv", "--quick")

    def test_refuses_a_folder_that_it_cannot_write_into(self):
        with tempfile.TemporaryDirectory() as folder:
            name = os.path.join(folder, "medians.csv")
            file = io.StringIO()
            results.write_csv(file, {}, measured(KXAPI=1))
            with open(name, "w", encoding="utf-8") as medians:
                medians.write(file.getvalue())
            for output in ("", "/proc", name):
                with self.subTest(output=output):
                    self.check_refused(f"'{output}'", "--from", name, "--output", output)

    def test_refuses_files_that_it_cannot_read(self):
        with tempfile.TemporaryDirectory() as folder:
            self.check_refused("No such file", "--from", os.path.join(folder, "none.csv"))
            self.check_refused("Is a directory", "--from", folder)
            name = os.path.join(folder, "wrong.csv")
            for content, words in ((b"", "no measurement"), (b"a,b\n", "wrong.csv:1: "), (b"\xff\xfe", "no text")):
                with open(name, "wb") as file:
                    file.write(content)
                self.check_refused(words, "--from", name, "--output", os.path.join(folder, "new"))
            self.assertFalse(os.path.exists(os.path.join(folder, "new")))


if __name__ == "__main__":
    unittest.main()
