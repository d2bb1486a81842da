"""The published schema of scenarios, as another implementation of JSON Schema reads it.

usage: schema_test.py RESULTS SCHEMA RIGHT...

RESULTS gets the numbers of tests, as GoogleTest writes them.
"""

import copy
import json
import sys
import unittest

import jsonschema
import results

RESULTS, SCHEMA, *RIGHT = sys.argv[1:]


def load(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


class SchemaTest(unittest.TestCase):
    def setUp(self):
        self.schema = load(SCHEMA)
        self.validator = jsonschema.Draft202012Validator(self.schema)

    def test_is_a_schema(self):
        jsonschema.Draft202012Validator.check_schema(self.schema)

    def test_accepts_every_scenario(self):
        self.assertTrue(RIGHT)
        for path in RIGHT:
            with self.subTest(path):
                self.validator.validate(load(path))

    def test_refuses_mistakes(self):
        right = {
            "vms": [{"id": "win11", "number": 101}],
            "devices": [{"number": 12, "type": "camera", "name": "Front camera"}],
            "timeline": [{"after": "1.5s", "do": "camera deny"}],
            "faults": [
                {"fault": "delay", "method": "getDeviceList", "calls": "2-4", "ms": "0.5s"},
                {"fault": "error", "text": "out of paper"},
            ],
        }
        self.validator.validate(right)
        for place, value in [
            (("vms", 0, "number"), 0),
            (("devices", 0, "number"), 65536),
            (("devices", 0, "type"), "scanner"),
            (("devices", 0, "name"), ""),
            (("devices", 0, "nmae"), "Front camera"),
            (("timeline", 0, "after"), "soon"),
            (("device",), []),
            (("faults", 0, "calls"), "2-x"),
            (("faults", 0, "seed"), 7),
            (("faults", 1, "fault"), "eror"),
            (("faults", 1, "text"), ""),
        ]:
            with self.subTest(place):
                wrong = copy.deepcopy(right)
                target = wrong
                for step in place[:-1]:
                    target = target[step]
                target[place[-1]] = value
                self.assertFalse(self.validator.is_valid(wrong))


if __name__ == "__main__":
    results.main("SchemaTest", RESULTS)
