"""What the documents state, compared with the tree: links, code, commands, exit statuses, log lines.

usage: pages_test.py RESULTS REPOSITORY BUILD

RESULTS gets the numbers of tests, as GoogleTest writes them. Nothing is read from a network.
"""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import results

RESULTS, REPOSITORY, BUILD = sys.argv[1:]
sys.path.insert(0, os.path.join(REPOSITORY, "scripts", "docs"))

from pages import anchors_of, blocks_of, documents, links_of, parts  # noqa: E402


def read(path):
    with open(os.path.join(REPOSITORY, path), encoding="utf-8") as file:
        return file.read()


def sources(*folders):
    for top in folders:
        for folder, _, names in os.walk(os.path.join(REPOSITORY, top)):
            for name in sorted(names):
                if name.endswith((".h", ".cpp")):
                    yield read(os.path.join(folder, name))


DOCUMENTS = {path: read(path) for path in documents(REPOSITORY)}
BLOCKS = [(path, block) for path, text in DOCUMENTS.items() for block in blocks_of(text)]
TROUBLE = DOCUMENTS["docs/troubleshooting.md"]


def joined(literals):
    """The text of string literals that stand beside each other."""
    return "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', literals))


class LinksTest(unittest.TestCase):
    def test_each_leads_to_a_file_and_a_heading(self):
        count = 0
        for path, text in DOCUMENTS.items():
            for link in links_of(text):
                if re.match(r"[a-z]+:", link.target):
                    continue
                count += 1
                with self.subTest(f"{path}:{link.line}: {link.target}"):
                    file, _, anchor = link.target.partition("#")
                    target = os.path.normpath(os.path.join(os.path.dirname(path), file)) if file else path
                    self.assertTrue(os.path.exists(os.path.join(REPOSITORY, target)), "no such file")
                    if anchor:
                        self.assertIn(anchor, anchors_of(read(target)))
        self.assertGreater(count, 100)

    def test_each_page_is_reached_from_the_readme(self):
        reached, waiting = set(), ["README.md"]
        while waiting:
            path = waiting.pop()
            reached.add(path)
            for link in links_of(DOCUMENTS[path]):
                target = os.path.normpath(os.path.join(os.path.dirname(path),
                                                       link.target.partition("#")[0]))
                if target in DOCUMENTS and target not in reached:
                    waiting.append(target)
        self.assertEqual({path for path in DOCUMENTS if path.startswith("docs/")} - reached, set())


class CodeTest(unittest.TestCase):
    def test_each_kind_of_block_is_tested_in_some_way(self):
        kinds = {"", "console", "cmake", "cpp", "cpp fragment", "cpp excerpt", "json", "text"}
        for path, block in BLOCKS:
            self.assertIn(block.kind, kinds, f"{path}:{block.line}")

    def test_each_program_is_built(self):
        programs = []
        for path in DOCUMENTS:
            of_page = [block for each, block in BLOCKS if each == path and block.kind == "cpp"]
            for number, block in enumerate(of_page):
                self.assertIn("int main(", block.text, f'{path}:{block.line}: is it a "cpp fragment"?')
                programs.append((path, str(number)))
        built = re.findall(r"^add_program_of\((\S+) (\d+) ", read("tests/end_to_end/CMakeLists.txt"), re.M)
        self.assertEqual(sorted(programs), sorted(built))

    def test_each_excerpt_stands_in_the_tree(self):
        lines = "\n".join(sources("vel", "bus", "base", "platform", "pen", "tests"))
        tree = re.sub(r"\s+", " ", lines)
        for path, block in BLOCKS:
            if block.kind == "cpp excerpt":
                self.assertIn(re.sub(r"\s+", " ", block.text.strip()), tree, f"{path}:{block.line}")

    def test_each_excerpt_of_the_guide_for_new_operations_stands_in_the_file_that_its_chapter_names(self):
        guide = "docs/adding-an-operation.md"
        lines = DOCUMENTS[guide].split("\n")
        count = 0
        for path, block in BLOCKS:
            if path == guide and block.kind == "cpp excerpt":
                # Its text begins below a fence; the sentence before it ends with the name.
                above = "\n".join(lines[:block.line - 2]).split("\n## ")[-1]
                named = [name for name in re.findall(r"`([\w/]+\.(?:h|cpp))`", above)
                         if os.path.isfile(os.path.join(REPOSITORY, name))]
                count += 1
                with self.subTest(f"{path}:{block.line}"):
                    self.assertTrue(named, "no file is named above")
                    self.assertIn(re.sub(r"\s+", " ", block.text.strip()),
                                  re.sub(r"\s+", " ", read(named[-1])), named[-1])
        self.assertGreater(count, 8)

    def test_json_is_json(self):
        for path, block in BLOCKS:
            if block.kind == "json":
                with self.subTest(f"{path}:{block.line}"):
                    text = block.text.strip()
                    json.loads(text if text[0] in "{[" else "{" + text + "}")


class CMakeTest(unittest.TestCase):
    """The samples of CMake, as projects beside a folder velproxy with this tree."""

    def configure(self, text):
        cache = dict(re.findall(r"^(CMAKE_[A-Z_]+):\w+=(.*)$", read(os.path.join(BUILD, "CMakeCache.txt")), re.M))
        if "project(" not in text:
            text = ("cmake_minimum_required(VERSION 3.25)\nproject(client LANGUAGES CXX)\n"
                    "add_executable(your_client client.cpp)\n" + text)
        with tempfile.TemporaryDirectory() as folder:
            os.symlink(REPOSITORY, os.path.join(folder, "velproxy"))
            for source in re.findall(r"\w+\.cpp", text):
                with open(os.path.join(folder, source), "w", encoding="utf-8") as file:
                    file.write("int main() {}\n")
            with open(os.path.join(folder, "CMakeLists.txt"), "w", encoding="utf-8") as file:
                file.write(text.replace("/path/of/velproxy", REPOSITORY))
            finished = subprocess.run(
                [cache["CMAKE_COMMAND"], "-G", cache["CMAKE_GENERATOR"], "-S", folder, "-B", folder + "/build",
                 "-DCMAKE_CXX_COMPILER=" + cache["CMAKE_CXX_COMPILER"]],
                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
            self.assertEqual(finished.returncode, 0, finished.stdout)

    def test_each_sample_configures(self):
        version = re.search(r"^project\(velproxy VERSION (\d+\.\d+)", read("CMakeLists.txt"), re.M)[1]
        count = 0
        for path, block in BLOCKS:
            if block.kind == "cmake":
                with self.subTest(f"{path}:{block.line}"):
                    if "find_package(velproxy" in block.text:
                        # install_tests build and run such a project.
                        self.assertIn(f"find_package(velproxy {version} REQUIRED)", block.text)
                    else:
                        self.configure(block.text)
                    count += 1
        self.assertGreater(count, 3)


class CommandsTest(unittest.TestCase):
    """Commands that a test does not run, because they build or take long: do they exist?"""

    def setUp(self):
        presets = json.loads(read("CMakePresets.json"))
        self.presets = {each["name"] for each in presets["configurePresets"] if not each.get("hidden")}
        self.cmake = ""
        for folder, folders, names in os.walk(REPOSITORY):
            folders[:] = [each for each in folders if each not in ("build", ".git")]
            self.cmake += "".join(read(os.path.join(folder, name)) for name in names
                                  if name == "CMakeLists.txt" or name.endswith(".cmake"))
        self.manuals = {name: read(f"docs/{name}.1").replace("\\-", "-") for name in ("velsim", "velctl")}

    def check(self, words):
        program = words[0]
        options = [word.split("=")[0] for word in words[1:] if word.startswith("--")]
        if program in ("cmake", "ctest"):
            for option, value in zip(words, words[1:]):
                if option == "--preset":
                    self.assertIn(value, self.presets)
            if "--target" in words:
                for target in words[words.index("--target") + 1:]:
                    if target.startswith("-"):
                        break
                    self.assertTrue(re.search(rf"\b{re.escape(target)}\b", self.cmake), target)
            return
        name = os.path.basename(program)
        if program.startswith("build/") and program.count("/") > 1:
            preset, *rest = program.split("/")[1:]
            self.assertIn(preset, self.presets)
            self.assertTrue(os.path.isdir(os.path.join(REPOSITORY, *rest[:-1])), program)
            self.assertTrue(re.search(rf"\b{re.escape(name)}\b", self.cmake), name)
        if name in self.manuals:
            for option in options:
                self.assertTrue(option in self.manuals[name], option)
        elif not program.startswith("build/") and os.path.isfile(os.path.join(REPOSITORY, program)):
            self.assertTrue(os.access(os.path.join(REPOSITORY, program), os.X_OK), program)
            text = read(program)
            for option in options:
                self.assertTrue(option in text, f"{program} does not know {option}")
        elif program.startswith(("./", "scripts/", "benchmarks/")):
            self.fail(f"there is no {program}")

    def test_scripts_targets_presets_and_options_exist(self):
        count = 0
        for path, block in BLOCKS:
            if block.kind not in ("", "console"):
                continue
            for line in block.text.splitlines():
                if block.kind == "console" and not line.startswith("$ "):
                    continue
                line = re.sub(r"  +\S.*$", "", line.lstrip("$ "))
                for part in re.split(r"\s*(?:&&|\|\||[;|&])\s*", line):
                    command = [each for each in part.split() if not re.match(r"\w+=", each)]
                    if command:
                        with self.subTest(f"{path}:{block.line}: {line}"):
                            self.check(command)
                            count += 1
        self.assertGreater(count, 50)

    def test_those_inside_sentences_too(self):
        count = 0
        for path, text in DOCUMENTS.items():
            prose = "\n".join(line for _, line in parts(text)[1])
            for span in re.findall(r"(?<!`)`([^`]+)`(?!`)", prose):
                is_file = re.search(r"^\S+(?:/|\.(?:txt|h|cpp|html|json))$", span)
                if re.match(r"(\./|scripts/|benchmarks/|build/)|(cmake|ctest|velctl|velsim)\s", span) and not is_file:
                    with self.subTest(f"{path}: {span}"):
                        self.check(span.split())
                        count += 1
        self.assertGreater(count, 100)


class TroubleshootingTest(unittest.TestCase):
    def rows(self, heading):
        """The rows of the table below a heading, as lists of cells."""
        part = TROUBLE.split(f"# {heading}\n")[1].split("\n#")[0]
        return [[cell.strip() for cell in line.strip("|").split(" | ")]
                for line in part.splitlines() if line.startswith("| ")][1:]

    def test_has_every_exit_status_of_velctl(self):
        text = read("vel/apps/local/velctl/exit_codes.h")
        numbers = dict(re.findall(r"(kExit\w+) = (\d+)", text))
        table = text.split("kExitMeanings[] = {")[1].split("};")[0]
        expected = []
        for code, rest in re.findall(r"\{(kExit\w+), (.*?)\}", table, re.S):
            name, meaning = re.match(r'"([^"]*)",\s*(.*)', rest, re.S).groups()
            expected.append([numbers[code], f"`{name}`", joined(meaning)])
        self.assertEqual([row[:3] for row in self.rows("velctl")], expected)
        self.assertEqual(len(expected), len(numbers))

    def check_comments(self, heading, path):
        expected = re.findall(r"kExit\w+ = (\d+),\s*// (.*)", read(path))
        self.assertGreater(len(expected), 3)
        self.assertEqual([tuple(row[:2]) for row in self.rows(heading)], expected)

    def test_has_every_exit_status_of_velsim(self):
        self.check_comments("velsim", "vel/apps/local/velsim/exit_codes.h")

    def test_has_every_exit_status_of_penpad(self):
        self.check_comments("penpad", "examples/penpad/exit_codes.h")

    def test_has_every_error_line_of_the_log(self):
        lines = {"cannot log to ..."}
        self.assertIn('"cannot log to "', read("platform/log.cpp"))
        for text in sources("vel/apps/local/velproxy"):
            lines |= set(re.findall(r'VEL_ERROR(?:_FORMAT)?\(\s*"([^"]*)"', text))
            lines |= set(re.findall(r'VEL_ERROR_AT\([^,()]*,[^,()]*,\s*"([^"]*)"', text))
        for text in sources("bus/dbus"):
            for call in re.findall(r"\blogError\((.*?)\);", text, re.S):
                parts = [part.strip() for part in call.split(" + ")]
                lines.add("".join(part[1:-1] if part[0] == '"' else "..." for part in parts))
        lines -= {"const std::string& text", "..."}
        self.assertGreater(len(lines), 25)
        described = [re.findall(r"`([^`]*)`", row[0])[0] for row in self.rows("By line of the log")]
        self.assertEqual(sorted(described), sorted(lines))

    def test_has_every_reason_of_the_library(self):
        reasons = set()
        for text in sources("vel/apps/local/velproxy"):
            reasons |= set(re.findall(r'refuse\("([^"]*)"', text))
            reasons |= set(re.findall(r'fail\((?:VelError::)?Kind::\w+,\s*"([^"]*)"\)', text))
            reasons |= set(re.findall(r'k(?:NoServiceOnTheBus|BusUnreachable)\[\] = "([^"]*)"', text))
            reasons |= set(re.findall(r'return fail\("([^"]*)"', text))
        self.assertGreater(len(reasons), 15)
        described = {row[0] for row in self.rows("By reason")}
        self.assertEqual(reasons - described, set())


class ThreadsTest(unittest.TestCase):
    def test_each_thread_that_a_page_or_a_picture_names_is_one_of_the_sources(self):
        tree = "\n".join(sources("bus", "vel", "platform"))
        text = DOCUMENTS["docs/threading.md"] + read("docs/threading.svg")
        names = set(re.findall(r"\b(?:qxbus-[a-z]+|vel-task)\b", text))
        self.assertGreater(len(names), 4)
        for name in names:
            self.assertTrue(f'"{name}"' in tree, name)


class SiteTest(unittest.TestCase):
    @unittest.skipUnless(shutil.which("doxygen") and shutil.which("cmark-gfm"),
                         "scripts/install-dependencies --docs")
    def test_is_built_without_a_warning_and_each_link_leads_somewhere(self):
        with tempfile.TemporaryDirectory() as folder:
            built = subprocess.run([os.path.join(REPOSITORY, "scripts", "build-docs"), folder + "/site"],
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
            self.assertEqual(built.returncode, 0, built.stdout)
            with open(folder + "/site/index.html", encoding="utf-8") as file:
                self.assertIn("session.svg", file.read())


class PicturesTest(unittest.TestCase):
    def check(self, script, *arguments):
        finished = subprocess.run([os.path.join(REPOSITORY, "scripts", script), "--check", *arguments],
                                  capture_output=True, text=True, check=False)
        self.assertEqual(finished.returncode, 0, finished.stderr)

    def test_the_architecture_is_that_of_the_tree(self):
        self.check("architecture-picture")

    def test_the_session_of_the_readme_is_what_the_programs_print(self):
        self.check("readme-picture", BUILD)


if __name__ == "__main__":
    results.main("PagesTest", RESULTS)
