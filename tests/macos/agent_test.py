"""velsim as an agent of launchd: the file that describes it, and the command in it."""

import pathlib
import plistlib
import subprocess
import sys
import tempfile
import unittest

import results

RESULTS, CMAKE, SCRIPT = sys.argv[1:]
PLACE = "/a place/<R&D>/bin/velsim"
FILE = "velproxy.velsim.plist"


class Agent(unittest.TestCase):
    def setUp(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([CMAKE, f"-DVELSIM_PATH={PLACE}", f"-DSTARTING_FILES={folder}", "-P", SCRIPT],
                           check=True)
            self.agent = plistlib.loads(pathlib.Path(folder, FILE).read_bytes())

    def test_is_a_well_formed_description_with_the_name_of_its_file(self):
        self.assertEqual(self.agent["Label"] + ".plist", FILE)
        self.assertEqual(self.agent["ProgramArguments"][-1], PLACE)

    def test_starts_again_after_a_crash_only(self):
        self.assertIs(self.agent["RunAtLoad"], True)
        self.assertEqual(self.agent["KeepAlive"], {"SuccessfulExit": False})

    def test_runs_the_program_with_a_log_among_the_users_logs(self):
        with tempfile.TemporaryDirectory(suffix=" of a user") as home:
            program = pathlib.Path(home, "a program")
            program.write_text("#!/bin/sh\necho \"$# started\" >&2\nexit 3\n")
            program.chmod(0o700)
            for _ in range(2):
                done = subprocess.run([*self.agent["ProgramArguments"][:-1], str(program)],
                                      env={"HOME": home, "PATH": "/usr/bin:/bin"}, check=False)
                self.assertEqual(done.returncode, 3)
                # Each start begins the log anew.
                log = pathlib.Path(home, "Library/Logs/velproxy/velsim.log")
                self.assertEqual(log.read_text(), "0 started\n")


if __name__ == "__main__":
    results.main("MacosAgent", RESULTS)
