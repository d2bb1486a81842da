"""Which test executes which line, in which program."""

import bisect
import hashlib
import os
import pickle
import re
import shutil
import signal
import struct
import subprocess

from tree import Failure

GATHER_LIMIT_S = 1200


class Map:
    """Of one test program, with one environment.

    seconds  test -> its time
    broken   tests that fail without a mutant
    lines    file -> line -> [(test, program)...]
    sums     file -> check sum of its content, by which a later run knows whether its lines have moved
    """

    def __init__(self, seconds, broken, lines, sums):
        self.seconds, self.broken, self.lines, self.sums = seconds, broken, lines, sums

    @staticmethod
    def gather(tree, name, test):
        """Runs the tests, which are built."""
        directory = os.path.join(tree.directory, "executed", name)
        shutil.rmtree(directory, ignore_errors=True)
        os.makedirs(directory)
        environment = {**os.environ, **test["environment"], "EXECUTED_DIRECTORY": directory}
        output = os.path.join(tree.directory, "executed", name + ".output")
        with open(output, "wb") as file:
            try:
                subprocess.run(test["command"], cwd=test["directory"], env=environment, stdout=file,
                               stderr=file, stdin=subprocess.DEVNULL, timeout=GATHER_LIMIT_S,
                               check=False, preexec_fn=take_interrupts)
            except subprocess.TimeoutExpired as error:
                raise Failure(f"{name} takes too long; its output is in {output}") from error
        try:
            with open(os.path.join(directory, "times"), encoding="utf-8") as file:
                times = [line.split(" ", 2) for line in file.read().splitlines()]
        except FileNotFoundError as error:
            raise Failure(f"{name} has run no test; its output is in {output}") from error
        with open(output, encoding="utf-8", errors="replace") as file:
            if not re.search(r"^\[=+\] \d+ tests? from .* ran\.", file.read(), re.MULTILINE):
                raise Failure(f"{name} has not run to its end; its output is in {output}")
        seconds = {test: int(ms) / 1000 for ms, result, test in times if result == "passed"}
        broken = {test for _, result, test in times if result == "failed"}
        lines = _lines(tree, directory, {test.replace("/", ","): test for test in seconds})
        for file in os.listdir(directory):
            if file.endswith(".blocks"):
                os.remove(os.path.join(directory, file))
        gathered = Map(seconds, broken, lines, {file: _sum(tree, file) for file in lines})
        with open(os.path.join(tree.directory, "executed", name + ".map"), "wb") as file:
            pickle.dump(gathered, file)
        return gathered

    @staticmethod
    def load(tree, name):
        """None if there is none yet, or if the sources have changed since."""
        try:
            with open(os.path.join(tree.directory, "executed", name + ".map"), "rb") as file:
                loaded = pickle.load(file)
        except FileNotFoundError:
            return None
        same = all(_sum(tree, file) == sum for file, sum in loaded.sums.items())
        return loaded if same else None


def take_interrupts():
    """A shell has the programs in its background ignore them, and so would the tests' programs."""
    signal.signal(signal.SIGINT, signal.SIG_DFL)
    signal.signal(signal.SIGQUIT, signal.SIG_DFL)


def _sum(tree, file):
    try:
        with open(os.path.join(tree.source, file), "rb") as content:
            return hashlib.sha1(content.read()).hexdigest()
    except FileNotFoundError:
        return ""


def _lines(tree, directory, test_names):
    lines, of_programs = {}, {}
    for file in sorted(os.listdir(directory)):
        match = re.fullmatch(r"(.+)\.([^.]+)\.blocks", file)
        if not match or match.group(1) not in test_names:
            continue
        program = match.group(2)
        if program not in of_programs:
            of_programs[program] = _lines_of_blocks(tree, directory, program)
        with open(os.path.join(directory, file), "rb") as blocks:
            executed = set()
            for hit in re.finditer(b"\1", blocks.read()):
                executed.update(of_programs[program].get(hit.start(), ()))
        for name, line in executed:
            lines.setdefault(name, {}).setdefault(line, []).append(
                (test_names[match.group(1)], program))
    return lines


def _lines_of_blocks(tree, directory, program):
    """Number of a block -> the lines that it holds."""
    with open(os.path.join(directory, program + ".addresses"), "rb") as file:
        content = file.read()
    addresses = struct.unpack(f"<{len(content) // 8}Q", content)
    order = sorted(range(len(addresses)), key=addresses.__getitem__)
    in_order = [addresses[number] for number in order]
    found = {}
    path = os.path.join(tree.build, tree.program_path(program))
    for address, name, line in rows(path, tree.source):
        at = bisect.bisect_right(in_order, address) - 1
        if at >= 0:
            found.setdefault(order[at], set()).add((name, line))
    return found


def rows(program, source):
    """(address, file, line) of the lines in the sources."""
    dump = subprocess.Popen(["llvm-dwarfdump", "--debug-line", program], stdout=subprocess.PIPE,
                            text=True, errors="replace")
    folders, names, name, inside = {}, {}, None, {}
    with dump.stdout:
        for text in dump.stdout:
            if text.startswith("0x"):
                words = text.split()
                file = inside.get(words[3])
                if file is None:
                    folder, base = names.get(int(words[3]), (0, ""))
                    path = os.path.normpath(os.path.join(folders.get(0, ""), folders.get(folder, ""),
                                                         base))
                    file = path[len(source) + 1:] if path.startswith(source + "/") else ""
                    inside[words[3]] = file
                if file and words[1] != "0" and "end_sequence" not in text:
                    yield int(words[0], 16), file, int(words[1])
            elif text.startswith("debug_line["):
                folders, names, inside = {}, {}, {}
            elif match := re.match(r"include_directories\[ *(\d+)\] = \"(.*)\"", text):
                folders[int(match.group(1))] = match.group(2)
            elif match := re.match(r"file_names\[ *(\d+)\]:", text):
                name = int(match.group(1))
            elif match := re.match(r" +name: \"(.*)\"", text):
                names[name] = (0, match.group(1))
            elif match := re.match(r" +dir_index: (\d+)", text):
                names[name] = (int(match.group(1)), names[name][1])
    dump.wait()
