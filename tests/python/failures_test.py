"""What ./test prints of programs that have failed."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

import results

SCRIPT = pathlib.Path(__file__).resolve().parent / "failures.py"

RESULTS = """<testsuites tests="2" failures="1"><testsuite name="Pen" tests="2" failures="1">
<testcase name="Draws" classname="Pen"/>
<testcase name="Lifts" classname="Pen"><failure message="pen.cpp:7&#x0A;Expected: 1 &lt; 0" type=""/></testcase>
</testsuite></testsuites>"""
LOG = """1/2 Testing: wire_tests
1/2 Test: wire_tests
Output:
----------
of another program
<end of output>
2/2 Testing: pen_tests
2/2 Test: pen_tests
Output:
----------
{}
<end of output>
Test Failed.
"""


class Failures(unittest.TestCase):
    def printed(self, failed="2:pen_tests\n", log=LOG, results_file=None):
        with tempfile.TemporaryDirectory() as folder:
            build = pathlib.Path(folder)
            (build / "Testing/Temporary").mkdir(parents=True)
            (build / "test-results").mkdir()
            (build / "Testing/Temporary/LastTest.log").write_text(log)
            if failed:
                (build / "Testing/Temporary/LastTestsFailed.log").write_text(failed)
            if results_file:
                (build / "test-results/pen_tests.xml").write_text(results_file)
            return subprocess.run([sys.executable, SCRIPT, build], check=True, capture_output=True,
                                  text=True).stdout

    def test_a_failed_test_is_named_with_what_it_expected(self):
        self.assertEqual(self.printed(results_file=RESULTS),
                         "\npen_tests: failed\n  Pen.Lifts\n    pen.cpp:7\n    Expected: 1 < 0\n")

    def test_the_output_of_a_program_that_crashed_is_printed(self):
        printed = self.printed(log=LOG.format("[ RUN      ] Pen.Lifts\nSegmentation fault"))

        self.assertTrue(printed.endswith("  [ RUN      ] Pen.Lifts\n  Segmentation fault\n"), printed)
        self.assertNotIn("another", printed)

    def test_the_output_of_a_program_whose_tests_have_passed_is_printed(self):
        passed = RESULTS.replace("<failure", "<property").replace("</failure", "</property")

        self.assertIn("  LeakSanitizer\n", self.printed(log=LOG.format("LeakSanitizer"), results_file=passed))

    def test_characters_that_xml_does_not_have_hide_no_failure(self):
        odd = RESULTS.replace('name="Draws"', 'name="Draws" value_param="\x01\x1f"')

        self.assertIn("  Pen.Lifts\n", self.printed(results_file=odd))

    def test_half_a_results_file_counts_as_none(self):
        self.assertIn("  killed\n", self.printed(log=LOG.format("killed"), results_file=RESULTS[:99]))

    def test_only_the_end_of_a_long_output_is_printed(self):
        printed = self.printed(log=LOG.format("\n".join(f"line {number}." for number in range(1000))))

        self.assertIn("line 999.", printed)
        self.assertNotIn("line 900.", printed)

    def test_nothing_is_printed_when_every_program_has_passed(self):
        self.assertEqual(self.printed(failed=None), "")


if __name__ == "__main__":
    results.main("Failures", sys.argv[1])
