"""Every small program of examples/ against a velsim, in both forms.

usage: examples_test.py RESULTS REPOSITORY PROGRAMS VELSIM

RESULTS gets the numbers of tests, as GoogleTest writes them. PROGRAMS is the folder of the built
programs.
"""

import functools
import os
import re
import sys
import tempfile
import unittest

import results
from processes import Velsim, comes_true

RESULTS, REPOSITORY, PROGRAMS, VELSIM = sys.argv[1:]
FORMS = ("client", "proxy")


def in_both_forms(name, *options):
    """Calls a test with a velsim and the path of the program, for each form."""
    def decorated(test):
        @functools.wraps(test)
        def for_each(self):
            for form in FORMS:
                with self.subTest(form), tempfile.TemporaryDirectory() as folder:
                    velsim = Velsim(VELSIM, folder, *(option.format(folder) for option in options))
                    try:
                        test(self, velsim, os.path.join(PROGRAMS, form, name))
                    finally:
                        velsim.stop()
        return for_each
    return decorated


class ExamplesTest(unittest.TestCase):
    def expect_end(self, program, status=0):
        self.assertEqual(program.wait(), status, program.output)

    def expect_line(self, program, text):
        self.assertTrue(program.wait_for(text), f'no "{text}" in:\n{program.output}')

    @in_both_forms("list_devices")
    def test_list_devices_attaches_the_vm_and_lists(self, velsim, path):
        program = velsim.run(path)
        self.expect_end(program)
        self.assertRegex(program.output, r"(?m)^12  Built-in camera  (available|1)$")
        self.assertTrue(velsim.log.wait_for("disconnectVm(vm 101"), velsim.log.output)
        self.assertRegex(velsim.log.output, r"\bconnectVm\(vm 101")

    @in_both_forms("list_devices")
    def test_list_devices_prints_why_a_vm_cannot_be_attached(self, velsim, path):
        program = velsim.run(path, "win12")
        self.expect_end(program, 1)
        self.assertTrue("win12" in program.output or velsim.log.wait_for("win12"),
                        program.output + velsim.log.output)
        self.assertRegex(program.output, "does not know|refused with status 1")

    @in_both_forms("list_devices")
    def test_list_devices_prints_that_there_is_no_service(self, velsim, path):
        velsim.stop()
        program = velsim.run(path)
        self.expect_end(program, 1)
        self.assertIn("no service on the bus", program.output)

    @in_both_forms("hot_plug")
    def test_hot_plug_reports_devices_and_attaches_cameras(self, velsim, path):
        program = velsim.run(path)
        self.expect_line(program, "waiting for devices\n")
        velsim.control("plug", "storage", "Photo card")
        self.expect_line(program, "device plugged in: 31 Photo card\n")
        velsim.control("plug", "camera", "Front camera")
        self.expect_line(program, "device plugged in: 32 Front camera\n")
        self.expect_line(program, "device attached: 32 Front camera\n")
        velsim.control("unplug", "32")
        self.expect_line(program, "device unplugged: 32 Front camera\n")
        program.end_input()
        self.expect_end(program)
        self.assertNotIn("device attached: 31", program.output)

    @in_both_forms("printers")
    def test_printers_lists_and_waits_for_the_event(self, velsim, path):
        program = velsim.run(path)
        self.expect_end(program)
        first = re.search(r"(?m)^\d+  (.*)  (available|1)$", program.output)
        self.assertTrue(first, program.output)
        self.assertTrue(program.output.endswith(f"{first[1]} is in win11\n"), program.output)

    @in_both_forms("diagnosis")
    def test_diagnosis_prints_progress_and_result(self, velsim, path):
        program = velsim.run(path, "12")
        # Not attached to the VM, so that there is something to find.
        self.expect_end(program, 2)
        self.assertRegex(program.output, r"(?m)^(running|1): ")
        self.assertRegex(program.output, r"(?m)^(fault|2): ")
        self.assertIn('"velservice":0', program.output)

    @in_both_forms("pen", "--pen-port", "{0}/pen")
    def test_pen_sends_a_line(self, velsim, path):
        program = velsim.run(path, velsim.options[1])
        self.expect_end(program)
        self.assertTrue(velsim.log.wait_for("disconnected after 11 frames"), velsim.log.output)

    @in_both_forms("service_restart")
    def test_service_restart_connects_again(self, velsim, path):
        program = velsim.run(path)
        self.expect_line(program, "connected: win11\n")
        velsim.kill()
        self.expect_line(program, "the session has ended: win11\n")
        velsim.start()
        self.assertTrue(comes_true(lambda: program.output.count("connected: win11\n") == 2),
                        program.output)
        self.assertTrue(velsim.log.wait_for("connectVm(vm 101"), velsim.log.output)
        velsim.control("plug", "camera", "Front camera")
        self.expect_line(program, ": Front camera\n")
        program.end_input()
        self.expect_end(program)


class SourcesTest(unittest.TestCase):
    def test_both_forms_have_the_same_programs_of_less_than_80_lines(self):
        names = []
        for form in FORMS:
            folder = os.path.join(REPOSITORY, "examples", form)
            sources = sorted(name for name in os.listdir(folder) if name.endswith(".cpp"))
            names.append(sources)
            for name in sources:
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    self.assertLess(len(file.readlines()), 80, name)
        self.assertEqual(names[0], names[1])
        self.assertGreater(len(names[0]), 5)

    def test_the_table_has_each_program(self):
        with open(os.path.join(REPOSITORY, "examples", "README.md"), encoding="utf-8") as file:
            table = file.read()
        for form in FORMS:
            for name in os.listdir(os.path.join(REPOSITORY, "examples", form)):
                if name.endswith(".cpp"):
                    self.assertIn(f"({form}/{name})", table)


if __name__ == "__main__":
    results.main("ExamplesTest", RESULTS)
