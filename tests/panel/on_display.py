#!/usr/bin/env python3
"""Runs a program of Qt on an X server of its own: on_display.py XVFB PROGRAM [ARGUMENT...]

Exit status: that of the program."""

import os
import subprocess
import sys


def main():
    xvfb, *command = sys.argv[1:]
    read_end, write_end = os.pipe()
    # The server chooses a free display, and writes its number when it is ready.
    server = subprocess.Popen([xvfb, "-displayfd", str(write_end), "-screen", "0", "1280x1024x24",
                               "-nolisten", "tcp"], pass_fds=[write_end])
    try:
        os.close(write_end)
        with os.fdopen(read_end) as ready:
            display = ready.readline().strip()
        if not display:
            sys.exit("on_display.py: the X server has ended before it was ready")
        environment = dict(os.environ, DISPLAY=":" + display, QT_QPA_PLATFORM="xcb")
        return subprocess.run(command, env=environment, check=False).returncode
    finally:
        server.terminate()
        server.wait()


if __name__ == "__main__":
    status = main()
    sys.exit(status if status >= 0 else 128 - status)
