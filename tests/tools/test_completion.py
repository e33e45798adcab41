"""What bash completes and the manual pages tell, held against the help of the programs."""

import os
import re
import subprocess
import tempfile
import unittest

SOURCES = os.environ["SOURCES"]
FOLDER = os.path.join(SOURCES, "tools", "completions")
MANUALS = {"kxcan": "tools/kxcan/kxcan.1", "kxreplay": "tools/kxreplay/kxreplay.1",
           "kxterminal": "terminal/kxterminal.1"}
PROGRAMS = {name: os.environ[name.upper()] for name in ("kxcan", "kxreplay", "kxterminal")}


def complete(program, *words, folder="."):
    """What bash offers for the last word. It takes words apart at '=' and ':', and so must the caller."""
    script = 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); "_$1"; printf "%s\\n" "${COMPREPLY[@]}"'
    done = subprocess.run(["bash", "-c", script, "bash", os.path.join(FOLDER, program), program, *words],
                          cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=True)
    assert done.stderr == "", done.stderr
    return sorted(done.stdout.split())


def help_of(program):
    done = subprocess.run([PROGRAMS[program], "--help"], stdout=subprocess.PIPE, text=True, check=True)
    return done.stdout


def rows_of_help(program):
    """Each option with the placeholder of its value; empty for a switch."""
    rows = re.findall(r"^  (?:-[a-z], )?(--[a-z-]+)(?: ([A-Z]+))?(?:  |\n)", help_of(program), re.MULTILINE)
    return dict(rows)


class Completion(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        for name in ("one.kxr", "two words.kxr"):
            with open(os.path.join(self.folder, name), "w", encoding="ascii"):
                pass
        os.mkdir(os.path.join(self.folder, "out"))
        self.files = sorted("one.kxr two words.kxr out".split())

    def test_each_option_of_the_help_and_no_other_is_completed(self):
        for program in ("kxreplay", "kxterminal"):
            with self.subTest(program=program):
                options = sorted(rows_of_help(program))
                self.assertGreater(len(options), 5)
                self.assertEqual(options, complete(program, "-"))
                self.assertEqual(options, complete(program, "--"))
        self.assertEqual(sorted(rows_of_help("kxcan")), complete("kxcan", "play", "-"))
        self.assertEqual(["--help", "--version"], complete("kxcan", "send", "-"))
        self.assertEqual(["--help", "--version"], complete("kxcan", "-"))

    def test_the_help_fits_the_page(self):
        for program in PROGRAMS:
            for line in help_of(program).splitlines():
                self.assertLessEqual(len(line), 80, f"{program}: {line}")

    def test_the_manual_page_has_each_option_of_the_help_and_no_other(self):
        for program in PROGRAMS:
            with self.subTest(program=program):
                with open(os.path.join(SOURCES, MANUALS[program]), encoding="ascii") as page:
                    text = page.read().replace("\\-", "-")
                tags = re.findall(r"^\.TP\n(\..*)$", text, re.MULTILINE)
                told = re.findall("--[a-z][a-z-]*", " ".join(tags))
                self.assertEqual(sorted(rows_of_help(program)), sorted(set(told)))

    def test_the_manual_page_fits_a_terminal_of_80_columns(self):
        for program, page in MANUALS.items():
            with self.subTest(program=program):
                done = subprocess.run(["groff", "-man", "-Tascii", "-P-cbu", "-rLL=80n", "-ww",
                                       os.path.join(SOURCES, page)],
                                      stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=True)
                self.assertEqual("", done.stderr)
                self.assertIn("SYNOPSIS", done.stdout)
                self.assertEqual([], [line for line in done.stdout.splitlines() if len(line) > 80])

    def test_values_that_are_files_are_completed(self):
        for program in ("kxreplay", "kxterminal"):
            for option, placeholder in rows_of_help(program).items():
                with self.subTest(program=program, option=option):
                    of_files = self.files if placeholder in ("FILE", "FOLDER") else []
                    if placeholder != "" and placeholder != "BUS":
                        self.assertEqual(of_files, complete(program, option, "", folder=self.folder))
                        self.assertEqual(of_files, complete(program, option, "=", folder=self.folder))
                        self.assertEqual(["one.kxr", "out"] if of_files else [],
                                         complete(program, option, "=", "o", folder=self.folder))

    def test_operands_are_completed(self):
        self.assertEqual(self.files, complete("kxreplay", "", folder=self.folder))
        self.assertEqual(["one.kxr"], complete("kxreplay", "--json", "on", folder=self.folder))
        self.assertEqual(["play", "send"], complete("kxcan", ""))
        self.assertEqual(["play"], complete("kxcan", "p"))
        self.assertEqual(self.files, complete("kxcan", "play", "--speed", "2", "can0", "", folder=self.folder))
        self.assertEqual(self.files, complete("kxcan", "play", "unix", ":", "bus", "", folder=self.folder))
        self.assertEqual([], complete("kxcan", "send", "can0", "", folder=self.folder), "a frame")

    def test_a_bus_is_completed(self):
        for words in (("kxcan", "send", ""), ("kxcan", "play", "--fast", ""), ("kxterminal", "--can-bus", "")):
            self.assertIn("unix:", complete(*words))
        self.assertEqual(["unix:"], complete("kxcan", "send", "un"))
        self.assertEqual(["one.kxr"], complete("kxcan", "send", "unix", ":", "one", folder=self.folder))
        self.assertEqual(["one.kxr"], complete("kxterminal", "--can-bus", "unix", ":", "one", folder=self.folder))

    def test_behind_two_dashes_there_are_no_options(self):
        for program in ("kxreplay", "kxterminal"):
            self.assertEqual([], complete(program, "--", "-", folder=self.folder))
            self.assertEqual([], complete(program, "--json", "--", "--", folder=self.folder))
        self.assertEqual([], complete("kxterminal", "--", "", folder=self.folder), "there is no operand")
        self.assertEqual(self.files, complete("kxreplay", "--", "", folder=self.folder))


if __name__ == "__main__":
    unittest.main()
