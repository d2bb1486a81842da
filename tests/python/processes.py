"""velsim and programs that use it, as processes of a test."""

import os
import subprocess
import threading
import time

# Only for what goes wrong: every wait ends as soon as it can.
LIMIT = 240


class Program:
    """A process whose output is collected while it runs."""

    def __init__(self, command, environment):
        self.process = subprocess.Popen(command, env=environment, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                        encoding="utf-8", errors="replace")
        self.output = ""
        self.has_more = threading.Condition()
        self.is_at_end = False
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    def _read(self):
        for line in self.process.stdout:
            with self.has_more:
                self.output += line
                self.has_more.notify_all()
        with self.has_more:
            self.is_at_end = True
            self.has_more.notify_all()

    def wait_for(self, text):
        """Whether the output has this text, at once or later."""
        with self.has_more:
            self.has_more.wait_for(lambda: text in self.output or self.is_at_end, LIMIT)
            return text in self.output

    def end_input(self):
        self.process.stdin.close()

    def wait(self):
        """The exit status."""
        try:
            return self.process.wait(LIMIT)
        finally:
            self.process.kill()
            self.reader.join()
            self.process.stdout.close()
            self.process.stdin.close()


class Velsim:
    """A service at a socket in a folder, which is the home of its clients too."""

    def __init__(self, program, folder, *options):
        self.program = program
        self.options = options
        os.makedirs(os.path.join(folder, "bus"), mode=0o700, exist_ok=True)
        self.environment = dict(os.environ, QXBUS_ADDRESS=f"direct:{folder}/bus/vel",
                                QX_APP_DATA=os.path.join(folder, "data"), HOME=folder, TMPDIR=folder,
                                QT_QPA_PLATFORM="offscreen")
        self.log = None
        self.programs = []
        self.start()

    def start(self):
        self.log = Program([self.program, *self.options], self.environment)
        if not self.log.wait_for("velsim: ready"):
            raise RuntimeError("velsim does not start: " + self.log.output)

    def kill(self):
        self.log.process.kill()
        self.log.wait()

    def stop(self):
        """Ends velsim, and every program that has not ended."""
        for program in self.programs:
            program.process.kill()
            program.wait()
        self.programs.clear()
        self.log.process.terminate()
        return self.log.wait()

    def control(self, *words):
        return subprocess.run([self.program, "ctl", *words], env=self.environment, check=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, timeout=LIMIT,
                              encoding="utf-8").stdout

    def run(self, *command):
        self.programs.append(Program(command, self.environment))
        return self.programs[-1]


def comes_true(condition):
    end = time.monotonic() + LIMIT
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.01)
    return True
