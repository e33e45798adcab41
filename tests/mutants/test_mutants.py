"""What the operators make of a source, and whether the lists of mutants fit the sources."""

import os
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))

import by_hand
import programs
import run
from entries import BadEntry
from operators import all_mutants, in_even_order

SOURCE = """int Queue::take() {
    const KXAutoLock lock(mutex);
    if (items.empty() || closed) // "a < b"
        return STATUS_REFUSED;
    ready = count + 1 < limit;
    items.pop_front();
    size.store(items.size());
    log("a == b");
    return STATUS_OK;
}
"""


def changed_lines(operator, source=SOURCE):
    """The lines that the operator's mutants have instead, without indentation."""
    changed = []
    for mutant in all_mutants("events/a.cpp", source):
        if mutant.operator == operator:
            old, new = source.splitlines(), mutant.apply(source).splitlines()
            changed.append("; ".join(line.strip() for line in new if line not in old) or "swapped")
    return changed


class Operators(unittest.TestCase):
    def test_boundary(self):
        self.assertEqual(changed_lines("boundary"), ["ready = count + 1 <= limit;"])

    def test_comments_and_strings_stay(self):
        self.assertEqual(changed_lines("equality"), [])

    def test_logical(self):
        self.assertEqual(changed_lines("logical"), ['if (items.empty() && closed) // "a < b"'])

    def test_negation(self):
        self.assertEqual(changed_lines("negation"), ['if (!(items.empty() || closed)) // "a < b"'])

    def test_a_condition_that_declares_stays(self):
        self.assertEqual(changed_lines("negation", "void f() {\n    if (T* t = g())\n        h();\n}\n"), [])

    def test_arithmetic_and_constants(self):
        self.assertEqual(changed_lines("arithmetic"), ["ready = count - 1 < limit;"])
        self.assertEqual(changed_lines("constant"), ["ready = count + 2 < limit;"])

    def test_return(self):
        self.assertEqual(changed_lines("return"), ["return STATUS_OK;", "return STATUS_REFUSED;"])

    def test_deletion_leaves_declarations_and_locks(self):
        self.assertEqual(changed_lines("deletion"), [";", ";", ";", ";"])

    def test_a_lock_is_dropped_or_ends_early(self):
        self.assertEqual(changed_lines("lock"), [";", "{ const KXAutoLock lock(mutex); }"])

    def test_neighbours_change_places(self):
        self.assertEqual(changed_lines("order"), ["swapped"])

    def test_a_publication_comes_before_its_data_or_after_what_follows(self):
        self.assertEqual(changed_lines("publication"), ["swapped", "swapped"])

    def test_what_is_about_threads(self):
        about = {mutant.line for mutant in all_mutants("a.cpp", SOURCE) if mutant.is_about_threads}
        self.assertIn("const KXAutoLock lock(mutex);", about)
        self.assertNotIn("return STATUS_OK;", about)

    def test_the_order_is_the_same_each_time_and_takes_operators_in_turn(self):
        mutants = all_mutants("events/a.cpp", SOURCE)
        ordered = in_even_order(mutants)
        self.assertEqual(ordered, in_even_order(mutants))
        self.assertEqual(sorted(map(str, ordered)), sorted(map(str, mutants)))
        operators = {mutant.operator for mutant in mutants}
        self.assertEqual({mutant.operator for mutant in ordered[:len(operators)]}, operators)


class Lists(unittest.TestCase):
    def read(self, reader, text, *arguments):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "list.txt"
            path.write_text(text, encoding="utf-8")
            return reader(path, *arguments)

    def by_hand(self, find, put):
        return self.read(by_hand.read_by_hand,
                         f"name: a\nkind: plain\nfile: events/a.cpp\nfind: {find}\nput: {put}\n", lambda file: SOURCE)

    def test_by_hand_replaces_whole_lines(self):
        mutant, = self.by_hand("ready = count + 1 < limit;", "ready = true;")
        self.assertEqual(mutant.apply(SOURCE), SOURCE.replace("    ready = count + 1 < limit;", "ready = true;"))

    def test_by_hand_deletes(self):
        mutant, = self.by_hand("items.pop_front();", "nothing")
        self.assertEqual(mutant.apply(SOURCE), SOURCE.replace("    items.pop_front();\n", ""))

    def test_by_hand_needs_lines_that_stand_there_once(self):
        with self.assertRaisesRegex(BadEntry, "stand 0 times in events/a.cpp"):
            self.by_hand("gone();", "nothing")

    def test_an_equivalent_mutant_is_recognised_and_others_are_not(self):
        entry = ("file: events/a.cpp\noperator: boundary\nline: ready = count + 1 < limit;\nbecomes: <=\n"
                 "reason: it is\n")
        keys = self.read(by_hand.read_equivalent, entry, {"events/a.cpp": SOURCE})
        self.assertEqual([mutant.operator for mutant in all_mutants("events/a.cpp", SOURCE)
                          if by_hand.is_equivalent(mutant, keys)], ["boundary"])

    def test_an_equivalent_mutant_is_recognised_whatever_its_comment_says(self):
        entry = ("file: events/a.cpp\noperator: boundary\nline: ready = count + 1 < limit; // other words\n"
                 "becomes: <=\nreason: it is\n")
        self.read(by_hand.read_equivalent, entry, {"events/a.cpp": SOURCE})

    def test_an_entry_that_fits_no_mutant_is_an_error(self):
        entry = "file: events/a.cpp\noperator: boundary\nline: gone();\nbecomes: <=\nreason: it is\n"
        with self.assertRaisesRegex(BadEntry, "no mutant of events/a.cpp fits"):
            self.read(by_hand.read_equivalent, entry, {"events/a.cpp": SOURCE})

    def test_those_of_the_project_fit_its_sources(self):
        by_hand.read_by_hand(run.HERE / "by-hand.txt", run.read_source)
        by_hand.read_equivalent(run.HERE / "equivalent.txt", run.read_sources())

    def test_every_folder_has_its_programs_and_tests(self):
        self.assertEqual(set(programs.PROGRAMS), set(programs.THREAD_PROGRAMS))
        self.assertEqual(set(programs.PROGRAMS), set(programs.TESTS))
        for folders in [*programs.PROGRAMS.values(), *programs.THREAD_PROGRAMS.values()]:
            self.assertLessEqual(set(programs.executables_of(folders)), set(programs.FOLDERS))

    def test_every_program_is_built(self):
        for program, folder in programs.FOLDERS.items():
            lists = (run.TOP / "tests" / folder / "CMakeLists.txt").read_text(encoding="utf-8")
            self.assertRegex(lists, rf"(_test|add_executable)\({program}\s")

    def test_the_choice_is_of_at_least_200(self):
        class Arguments:
            pattern, by_hand, times, sample = None, False, 1, 0
        choices = run.chosen(run.read_sources(), [], Arguments)
        self.assertGreaterEqual(sum(choice.wanted for choice in choices), 200)

    def test_a_sample_is_of_others_and_of_all_folders(self):
        class Arguments:
            pattern, by_hand, times, sample = None, False, 1, 0
        usual = {mutant for choice in run.chosen(run.read_sources(), [], Arguments)
                 for mutant in choice.rest[:choice.wanted]}
        Arguments.sample = 3 * len(programs.PROGRAMS)
        choice, = run.chosen(run.read_sources(), [], Arguments)
        sample = choice.rest[:choice.wanted]
        self.assertEqual(len(set(sample) - usual), Arguments.sample)
        self.assertEqual({programs.folder_of(mutant.file) for mutant in sample}, set(programs.PROGRAMS))


class Copies(unittest.TestCase):
    def test_a_mutant_in_the_copy_leaves_the_source_alone_and_is_taken_back(self):
        import trees
        with tempfile.TemporaryDirectory() as folder:
            source, copy = Path(folder) / "source", Path(folder) / "copy"
            (source / "events").mkdir(parents=True)
            for file in ("events/a.cpp", "events/b.cpp"):
                (source / file).write_text(SOURCE, encoding="utf-8")
            run.subprocess.run(["git", "init", "-q", str(source)], check=True)
            tree = trees.Tree(source, copy, None)
            tree.bring_up_to_date()
            tree.change("events/a.cpp", "changed\n")
            self.assertEqual((copy / "events/a.cpp").read_text(), "changed\n")
            self.assertEqual((source / "events/a.cpp").read_text(), SOURCE)
            tree.change("events/b.cpp", "changed\n")
            self.assertEqual((copy / "events/a.cpp").read_text(), SOURCE)
            # As after an interruption: the copy does not know what it holds.
            trees.Tree(source, copy, None).bring_up_to_date()
            self.assertEqual((copy / "events/b.cpp").read_text(), SOURCE)


if __name__ == "__main__":
    unittest.main()
