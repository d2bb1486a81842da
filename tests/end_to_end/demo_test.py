"""./demo, with the programs of this build: its steps, and the shell that it leaves.

usage: demo_test.py RESULTS REPOSITORY BUILD

RESULTS gets the numbers of tests, as GoogleTest writes them.
"""

import os
import pty
import re
import select
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import results
from processes import LIMIT

RESULTS, REPOSITORY, BUILD = sys.argv[1:]
DEMO = os.path.join(REPOSITORY, "demo")


def is_running(pid):
    try:
        os.kill(pid, 0)
    except ProcessLookupError:
        return False
    return True


class DemoTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.home = os.path.join(self.folder.name, "home")
        self.temporary = os.path.join(self.folder.name, "temporary")
        for each in (self.home, self.temporary):
            os.mkdir(each)
        self.environment = dict(os.environ, HOME=self.home, TMPDIR=self.temporary, SHELL="/bin/sh", ENV="",
                                TERM="dumb")

    def run_demo(self, *options, typed=""):
        return subprocess.run([DEMO, *options], env=self.environment, cwd=BUILD, input=typed, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=LIMIT, check=False)

    def expect_nothing_left(self, output):
        self.assertEqual(os.listdir(self.temporary), [])
        pids = [int(pid) for pid in re.findall(r"runs as process (\d+)", output)]
        self.assertNotEqual(pids, [])
        self.assertEqual([pid for pid in pids if is_running(pid)], [])

    def test_all_steps_have_the_expected_result(self):
        demo = self.run_demo("--built", ".")
        self.assertEqual(demo.returncode, 0, demo.stdout)
        self.assertRegex(demo.stdout, r"\nAll \d+ steps had the expected result, in \d+ s\.\n$")
        self.expect_nothing_left(demo.stdout)

    def test_the_shell_has_both_programs_and_the_service(self):
        demo = self.run_demo("--shell", "--built", ".", typed=(
            "velctl device list\nvelsim ctl plug camera 'Front camera'\n"
            "velctl device attach 'Front camera' --vm win11\nexit 7\n"))
        self.assertEqual(demo.returncode, 7, demo.stdout)
        for line in ("12 .* Built-in camera", "plugged in 31", "device 31 attached to win11"):
            self.assertRegex(demo.stdout, rf"(?m)^{line}$")
        self.expect_nothing_left(demo.stdout)

    def test_what_it_suggests_works_in_the_shell(self):
        shown = self.run_demo("--shell", "--built", BUILD)
        self.assertEqual(shown.returncode, 0, shown.stdout)
        suggested = re.search(r"(?m)^  try +(.*)\n +(velsim ctl .*)$", shown.stdout)
        commands = [each.strip() for each in suggested[1].split(";")] + [suggested[2]]
        self.assertGreater(len(commands), 4)
        commands = [command + " --timeout 0.1" if command == "velctl watch" else command for command in commands]
        demo = self.run_demo("--shell", "--built", BUILD, typed="".join(
            f"{command}; echo status of {command.split()[1]}: $?\n" for command in commands))
        for command in commands:
            expected = 0 if "watch" not in command else r"\d"
            self.assertRegex(demo.stdout, rf"(?m)^status of {command.split()[1]}: {expected}$", demo.stdout)

    def test_with_a_bus_daemon_the_shell_has_it_too(self):
        demo = self.run_demo("--shell", "--daemon", "--built", BUILD,
                             typed="velctl status\nvelctl vm list\n")
        self.assertEqual(demo.returncode, 0, demo.stdout)
        self.assertRegex(demo.stdout, r"(?m)^bus +reachable$")
        self.assertRegex(demo.stdout, r"(?m)^win11 +101$")
        self.expect_nothing_left(demo.stdout)

    def test_at_a_terminal_ctrl_c_ends_a_command_and_not_the_service(self):
        pid, terminal = pty.fork()
        if pid == 0:
            # Who runs the tests may ignore it: a script that starts them in its background.
            signal.signal(signal.SIGINT, signal.SIG_DFL)
            os.chdir(BUILD)
            os.execve(DEMO, [DEMO, "--shell", "--built", "."], self.environment)
        self.addCleanup(os.close, terminal)
        output = ""

        def shows(text, after=0):
            nonlocal output
            end = time.monotonic() + LIMIT
            while text not in output[after:] and time.monotonic() < end:
                if select.select([terminal], [], [], 1)[0]:
                    try:
                        output += os.read(terminal, 4096).decode("utf-8", "replace")
                    except OSError:  # the end, on Linux
                        break
            return text in output[after:]

        self.assertTrue(shows("ends velsim too"), output)
        os.write(terminal, b"velctl watch\n")
        self.assertTrue(shows("velctl: watching "), output)
        os.write(terminal, b"\x03")
        begin = len(output)
        os.write(terminal, b"velctl device list\n")
        self.assertTrue(shows("Built-in camera", begin), output)
        os.write(terminal, b"exit 5\n")
        shows("nothing more")
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]), 5, output)
        self.expect_nothing_left(output)

    def test_a_signal_ends_everything(self):
        demo = subprocess.Popen([DEMO, "--shell", "--built", BUILD], env=self.environment, text=True,
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        output = ""
        for line in demo.stdout:
            output += line
            if "ends velsim too" in line:
                break
        # The script handles it when the shell has ended.
        demo.terminate()
        demo.stdin.close()
        output += demo.stdout.read()
        demo.stdout.close()
        self.assertEqual(demo.wait(LIMIT), 143, output)
        self.expect_nothing_left(output)

    def test_explains_a_folder_without_programs(self):
        demo = self.run_demo("--built", self.home)
        self.assertEqual(demo.returncode, 1)
        self.assertIn(f"{self.home} lacks velsim or velctl", demo.stdout)
        self.assertEqual(self.run_demo("--built").returncode, 2)


if __name__ == "__main__":
    results.main("DemoTest", RESULTS)
