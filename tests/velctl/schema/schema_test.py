"""The real output of every command of velctl, validated against the published schema.

usage: schema_test.py RESULTS SCHEMA VELCTL VELSIM SCHEMA_DOC

RESULTS gets the numbers of tests, as GoogleTest writes them.
"""

import json
import os
import subprocess
import sys
import tempfile
import time
import unittest

import jsonschema
import results

RESULTS, SCHEMA, VELCTL, VELSIM, SCHEMA_DOC = sys.argv[1:]
KINDS = {1: "failed", 2: "usage", 3: "no-bus", 4: "no-service", 5: "no-reply", 6: "refused",
         7: "unknown", 8: "output-lost", 9: "error-reply", 130: "interrupted"}


class SchemaTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with open(SCHEMA, encoding="utf-8") as file:
            cls.schema = json.load(file)
        cls.folder = tempfile.TemporaryDirectory()
        cls.lines = json.loads(subprocess.check_output([SCHEMA_DOC, "lines"]))

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def validator(self, name):
        return jsonschema.Draft202012Validator({"$ref": "#/$defs/" + name.replace(" ", "%20"),
                                                "$defs": self.schema["$defs"]})

    def run_velctl(self, address, words):
        environment = dict(os.environ, QXBUS_ADDRESS=address, QX_APP_DATA=self.folder.name,
                           QX_LOG_LEVEL="off")
        return subprocess.run([VELCTL, *words, "--json"], env=environment, capture_output=True,
                              stdin=subprocess.DEVNULL, timeout=60, check=False)

    def validate(self, command, finished):
        """Every line: of the command, of an event, or an error, which ends the output."""
        printed = finished.stdout.decode("utf-8", "strict").splitlines()
        self.assertTrue(printed, finished.stderr)
        for line in printed:
            value = json.loads(line)
            if "error" in value:
                self.validator("error").validate(value)
                self.assertEqual(value["error"]["exitStatus"], finished.returncode)
                self.assertEqual(value["error"]["kind"], KINDS[finished.returncode])
                self.assertIs(line, printed[-1])
            elif "event" in value:
                self.validator("event " + value["event"]).validate(value)
            else:
                self.validator(command).validate(value)
                jsonschema.Draft202012Validator(self.schema).validate(value)
        self.assertEqual("error" in json.loads(printed[-1]), finished.returncode != 0)

    def test_is_a_schema(self):
        jsonschema.Draft202012Validator.check_schema(self.schema)

    def test_describes_the_output_of_every_command(self):
        address = "direct:" + os.path.join(self.folder.name, "vel")
        with subprocess.Popen([VELSIM, "--address", address, "--quiet"],
                              stdin=subprocess.PIPE, stdout=subprocess.DEVNULL) as velsim:
            try:
                deadline = time.monotonic() + 60
                while self.run_velctl(address, ["vm", "list"]).returncode != 0:
                    self.assertLess(time.monotonic(), deadline, "velsim does not come")
                done = 0
                for line in self.lines + [{"command": "status", "words": ["status"]}]:
                    with self.subTest(line["words"]):
                        finished = self.run_velctl(address, line["words"])
                        self.validate(line["command"], finished)
                        done += finished.returncode == 0
                self.assertGreater(done, len(self.lines) // 2)
            finally:
                velsim.terminate()

    def test_describes_the_failures_of_every_command(self):
        address = "direct:" + os.path.join(self.folder.name, "nobody")
        for line in self.lines:
            with self.subTest(line["words"]):
                finished = self.run_velctl(address, line["words"])
                self.assertNotEqual(finished.returncode, 0)
                self.validate(line["command"], finished)
        for words in [["nosuch"], ["device"], ["device", "show"]]:
            with self.subTest(words):
                self.validate("", self.run_velctl(address, words))

    def test_refuses_what_velctl_does_not_print(self):
        right = {"operation": "connectDevice", "vm": "win11", "vmNumber": 101, "device": 12,
                 "status": 0, "statusName": "ok"}
        validator = self.validator("device attach")
        validator.validate(right)
        for name, value in [("operation", "detach"), ("vmNumber", "101"), ("device", 65536),
                            ("status", "0"), ("statusName", "fine"), ("surplus", 1)]:
            with self.subTest(name):
                self.assertFalse(validator.is_valid(dict(right, **{name: value})))
        error = {"kind": "refused", "exitStatus": 6, "text": "x"}
        self.validator("error").validate({"error": error})
        for name, value in [("kind", "other"), ("exitStatus", 10), ("text", 1), ("surplus", 1)]:
            with self.subTest(name):
                self.assertFalse(self.validator("error").is_valid(
                    {"error": dict(error, **{name: value})}))


if __name__ == "__main__":
    results.main("VelctlSchemaTest", RESULTS)
