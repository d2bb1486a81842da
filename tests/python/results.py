"""Runs the tests of a Python file and writes their numbers, as GoogleTest writes them."""

import os
import sys
import unittest


def main(suite, path):
    """suite names the tests in the file at path, which ./test reads."""
    result = unittest.main(argv=sys.argv[:1], exit=False).result
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as results:
        failures = len(result.failures) + len(result.errors)
        results.write(f'<testsuites>\n  <testsuite name="{suite}" tests="{result.testsRun}"'
                      f' failures="{failures}" disabled="0" skipped="{len(result.skipped)}">\n'
                      "  </testsuite>\n</testsuites>\n")
    sys.exit(not result.wasSuccessful())
