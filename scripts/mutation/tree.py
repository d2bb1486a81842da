"""A copy of the source tree and its build, in which each program can be linked with a mutant."""

import json
import os
import shlex
import shutil
import subprocess

HERE = os.path.dirname(os.path.abspath(__file__))

# Code of the product is instrumented, so that the tests that execute it are known. The parts that are
# headers only are compiled into their tests.
ALLOWED = """\
src:*/source/base/*
src:*/source/bus/*
src:*/source/pen/*
src:*/source/platform/*
src:*/source/vel/*
src:*/build/tests/client/*
src:*/source/tests/client/*
fun:*
"""


class Failure(Exception):
    """Something that the user must know; no traceback."""


def output_of(command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace", check=False, **options)
    if done.returncode != 0:
        raise Failure(f"{shlex.join(command)} failed:\n{done.stdout[-4000:]}")
    return done.stdout


class Tree:
    def __init__(self, repository, directory):
        self.repository = repository
        self.directory = directory
        self.source = os.path.join(directory, "source")
        self.build = os.path.join(directory, "build")
        self._compile = None
        self._links = {}
        self._archives = {}
        self._dependents = None

    # --- Making it ---------------------------------------------------------------------------------

    def update(self):
        """Copies the files that have changed."""
        listed = output_of(["git", "-C", self.repository, "ls-files", "-z", "--cached", "--others",
                            "--exclude-standard"])
        wanted = {name for name in listed.split("\0")
                  if name and os.path.isfile(os.path.join(self.repository, name))}
        for folder, _, files in os.walk(self.source):
            for file in files:
                path = os.path.join(folder, file)
                if os.path.relpath(path, self.source) not in wanted:
                    os.remove(path)
        for name in wanted:
            origin, copy = os.path.join(self.repository, name), os.path.join(self.source, name)
            with open(origin, "rb") as file:
                content = file.read()
            if os.path.exists(copy):
                with open(copy, "rb") as file:
                    if file.read() == content:
                        continue
            os.makedirs(os.path.dirname(copy), exist_ok=True)
            with open(copy, "wb") as file:
                file.write(content)
            shutil.copymode(origin, copy)

    def configure(self):
        os.makedirs(self.build, exist_ok=True)
        allowed = os.path.join(self.directory, "allowed")
        if not os.path.exists(allowed):
            with open(allowed, "w", encoding="utf-8") as file:
                file.write(ALLOWED)
        # In one step: another run may be linking with it.
        notes = os.path.join(self.directory, "executed.o")
        unfinished = f"{notes}.{os.getpid()}"
        output_of(["clang++", "-std=c++17", "-O1", "-Wall", "-c",
                   os.path.join(HERE, "executed.cpp"), "-o", unfinished])
        output_of(["objcopy", "--wildcard", "--weaken-symbol=_ZN*7testing*", unfinished])
        os.replace(unfinished, notes)
        flags = ("-gline-tables-only -fsanitize-coverage=trace-pc-guard,pc-table"
                 f" -fsanitize-coverage-allowlist={allowed}"
                 " -mllvm -sanitizer-coverage-prune-blocks=0")
        output_of(["cmake", "-G", "Ninja", "-S", self.source, "-B", self.build,
                   "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_COMPILER=clang++",
                   "-DCMAKE_CXX_FLAGS_DEBUG=-O0", f"-DCMAKE_CXX_FLAGS={flags}",
                   f"-DCMAKE_CXX_STANDARD_LIBRARIES={notes}", "-DVELPROXY_WERROR=OFF",
                   "-DVELPROXY_INSTALL=OFF"])

    def make(self, targets, jobs):
        """Builds; the output goes to the terminal."""
        done = subprocess.run(["ninja", "-C", self.build, f"-j{jobs}", *targets], check=False)
        if done.returncode != 0:
            raise Failure("the tree does not build")

    # --- Its commands ------------------------------------------------------------------------------

    def tests(self):
        """The test programs as ctest knows them, without shards: name -> command, environment."""
        described = json.loads(output_of(["ctest", "--show-only=json-v1"], cwd=self.build))
        found = {}
        for test in described["tests"]:
            properties = {each["name"]: each["value"] for each in test.get("properties", [])}
            environment = dict(entry.split("=", 1) for entry in properties.get("ENVIRONMENT", []))
            shards = environment.pop("GTEST_TOTAL_SHARDS", None)
            environment.pop("GTEST_SHARD_INDEX", None)
            name = test["name"].rsplit(".", 1)[0] if shards else test["name"]
            command = [each for each in test.get("command", [])
                       if not each.startswith("--gtest_output")]
            if command:
                found.setdefault(name, {"command": command, "environment": environment,
                                        "directory": properties["WORKING_DIRECTORY"]})
        return found

    def compile_command(self, object_path):
        """The words of the command that compiles an object, whose path is relative to the build."""
        if self._compile is None:
            with open(os.path.join(self.build, "compile_commands.json"), encoding="utf-8") as file:
                entries = json.load(file)
            self._compile = {}
            for entry in entries:
                words = shlex.split(entry["command"])
                self._compile[words[words.index("-o") + 1]] = words
        return self._compile[object_path]

    def object_of(self, source):
        """The object of a source of the product, relative to the build."""
        self.compile_command_or_none("")
        path = os.path.join(self.source, source)
        for name, words in self._compile.items():
            if words[-1] == path:
                return name
        raise Failure(f"{source} is compiled into no object")

    def compile_command_or_none(self, object_path):
        try:
            return self.compile_command(object_path)
        except KeyError:
            return None

    def dependents(self, header):
        """The objects that a header goes into, relative to the build."""
        if self._dependents is None:
            self._dependents = {}
            name = None
            for line in output_of(["ninja", "-C", self.build, "-t", "deps"]).splitlines():
                if line.startswith("    "):
                    path = os.path.normpath(os.path.join(self.build, line.strip()))
                    if path.startswith(self.source + "/"):
                        self._dependents.setdefault(os.path.relpath(path, self.source),
                                                    []).append(name)
                elif ":" in line:
                    name = line.split(":")[0]
        return [name for name in self._dependents.get(header, []) if name.endswith(".o")]

    def link_command(self, program):
        """The words that link a program, whose path is relative to the build."""
        if program not in self._links:
            text = output_of(["ninja", "-C", self.build, "-t", "commands", "-s", program])
            line = [each for each in text.splitlines() if " -o " in each][-1]
            words = shlex.split(line)
            begin = words.index("&&") + 1
            self._links[program] = words[begin:words.index("&&", begin)]
        return self._links[program]

    def objects_in(self, archive):
        """The objects of an archive of the build."""
        if archive not in self._archives:
            text = output_of(["ninja", "-C", self.build, "-t", "query", archive])
            inputs = text.split("input:")[1].split("outputs:")[0].splitlines()[1:]
            self._archives[archive] = {each.strip() for each in inputs if each.strip().endswith(".o")}
        return self._archives[archive]

    def program_path(self, name):
        """The path of a program from its last name, relative to the build."""
        for folder, _, files in os.walk(self.build):
            if name in files and os.access(os.path.join(folder, name), os.X_OK):
                return os.path.relpath(os.path.join(folder, name), self.build)
        raise Failure(f"the build has no program {name}")

    def link_with(self, program, replaced, output):
        """The command that links a program with other objects. replaced: object -> its replacement.
        None if the program has none of them."""
        words, found = [], set()
        for word in self.link_command(program):
            if word in replaced:
                words.append(replaced[word])
                found.add(word)
                continue
            if word.endswith(".a") and not os.path.isabs(word):
                # Before the archive, and like its members: taken if needed.
                members = [each for each in replaced
                           if each not in found and each in self.objects_in(word)]
                if members:
                    found.update(members)
                    words += ["-Wl,--start-lib", *[replaced[each] for each in members],
                              "-Wl,--end-lib"]
            words.append(word)
        if not found:
            return None
        words[words.index("-o") + 1] = output
        return words + ["-Wl,--strip-debug"]
