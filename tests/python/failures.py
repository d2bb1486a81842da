"""Prints what has failed in a build folder, after ctest: failures.py BUILD_FOLDER

For each program its failed tests, from its results file, with what they expected. A program that names none,
or has left no results, has crashed, has exceeded its time limit or has been ended by a sanitizer: the end of
its output says more."""

import re
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

LINES_OF_OUTPUT = 60
# What XML has no characters for, and GoogleTest writes when a test's parameter has it.
NOT_IN_XML = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\ufffe\uffff]")


def failures_of(results):
    """The failed tests of a results file, each with its messages."""
    try:
        text = results.read_text(encoding="utf-8", errors="replace")
        root = ElementTree.fromstring(NOT_IN_XML.sub("?", text))
    except (FileNotFoundError, ElementTree.ParseError):
        return
    for case in root.iter("testcase"):
        messages = [failure.get("message", "") for failure in case.iter("failure")]
        if messages:
            yield f"{case.get('classname')}.{case.get('name')}", messages


def end_of_output(log, program):
    """The last lines that a program has written, from ctest's log."""
    part = re.search(rf"^\d+/\d+ Testing: {re.escape(program)}\n(.*?)^<end of output>", log, re.M | re.S)
    lines = part.group(1).splitlines() if part else []
    return [line for line in lines if line.strip()][-LINES_OF_OUTPUT:]


def main(build):
    logs = build / "Testing" / "Temporary"
    try:
        failed = (logs / "LastTestsFailed.log").read_text(encoding="utf-8").splitlines()
        log = (logs / "LastTest.log").read_text(encoding="utf-8", errors="replace")
    except FileNotFoundError:
        return
    for program in (line.partition(":")[2] for line in failed):
        tests = list(failures_of(build / "test-results" / f"{program}.xml"))
        print(f"\n{program}: {'failed' if tests else 'the end of its output'}")
        for test, messages in tests:
            print(f"  {test}")
            for message in messages:
                print("    " + message.rstrip().replace("\n", "\n    "))
        if not tests:
            for line in end_of_output(log, program):
                print(f"  {line}")


main(Path(sys.argv[1]))
