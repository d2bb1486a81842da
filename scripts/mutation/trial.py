"""Whether a test notices a mutant."""

import ctypes
import os
import re
import resource
import shutil
import signal
import subprocess
import tempfile
import time

from test_map import rows, take_interrupts

# Tests that take together no longer than this are run first, of each program.
QUICK_S = 2.0
# Of the others so many are run at once.
PART_S = 15.0
# Time limit of tests: their measured time, times a factor for a busy machine, and as much again for
# programs that start slowly.
FACTOR, GRACE_S = 6, 25
MEMORY = 6 << 30
FILE_SIZE = 1 << 30
# More objects than this are not compiled for one mutant of a header.
MOST_OBJECTS = 60
PR_SET_CHILD_SUBREAPER = 36


class Trial:
    """Tries mutants, one after the other, in a folder of its own.

    tests     as Tree.tests()
    maps      name of a test program -> its Map; those that are asked
    budget_s  of measured time, for each mutant
    """

    def __init__(self, tree, tests, budget_s):
        self.tree, self.tests, self.budget_s = tree, tests, budget_s
        self.maps = {}
        # Short, because names of sockets go below it.
        self.folder = tempfile.mkdtemp(prefix="vm", dir="/tmp")
        # Some tests run programs as another user.
        os.chmod(self.folder, 0o755)
        self.lines_with_code = {}
        # Processes that tests leave behind become children of this one, which ends them.
        ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)

    def close(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    # --- Tests of a mutant -------------------------------------------------------------------------

    def tests_of(self, mutant):
        """(program of tests, test) -> the programs that execute the place."""
        first, last = mutant.statement
        for lines in ([mutant.line], range(first, last + 1)):
            found, has_code = self.that_execute(mutant.file, lines)
            if has_code:
                return found
        if self.has_code(mutant.file, range(first, last + 1)):
            return {}
        # A constant, or a declaration: whatever executes the file, or a source that includes it.
        found, has_code = self.that_execute(mutant.file, None)
        if not has_code:
            for each in self.tree.dependents(mutant.file):
                source = os.path.relpath(self.tree.compile_command(each)[-1], self.tree.source)
                for test, programs in self.that_execute(source, None)[0].items():
                    found.setdefault(test, set()).update(programs)
        return found

    def beside(self, found):
        """The other tests of programs that execute the place themselves, in the same form: what is set up
        once for a process is executed in the first test that needs it, and the others read it."""
        others = {}
        for name, gathered in self.maps.items():
            own = os.path.basename(self.tests[name]["command"][0])
            if any(of == name and own in programs for (of, _), programs in found.items()):
                others.update({(name, test): {own} for test in gathered.seconds
                               if (name, test) not in found})
        return others

    def that_execute(self, file, lines):
        """As tests_of(), for lines or a whole file; and whether these lines are known to be code."""
        found, has_code = {}, False
        for name, gathered in self.maps.items():
            of_file = gathered.lines.get(file, {})
            for line in of_file.keys() if lines is None else lines:
                has_code = has_code or line in of_file
                for test, program in of_file.get(line, ()):
                    found.setdefault((name, test), set()).add(program)
        return found, has_code

    def has_code(self, file, lines):
        """Whether the compiler makes code for the lines of a source, which no test executes."""
        if not file.endswith(".cpp"):
            return False
        if file not in self.lines_with_code:
            output = os.path.join(self.folder, "lines.o")
            self.run(self.command(self.tree.object_of(file), os.path.join(self.tree.source, file),
                                  output, ["-gline-tables-only"]), 300)
            self.lines_with_code[file] = {line for _, of, line in rows(output, self.tree.source)
                                          if of == file}
        return any(line in self.lines_with_code[file] for line in lines)

    def plan(self, found):
        """[(program of tests, [test...], programs to link, seconds)...]: quick tests first."""
        quick, slow = [], []
        for name, gathered in self.maps.items():
            parts, most = [], QUICK_S
            for seconds, test in sorted((gathered.seconds[test], test)
                                        for of, test in found if of == name):
                if not parts or parts[-1][3] + seconds > most:
                    most = PART_S if parts else QUICK_S
                    parts.append((name, [], set(), 0.0))
                _, tests, programs, total = parts[-1]
                parts[-1] = (name, [*tests, test], programs | found[(name, test)], total + seconds)
            quick += parts[:1]
            slow += parts[1:]
        # A link takes about half a second.
        return [part for parts in (quick, slow)
                for part in sorted(parts, key=lambda part: part[3] + 0.5 * len(part[2]))]

    # --- Compiling ---------------------------------------------------------------------------------

    def command(self, object_path, source, output, more, is_mutant=True):
        """Compiles a source into an object: without notes of what is executed, without warnings."""
        words = [word for word in self.tree.compile_command(object_path)
                 if not word.startswith("-fsanitize-coverage") and word != "-gline-tables-only"]
        at = words.index("-sanitizer-coverage-prune-blocks=0")
        del words[at - 1:at + 1]
        if os.path.basename(words[0]) == "ccache":
            del words[0]
        if "-O2" in more and "-include-pch" in words:
            # Precompiled headers are for one set of options.
            at = words.index("-include-pch")
            del words[at - 1:at + 3]
        # Headers of the mutant are found before those of the tree.
        overlay = os.path.join(self.folder, "source")
        first = ["-iquote", overlay] if is_mutant else []
        at = words.index("-o")
        return [words[0], *first, f"-fmacro-prefix-map={overlay}={self.tree.source}",
                *words[1:at], "-w", *more, "-o", output, "-c", source]

    def run(self, words, limit_s):
        try:
            done = subprocess.run(words, cwd=self.tree.build, stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT, timeout=limit_s, check=False)
        except subprocess.TimeoutExpired:
            return False
        return done.returncode == 0

    def write(self, mutant):
        shutil.rmtree(os.path.join(self.folder, "source"), ignore_errors=True)
        path = os.path.join(self.folder, "source", mutant.file)
        os.makedirs(os.path.dirname(path))
        with open(os.path.join(self.tree.source, mutant.file), encoding="utf-8") as file:
            text = file.read()
        with open(path, "w", encoding="utf-8") as file:
            file.write(mutant.applied(text))
        return path

    def objects_for(self, mutant, program):
        """The objects of a program that a mutant of a header changes."""
        words = self.tree.link_command(program)
        members = set(words)
        for word in words:
            if word.endswith(".a") and not os.path.isabs(word):
                members |= self.tree.objects_in(word)
        return [each for each in self.tree.dependents(mutant.file) if each in members]

    def compile_for(self, mutant, program, compiled):
        """Adds to compiled: object -> its mutant. False when one does not compile."""
        if mutant.file.endswith(".cpp"):
            return True
        for each in self.objects_for(mutant, program):
            if each not in compiled:
                output = os.path.join(self.folder, f"{len(compiled)}.o")
                source = self.tree.compile_command(each)[-1]
                if len(compiled) >= MOST_OBJECTS or not self.run(
                        self.command(each, source, output, []), 600):
                    return False
                compiled[each] = output
        return True

    # --- Trying ------------------------------------------------------------------------------------

    def try_mutant(self, mutant):
        """The verdict, and what it rests on."""
        begin = time.monotonic()
        verdict, by = self.verdict(mutant)
        return {"verdict": verdict, "by": by, "seconds": round(time.monotonic() - begin, 1)}

    def verdict(self, mutant):
        path = self.write(mutant)
        compiled = {}
        if mutant.file.endswith(".cpp"):
            original = self.tree.object_of(mutant.file)
            output = os.path.join(self.folder, "mutant.o")
            if not self.run(self.command(original, path, output, []), 300):
                return "not compiled", ""
            compiled[original] = output
            if mutant.kind == "lock" and not self.run(self.checked(original, path), 300):
                return "noticed", "the compiler's check of locks"
        else:
            dependents = [each for each in self.tree.dependents(mutant.file) if "/tests/" not in each
                          and not each.startswith("tests/")]
            if dependents and not self.run(
                    self.command(dependents[0], self.tree.compile_command(dependents[0])[-1],
                                 os.path.join(self.folder, "mutant.o"), []), 300):
                return "not compiled", ""
        found = self.tests_of(mutant)
        if not found:
            return self.survived(mutant, path, "no test executes the line")
        others = self.beside(found)
        spent, left_out = 0.0, 0
        linked = {}
        for name, tests, programs, seconds in [*self.plan(found), *self.plan(others)]:
            if spent > 0 and spent + seconds > self.budget_s:
                left_out += len(tests)
                continue
            for program in sorted(programs - set(linked)):
                target = self.tree.program_path(program)
                if not self.compile_for(mutant, target, compiled):
                    return "not compiled", ""
                output = os.path.join(self.folder, program)
                words = self.tree.link_with(target, compiled, output)
                if words and not self.run(words, 300):
                    return "not compiled", "does not link"
                linked[program] = output if words else None
            spent += seconds
            noticed = self.run_tests(name, tests, linked, seconds)
            if noticed:
                return "noticed", noticed
        count = len(found) + len(others)
        by = f"{count - left_out} of {count} tests"
        return self.survived(mutant, path, by)

    def checked(self, object_path, source):
        """The command that compiles with the check of locks alone."""
        words = self.command(object_path, source, os.path.join(self.folder, "checked.o"), [])
        at = words.index("-w")
        return [*words[:at], "-Wno-everything", "-Wthread-safety", "-Wthread-safety-beta",
                "-Werror=thread-safety", "-Werror=thread-safety-beta", *words[at + 1:]]

    def survived(self, mutant, path, by):
        """Equal code, optimized, means that the mutant is no mistake at all."""
        if mutant.file.endswith(".cpp"):
            objects = [self.tree.object_of(mutant.file)]
        else:
            # Those of the product.
            objects = [each for each in self.tree.dependents(mutant.file)
                       if not each.startswith("tests/")]
        if not objects or len(objects) > MOST_OBJECTS:
            return "survived", by
        for each in objects:
            source = self.tree.compile_command(each)[-1]
            if not self.is_same_code(each, source, path if source.endswith(mutant.file) else source):
                return "survived", by
        return "equivalent", "the same code"

    def is_same_code(self, object_path, source, changed):
        """Whether a source and its mutant, which may be in a header, give the same optimized object."""
        contents = []
        for each, name, is_mutant in ((source, "a.o", False), (changed, "b.o", True)):
            output = os.path.join(self.folder, name)
            if not self.run(self.command(object_path, each, output, ["-O2"], is_mutant), 600):
                return False
            subprocess.run(["strip", "--strip-unneeded", "--remove-section=.comment", output],
                           check=False)
            with open(output, "rb") as file:
                contents.append(file.read())
        return contents[0] == contents[1]

    def run_tests(self, name, tests, linked, seconds):
        """What noticed the mutant, or nothing."""
        test = self.tests[name]
        program = os.path.basename(test["command"][0])
        command = [linked.get(program) or test["command"][0],
                   *[word for word in test["command"][1:] if not word.startswith("--gtest_filter")],
                   "--gtest_fail_fast", "--gtest_brief=1"]
        others = ":".join(f"{other}={path}" for other, path in linked.items() if path)
        environment = {**os.environ, **test["environment"], "MUTANT_PROGRAMS": others}
        environment.pop("EXECUTED_DIRECTORY", None)
        for attempt in (1, 2):
            output, ended = self.run_program(command, tests, test["directory"], environment,
                                             seconds * FACTOR + GRACE_S)
            if ended is None:
                return f"{name}: hangs"
            if ended == 0:
                return ""
            failed = re.findall(r"\[  FAILED  \] (\S+?)(?:,| \(|$)", output, re.MULTILINE)
            known = [each for each in failed if each in tests]
            what = known[0] if known else f"ends with {ended}"
            # Once more, because a test may fail by bad luck.
            tests = known[:1] or tests
            if attempt == 2:
                return f"{name}: {what}"
        return ""

    def run_program(self, command, tests, directory, environment, limit_s):
        flags = os.path.join(self.folder, "flags")
        with open(flags, "w", encoding="utf-8") as file:
            file.write("--gtest_filter=" + ":".join(tests) + "\n")
        output = os.path.join(self.folder, "output")
        with open(output, "wb") as file:
            process = subprocess.Popen([*command, "--gtest_flagfile=" + flags], cwd=directory,
                                       env=environment, stdin=subprocess.DEVNULL, stdout=file,
                                       stderr=file, start_new_session=True, preexec_fn=_limits)
            try:
                ended = process.wait(limit_s)
            except subprocess.TimeoutExpired:
                ended = None
            finally:
                end_group(process)
        end_children()
        with open(output, "rb") as file:
            return file.read()[-200000:].decode(errors="replace"), ended


def _limits():
    take_interrupts()
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_SIZE, FILE_SIZE))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def end_group(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def end_children():
    """Ends what the tests have left behind: by now children of this process."""
    own = os.getpid()
    for _ in range(20):
        children = []
        for entry in os.listdir("/proc"):
            if entry.isdigit():
                try:
                    with open(f"/proc/{entry}/stat", encoding="utf-8", errors="replace") as file:
                        if int(file.read().rpartition(")")[2].split()[1]) == own:
                            children.append(int(entry))
                except OSError:
                    pass
        if not children:
            return
        for child in children:
            os.kill(child, signal.SIGKILL)
            os.waitpid(child, 0)

