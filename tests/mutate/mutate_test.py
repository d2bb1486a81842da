"""The mutants that scripts/mutate makes, what it remembers of them, and the lines of scripts/coverage.

usage: mutate_test.py RESULTS REPOSITORY

RESULTS gets the numbers of tests, as GoogleTest writes them.
"""

import importlib.machinery
import importlib.util
import os
import sys
import tempfile
import unittest

import results

RESULTS, REPOSITORY = sys.argv[1:]
sys.path.insert(0, os.path.join(REPOSITORY, "scripts", "mutation"))

from ledger import Ledger, accepted_survivors  # noqa: E402
from mutants import mutants_of  # noqa: E402
from tokens import tokens_of  # noqa: E402

SOURCE = """\
#define LIMIT 3 < 4
// if (a == b) is a comment
/* 1 + 1 */
static_assert(sizeof(int) == 4, "size");

int take(std::vector<int> values, int most) {
  const platform::MutexLock lock(mutex_);
  if (values.size() > 2 && !isFull) {
    VEL_DEBUG("vmId: %s", vmId.c_str());
    return send(values, -1).int16(most);
  }
  {
    platform::MutexLock inner(other_);
    state_ = std::min('c', most);
    inner.unlock();
  }
  if (const auto found = look()) {
    return 0x1F;
  }
  return R"(raw "text")" + text("say \\"%d\\"", true);
}
"""


def changes(kind):
    return [(each.line, each.old, each.new) for each in mutants_of("a.cpp", SOURCE) if each.kind == kind]


class MutantsTest(unittest.TestCase):
    def test_operators_are_those_with_two_operands_and_negations(self):
        self.assertEqual(changes("operator"),
                         [(8, ">", ">="), (8, "&&", "||"), (8, "!", ""), (20, "+", "-")])

    def test_constants_are_one_off(self):
        self.assertEqual(changes("constant"),
                         [(8, "2", "3"), (10, "1", "0"), (14, "'c'", "'x'"), (18, "0x1F", "0x20"),
                          (20, "true", "false")])

    def test_neighbouring_arguments_of_a_call_change_places(self):
        self.assertEqual(changes("argument"),
                         [(9, '"vmId: %s", vmId.c_str()', 'vmId.c_str(), "vmId: %s"'),
                          (10, "values, -1", "-1, values"),
                          (20, '"say \\"%d\\"", true', 'true, "say \\"%d\\""')])

    def test_widths_of_requests_change(self):
        self.assertEqual(changes("width"), [(10, "int16", "int32")])

    def test_texts_change_in_a_letter_that_is_no_directive(self):
        self.assertEqual(changes("log"), [(9, '"vmId: %s"', '"VmId: %s"')])
        self.assertEqual(changes("text"), [(20, 'R"(raw "text")"', 'R"(Raw "text")"'),
                                           (20, '"say \\"%d\\""', '"Say \\"%d\\""')])

    def test_the_level_of_a_log_line_changes(self):
        self.assertEqual(changes("level"), [(9, "VEL_DEBUG", "VEL_ERROR")])

    def test_conditions_hold_always_and_never_but_for_declarations(self):
        condition = "values.size() > 2 && !isFull"
        self.assertEqual(changes("condition"), [(8, condition, "false"), (8, condition, "true")])

    def test_locks_are_missing_end_early_and_end_late(self):
        lock, inner = "const platform::MutexLock lock(mutex_);", "platform::MutexLock inner(other_);"
        self.assertEqual(changes("lock"),
                         [(7, lock, ";"), (7, lock, "platform::MutexLock{mutex_};"),
                          (12, "block", "rest of the outer block"),
                          (13, inner, ";"), (13, inner, "platform::MutexLock{other_};"),
                          (15, "inner.unlock()", "")])

    def test_lines_keep_their_numbers(self):
        for mutant in mutants_of("a.cpp", SOURCE):
            self.assertEqual(mutant.applied(SOURCE).count("\n"), SOURCE.count("\n"), mutant)
            self.assertNotEqual(mutant.applied(SOURCE), SOURCE, mutant)

    def test_keys_differ_and_do_not_depend_on_other_lines(self):
        keys = [each.key for each in mutants_of("a.cpp", SOURCE)]
        self.assertEqual(len(keys), len(set(keys)))
        self.assertEqual(sorted(keys),
                         sorted(each.key for each in mutants_of("a.cpp", "\n\n" + SOURCE)))

    def test_the_tree_is_read_without_a_gap(self):
        for folder in ("bus", "vel"):
            for place, _, names in os.walk(os.path.join(REPOSITORY, folder)):
                for name in names:
                    if name.endswith((".cpp", ".h")):
                        path = os.path.join(place, name)
                        with open(path, encoding="utf-8") as file:
                            text = file.read()
                        braces = [each.text for each in tokens_of(text) if each.kind == "operator"]
                        self.assertEqual(braces.count("{"), braces.count("}"), path)


class LedgerTest(unittest.TestCase):
    def test_counts_each_mutant_once_and_names_the_survivors(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "results")
            ledger = Ledger(path)
            for key, verdict in (("a", "survived"), ("a", "noticed"), ("b", "survived"),
                                 ("c", "survived"), ("d", "equivalent"), ("e", "not compiled")):
                ledger.add({"key": key, "room": "bus", "file": key + ".cpp", "line": 1, "by": "1 test",
                            "mutation": "operator: + -> -", "text": "a + b", "verdict": verdict})
            report = Ledger(path).report({"c": "no effect"})
            self.assertNotIn("a.cpp", report)
            self.assertIn("b.cpp:1: operator: + -> -\n    a + b\n    survived", report)
            self.assertIn("accepted: no effect", report)
            self.assertEqual(report.splitlines()[-1].split()[:6], ["bus", "3", "1", "1", "1", "33.3"])
            self.assertIn("1 equivalent, 1 not compiled", report)

    def test_every_accepted_survivor_exists_and_has_a_reason(self):
        for key, reason in accepted_survivors().items():
            file = key.split(" | ")[0]
            with open(os.path.join(REPOSITORY, file), encoding="utf-8") as content:
                self.assertIn(key, {each.key for each in mutants_of(file, content.read())})
            self.assertTrue(reason, key)


class CoverageTest(unittest.TestCase):
    def test_a_line_has_the_count_of_the_innermost_region(self):
        loader = importlib.machinery.SourceFileLoader(
            "coverage", os.path.join(REPOSITORY, "scripts", "coverage"))
        coverage = importlib.util.module_from_spec(
            importlib.util.spec_from_loader("coverage", loader))
        loader.exec_module(coverage)
        source = ["int f(bool a) {", "  if (a) {", "    return 1;", "  }", "  // why", "  return 2;", "}"]
        regions = {(1, 15, 7, 2): 5, (2, 10, 4, 4): 0, (6, 3, 7, 2): 4}
        self.assertEqual(coverage.lines_of(regions, source), {2: 5, 3: 0, 6: 4})


if __name__ == "__main__":
    results.main("MutateTest", RESULTS)
