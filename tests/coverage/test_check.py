"""What check.py makes of a report and a list, each by an example."""

import contextlib
import io
import json
import os
import tempfile
import unittest

import check

SOURCE = "int run() {\n    work();\n    rest();\n    rest();\n}\n"


class CoverageCheck(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.write("a.cpp", SOURCE)

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return path

    def check(self, counts, listed=""):
        """Of the lines 2, 3 and 4 with these counts: the exit status and what is printed."""
        lines = [{"line_number": number, "count": count} for number, count in zip((2, 3, 4), counts)]
        report = self.write("report.json", json.dumps({"files": [{"file": "a.cpp", "lines": lines}]}))
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = check.main(report, self.write("list.txt", listed), self.folder)
        return status, output.getvalue()

    def test_every_line_reached(self):
        self.assertEqual(self.check([1, 2, 3]), (0, "3 of 3 lines reached, 100.0%; 0 unreached; 0 are listed "
                                                    "with a reason\n"))

    def test_an_unreached_line_is_named(self):
        status, output = self.check([0, 1, 1])
        self.assertEqual(status, 1)
        self.assertIn("a.cpp:2: no test reaches this line: work();\n", output)

    def test_a_listed_line_may_be_unreached(self):
        self.assertEqual(self.check([0, 1, 1], "file: a.cpp\nline: work();\nreached: never\nreason: so\n")[0], 0)

    def test_each_of_two_equal_lines_needs_its_entry(self):
        entry = "file: a.cpp\nline: rest();\nreached: never\nreason: so\n\n"
        self.assertEqual(self.check([1, 0, 0], entry)[0], 1)
        self.assertEqual(self.check([1, 0, 0], 2 * entry)[0], 0)

    def test_a_listed_line_that_is_reached(self):
        status, output = self.check([1, 1, 1], "file: a.cpp\nline: work();\nreached: never\nreason: so\n")
        self.assertEqual(status, 1)
        self.assertIn("list.txt:1: a.cpp has no such line, or a test reaches it: work();\n", output)

    def test_a_listed_line_that_is_gone(self):
        self.assertEqual(self.check([1, 1, 1], "file: a.cpp\nline: gone();\nreached: never\nreason: so\n")[0], 1)

    def test_a_line_that_is_reached_by_chance_may_be_reached(self):
        entry = "file: a.cpp\nline: work();\nreached: by chance\nreason: so\n"
        self.assertEqual(self.check([1, 1, 1], entry)[0], 0)
        self.assertEqual(self.check([0, 1, 1], entry)[0], 0)
        self.assertEqual(self.check([1, 1, 1], entry.replace("work", "gone"))[0], 1)

    def test_a_line_is_reached_never_or_by_chance(self):
        entry = "file: a.cpp\nline: work();\nreached: seldom\nreason: so\n"
        self.assertEqual(self.check([1, 1, 1], entry)[0], 1)

    def test_an_entry_without_a_reason(self):
        status, output = self.check([0, 1, 1], "file: a.cpp\nline: work();\nreached: never\n")
        self.assertEqual(status, 1)
        self.assertIn("list.txt:1: the entry lacks reason\n", output)

    def test_a_report_without_lines(self):
        self.assertEqual(self.check([])[0], 1)


if __name__ == "__main__":
    unittest.main()
