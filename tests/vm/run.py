#!/usr/bin/env python3
"""Starts the virtual terminal and tests it, or leaves it to somebody who wants to look at it."""

import argparse
import os
import signal
import sys
import time
import traceback
import unittest
from xml.etree import ElementTree

from machine import Machine
from session import Terminal
from test_terminal import CASES, TerminalTestCase

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(os.path.dirname(HERE))
RECORDINGS = os.path.join(TOP, "tests", "recordings")
LOG_LINES = 40


class Result(unittest.TextTestResult):
    """Also writes what CTest would, so that the results are counted in the same way."""

    def __init__(self):
        # pylint: disable-next=protected-access # there is no other one
        super().__init__(unittest.runner._WritelnDecorator(sys.stderr), True, 2)
        self.cases = []
        self.started = 0.0

    def startTest(self, test):
        super().startTest(test)
        self.started = time.monotonic()

    def stopTest(self, test):
        super().stopTest(test)
        problems = [text for which, text in self.failures + self.errors
                    if which is test or getattr(which, "test_case", None) is test]
        self.add(test.id().split(".", 1)[-1], problems)

    def add(self, name, problems):
        self.cases.append((name, time.monotonic() - self.started, problems))

    def write(self, path):
        failed = sum(1 for _, _, problems in self.cases if problems)
        suite = ElementTree.Element("testsuite", name="vm", tests=str(len(self.cases)), failures=str(failed))
        for name, seconds, problems in self.cases:
            case = ElementTree.SubElement(suite, "testcase", name=name, classname=name, time=f"{seconds:.3f}",
                                          status="fail" if problems else "run")
            if problems:
                ElementTree.SubElement(case, "failure", message="").text = "\n".join(problems)
        ElementTree.indent(suite)  # they are counted by lines
        ElementTree.ElementTree(suite).write(path, encoding="utf-8", xml_declaration=True)


def start(machine, folder, result):
    """The machine with the terminal on its screen, which is two tests."""
    for name, step in (("Start.the_machine_boots", machine.wait_until_up),
                       ("Start.the_window_is_on_the_screen", lambda: show_terminal(machine, folder))):
        result.started = time.monotonic()
        print(f"{name} ... ", end="", flush=True, file=sys.stderr)
        try:
            step()
        except AssertionError:
            print("FAIL\n" + traceback.format_exc(), file=sys.stderr)
            result.add(name, [traceback.format_exc()])
            return False
        result.add(name, [])
        print("ok", file=sys.stderr)
    return True


def show_terminal(machine, folder):
    terminal = Terminal(machine, folder)
    terminal.wait_until_shown()
    TerminalTestCase.machine, TerminalTestCase.terminal = machine, terminal


def run_tests(machine, folder):
    result = Result()
    try:
        if start(machine, folder, result):
            for case in CASES:
                unittest.defaultTestLoader.loadTestsFromTestCase(case)(result)
            result.printErrors()
    finally:
        result.write(os.path.join(folder, "test-results.xml"))
    return all(not problems for _, _, problems in result.cases)


def show_logs(folder):
    for name in ("serial.log", "emulator.log"):
        path = os.path.join(folder, name)
        with open(path, encoding="utf-8", errors="replace") as file:
            lines = file.read().splitlines()
        print(f"--- the last lines of {path}", *lines[-LOG_LINES:], sep="\n", file=sys.stderr)


def test(arguments):
    good = False
    try:
        with Machine(arguments.folder, arguments.sysroot, arguments.build, RECORDINGS) as machine:
            good = run_tests(machine, arguments.folder)
    finally:
        if not good:
            show_logs(arguments.folder)
    return 0 if good else 1


def keep(arguments):
    print("The screen: a VNC viewer on localhost, display :7. This line is a shell; 'terminal' starts kxterminal\n"
          "anew, 'cansend vcan0 18FF0001#8000000000000000' puts a key of the keypad down. 'poweroff -f' or\n"
          "Ctrl-A X ends it all.", flush=True)
    Machine.LONGEST_SECONDS = 0  # for as long as one likes
    with Machine(arguments.folder, arguments.sysroot, arguments.build, RECORDINGS,
                 display=("-vnc", "127.0.0.1:7"), serial="mon:stdio") as machine:
        machine.wait_until_up()
        machine.run("terminal >/dev/null 2>&1 &")
        return machine.emulator.wait()


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--keep", action="store_true", help="no tests: a terminal to play with")
    parser.add_argument("--folder", default=os.path.join(TOP, "build", "vm"), help="what packaging/vm-system made")
    parser.add_argument("--sysroot", default=os.path.join(TOP, "build", "sysroot-armhf"))
    parser.add_argument("--build", default=os.path.join(TOP, "build", "arm"), help="built with the preset arm")
    arguments = parser.parse_args()
    for name in ("folder", "sysroot", "build"):
        setattr(arguments, name, os.path.abspath(getattr(arguments, name)))
    return arguments


if __name__ == "__main__":
    # As by Ctrl-C, so that the machine is ended; anything else would be taken for a failed test.
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    given = parse_arguments()
    sys.exit(keep(given) if given.keep else test(given))
