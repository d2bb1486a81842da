"""The commands of the documents, run as they stand: those of a page one after the other in one shell, in a clone
of this tree with a build, where a reader would be. The sessions in blocks "console" are tests/end_to_end/'s.

usage: commands_test.py RESULTS REPOSITORY BUILD LIBRARIES COMPILER

RESULTS gets the numbers of tests, as GoogleTest writes them. LIBRARIES is the folder of
libraries below a prefix, COMPILER the command of the compiler with its flags.
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

import results

RESULTS, REPOSITORY, BUILD, LIBRARIES, COMPILER = sys.argv[1:]
sys.path.insert(0, os.path.join(REPOSITORY, "scripts", "docs"))

from pages import blocks_of, commands_of, documents  # noqa: E402

TREE = "builds the whole tree, as ./test does"
ANOTHER = "builds the tree once more, instrumented, and takes long"

# Commands that are not run here, and why. pages_test looks whether their scripts, targets, presets and options
# exist, as for all others.
NOT_RUN = {
    "CONTRIBUTING.md": {
        "cmake --preset dev && cmake --build --preset dev && ctest --preset dev": TREE,
        "GTEST_SHUFFLE=1 ctest --preset plain --repeat until-fail:100 --schedule-random --parallel 12":
            "hours; ./test runs each test once"},
    "README.md": {"./demo": "builds; demo_test runs it with what is built",
                  "./test": "runs this test"},
    "docs/chaos.md": {
        "cmake --build --preset dev --target chaos": TREE,
        "build/dev/tests/chaos/chaos --seed 7 --seconds 3600 --bus daemon --json figures.json":
            "an hour; chaos_tests run the program for seconds"},
    "docs/coverage.md": dict.fromkeys(
        ["scripts/coverage", "scripts/coverage --tests '^wire'", "scripts/coverage --report",
         "scripts/mutate --room library --seed 1 --count 200",
         "scripts/mutate --file bus/dbus/wire/address.cpp --line 103", "scripts/mutate --report"], ANOTHER),
    "docs/first-hour.md": {"./demo --shell": "builds; demo_test runs it with what is built"},
    "docs/fuzzing.md": dict.fromkeys(
        ["scripts/fuzz codec 60", "scripts/fuzz codec FILE", "scripts/fuzz --coverage codec",
         "scripts/fuzz --minimize codec"], ANOTHER),
    "docs/install.md": {
        "cmake --preset release && cmake --build --preset release": TREE,
        "cd build/release && cpack": "install_tests runs it as it stands, with a folder for the packages",
        "systemctl --user enable --now velsim": "changes what systemd starts for the user"},
    "docs/macos.md": dict.fromkeys(
        ["scripts/build-macos", "scripts/build-macos --release", "./test --macos"],
        "fetches a compiler; ./test --macos is a test of its own"),
    "tests/panel/pictures/README.md": {
        "PANEL_WRITE_PICTURES=1 build/dev/tests/panel/panel_tests --gtest_filter='*Pictures*'":
            "writes into the tree"},
    "examples/panel/translations/README.md": {
        **dict.fromkeys(["cmake --build --preset dev --target panel_translations",
                         "cmake --build --preset dev --target panel"], TREE),
        "linguist examples/panel/translations/panel_de.ts": "a window for a translator"},
    "examples/README.md": {
        "cmake --preset release && cmake --build --preset release --target velsim examples": TREE},
}

VELSIM = "build/release/vel/apps/local/velsim/velsim"
VELCTL = "build/release/vel/apps/local/velctl/velctl"
PAGES = {path: open(os.path.join(REPOSITORY, path), encoding="utf-8").read() for path in documents(REPOSITORY)}
COMMANDS = {path: commands_of(text) for path, text in PAGES.items()}
TESTED = set()


def of_page(path):
    """The test runs the commands of this page."""
    TESTED.add(path)

    def decorated(test):
        return lambda self: test(self, path)
    return decorated


def prose(path):
    return re.sub(r"\s+", " ", PAGES[path])


def blocks(path, kind):
    return [block.text for block in blocks_of(PAGES[path]) if block.kind == kind]


def write(path, text, mode=0o644):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    os.chmod(path, mode)


def files_below(top):
    return sorted(os.path.relpath(os.path.join(folder, name), top)
                  for folder, _, names in os.walk(top) for name in names)


class CommandsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="reader-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.clone = os.path.join(self.folder, "velproxy")
        self.project = os.path.join(self.folder, "project")
        self.prefix = os.path.join(self.folder, "prefix")
        os.makedirs(os.path.join(self.clone, "build"))
        os.mkdir(self.project)
        os.mkdir(os.path.join(self.folder, "runtime"), mode=0o700)
        for name in os.listdir(REPOSITORY):
            if name not in ("build", ".git"):
                os.symlink(os.path.join(REPOSITORY, name), os.path.join(self.clone, name))
        for preset in ("release", "dev"):
            os.symlink(BUILD, os.path.join(self.clone, "build", preset))
        # What a reader's machine has: this compiler, and a right to install.
        tools = os.path.join(self.folder, "tools")
        write(f"{tools}/c++", f'#!/bin/sh\nexec {COMPILER} "$@"\n', 0o755)
        write(f"{tools}/sudo", '#!/bin/sh\nexec "$@"\n', 0o755)
        write(f"{tools}/ldconfig", "#!/bin/sh\necho list of libraries renewed\n", 0o755)
        self.environment = dict(
            os.environ, PATH=f"{tools}:{os.environ['PATH']}", HOME=self.folder, TMPDIR=self.folder,
            XDG_RUNTIME_DIR=f"{self.folder}/runtime", QX_APP_DATA=f"{self.folder}/data",
            QXBUS_ADDRESS="", DBUS_SESSION_BUS_ADDRESS="", CXX=f"{tools}/c++",
            CMAKE_PREFIX_PATH=self.prefix, PKG_CONFIG_PATH=f"{self.prefix}/{LIBRARIES}/pkgconfig")
        self.environment.pop("CMAKE_CXX_COMPILER_LAUNCHER", None)

    def shell(self, *lines, **environment):
        """Runs lines in one shell, which ends at the first that fails. What runs in the background is there
        for the next line, and ends with the shell."""
        script = ('set -e; trap \'[ -z "$pids" ] || { kill $pids; wait; } 2> /dev/null || true\' EXIT; '
                  f'cd "{self.clone}"\n')
        for line in lines:
            script += f"{line}\n"
            if line.endswith("&"):
                script += f'pids="$pids $!"; {BUILD}/vel/apps/local/velctl/velctl wait service --timeout 240\n'
        done = subprocess.run(["sh", "-c", script], env={**self.environment, **environment}, text=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              timeout=500, check=False)
        self.assertEqual(done.returncode, 0, f"{script}\nprinted:\n{done.stdout}")
        return done.stdout

    def commands(self, page, **changed):
        """Those of a page that are run, each with what a reader replaces in it."""
        lines = []
        for line in COMMANDS[page]:
            if line not in NOT_RUN.get(page, {}):
                for old, new in changed.get("replaced", {}).items():
                    line = line.replace(old, new)
                lines.append(line)
        self.assertNotEqual(lines, [])
        return lines

    def install(self):
        if not os.path.exists(os.path.join(BUILD, "velproxy-config.cmake")):
            self.skipTest("this build installs nothing")
        lines = self.commands("docs/install.md", replaced={"/usr/local": f"'{self.prefix}'"})
        self.assertIn("--install", lines[0])
        self.assertIn("list of libraries renewed\n", self.shell(lines[0]))
        return lines[1:]

    def test_each_is_run_or_there_is_a_reason(self):
        for page, lines in COMMANDS.items():
            reasons = NOT_RUN.get(page, {})
            with self.subTest(page):
                self.assertEqual(set(reasons) - set(lines), set(), "these are no commands of the page")
                if page not in TESTED:
                    self.assertEqual(set(lines) - set(reasons), set(), "no test runs these")
        self.assertGreater(sum(map(len, COMMANDS.values())), 30)

    @of_page("README.md")
    def test_readme(self, page):
        printed = self.shell(*self.commands(page))
        self.assertRegex(printed, r"(?m)^12 .* Built-in camera$")

    @of_page("examples/README.md")
    def test_examples(self, page):
        if not os.path.exists(os.path.join(BUILD, "examples")):
            self.skipTest("this build has no examples")
        printed = self.shell(*self.commands(page))
        self.assertRegex(printed, r"(?m)^12  Built-in camera  available$")

    @of_page("examples/client-test/README.md")
    def test_client_test(self, page):
        # The targets and tests are listed only: the tree itself builds and runs the same.
        configure, build, test = self.commands(page, replaced={"--target client_tests": "--target help"})
        self.assertEqual(test.split()[0], "ctest")
        printed = self.shell(configure, build, test + " -N")
        self.assertRegex(printed, r"(?m)^\.\.\. client_tests$")
        self.assertRegex(printed, r"(?m)^  Test +#1: client_tests$")

    @of_page("docs/faults.md")
    def test_faults(self, page):
        daemon = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1",
                                   f"--address=unix:path={self.folder}/bus"],
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(lambda: (daemon.kill(), daemon.wait(), daemon.stdout.close()))
        address = daemon.stdout.readline().strip()
        by_bus, by_socket = self.commands(page, replaced={"SOCKET": f"'{self.folder}/direct/vel'"})
        printed = self.shell(f"{VELSIM} &", by_bus, DBUS_SESSION_BUS_ADDRESS=address)
        self.assertIn("12", printed)
        self.assertIn("Built-in camera", printed)
        os.mkdir(f"{self.folder}/direct", mode=0o700)
        printed = self.shell(f"{VELSIM} &", by_socket, QXBUS_ADDRESS=f"direct:{self.folder}/direct/vel")
        self.assertIn("clear-faults", printed)

    @of_page("docs/fuzzing.md")
    def test_fuzzing(self, page):
        self.assertRegex(self.shell(*self.commands(page)), r"(?m)^codec +\w")

    @of_page("docs/chaos.md")
    def test_chaos(self, page):
        # A small day; the picture of the page stays.
        self.shell(*self.commands(page, replaced={
            "--hours 24 --active 100": "--hours 1 --active 4 --sessions 20", "docs/soak.svg": "soak.svg"}))
        chart = xml.etree.ElementTree.parse(f"{self.clone}/soak.svg")
        self.assertTrue(chart.getroot().tag.endswith("svg"))

    @of_page("docs/first-hour.md")
    def test_first_hour(self, page):
        """The project of the page, with the program of the README."""
        self.install()
        self.assertIn("An installed library is used with `find_package(velproxy)` in place of `add_subdirectory`",
                      prose(page))
        self.assertIn("`first.cpp` is the program of the README", prose(page))
        project = blocks(page, "cmake")[0]
        self.assertIn("add_subdirectory(velproxy)\n", project)
        write(f"{self.project}/CMakeLists.txt",
              project.replace("add_subdirectory(velproxy)", "find_package(velproxy 0.1 REQUIRED)"))
        write(f"{self.project}/first.cpp", blocks("README.md", "cpp")[0])
        path, build = self.commands(page)

        printed = self.shell(path, "command -v velsim; command -v velctl", "velsim &", f'cd "{self.project}"', build)

        self.assertIn(f"{self.clone}/{VELSIM}\n{self.clone}/{VELCTL}\n", printed)
        self.assertRegex(printed, r"(?m)^12  Built-in camera$")

    @of_page("docs/install.md")
    def test_install(self, page):
        compile_, = self.install()
        files = files_below(self.prefix)
        self.assertIn("lib/systemd/user/velsim.service", files)
        for path in ("lib/systemd/user/velsim.service", "share/velproxy/dbus-1/services/qx.bus.vel.service"):
            self.assertIn(path, PAGES[page])
            self.assertIn(path, files)
        # The program with qx::VelProxy, which compiles faster than the other.
        write(f"{self.project}/client.cpp", blocks("docs/client.md", "cpp")[1])
        rpath = re.search(r"add `(-Wl,-rpath,[^`]*)`", PAGES[page])[1]
        project = f'cd "{self.project}"'

        printed = self.shell(f"{VELSIM} &", project, compile_, "./a.out",
                             LD_LIBRARY_PATH=f"{self.prefix}/{LIBRARIES}")
        self.assertIn("\nBuilt-in camera is attached to win11\n", printed)
        printed = self.shell(f"{VELSIM} &", project, f"{compile_} {rpath}", "./a.out")
        self.assertIn("\nBuilt-in camera is attached to win11\n", printed)

        uninstall = "cmake --build build/release --target uninstall"
        self.assertIn(f"`{uninstall}`", prose(page))
        self.shell(uninstall)
        self.assertEqual(files_below(self.prefix), [])

    def test_the_components_are_all_of_an_installation(self):
        self.install()
        whole = files_below(self.prefix)
        components = re.findall(r"(?m)^\| `(\w+)` \| ", PAGES["docs/install.md"].split("## From CMake")[0])
        self.assertEqual(len(components), 3)
        self.shell(f'rm -r "{self.prefix}"',
                   *(f'cmake --install build/release --prefix "{self.prefix}" --component {name}'
                     for name in components))
        self.assertEqual(files_below(self.prefix), whole)

    def test_the_sample_with_find_package_configures(self):
        self.install()
        write(f"{self.project}/client.cpp", blocks("README.md", "cpp")[0])
        write(f"{self.project}/CMakeLists.txt",
              "cmake_minimum_required(VERSION 3.25)\nproject(client LANGUAGES CXX)\n"
              "add_executable(your_client client.cpp)\n" + blocks("docs/install.md", "cmake")[0])
        self.shell(f'cmake -G Ninja -S "{self.project}" -B "{self.project}/build"')


if __name__ == "__main__":
    results.main("DocumentCommandsTest", RESULTS)
