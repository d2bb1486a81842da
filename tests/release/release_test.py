"""scripts/release: the versions and changes that it writes, and the archive."""

import hashlib
import importlib.machinery
import importlib.util
import os
import pathlib
import subprocess
import sys
import tarfile
import tempfile
import unittest

import results

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SCRIPT = ROOT / "scripts/release"

loader = importlib.machinery.SourceFileLoader("release", str(SCRIPT))
release = importlib.util.module_from_spec(importlib.util.spec_from_loader("release", loader))
loader.exec_module(release)

CMAKE = "project(velproxy VERSION 0.1.0 LANGUAGES CXX)\n"
CHANGES = "# Changes\n\n## [Unreleased]\n\n### Fixed\n\n- A lost event.\n\n## [0.0.9] - 2026-01-01\n"


class Prepare(unittest.TestCase):
    def refusal(self, changes, version):
        with self.assertRaises(release.Refused) as refused:
            release.prepared(CMAKE, changes, version, "2026-11-22")
        return str(refused.exception)

    def test_writes_the_version_and_closes_the_changes(self):
        cmake, changes = release.prepared(CMAKE, CHANGES, "0.2.0", "2026-11-22")

        self.assertEqual(cmake, "project(velproxy VERSION 0.2.0 LANGUAGES CXX)\n")
        self.assertIn("## [Unreleased]\n\n## [0.2.0] - 2026-11-22\n\n### Fixed\n\n- A lost event.\n", changes)

    def test_the_first_release_may_have_the_version_that_stands_there(self):
        self.assertEqual(release.prepared(CMAKE, CHANGES, "0.1.0", "2026-11-22")[0], CMAKE)

    def test_refuses_what_is_no_version(self):
        self.assertIn("not a version", self.refusal(CHANGES, "1.2"))

    def test_refuses_a_version_that_is_out(self):
        self.assertIn("already", self.refusal(CHANGES + "\n## [0.2.0] - 2026-02-02\n", "0.2.0"))

    def test_refuses_an_earlier_version(self):
        self.assertIn("less than", self.refusal(CHANGES, "0.0.10"))

    def test_refuses_a_release_without_a_change(self):
        self.assertIn("no change", self.refusal("# Changes\n\n## [Unreleased]\n\n## [0.0.9] - 2026-01-01\n", "0.2.0"))

    def test_the_files_of_today_have_their_marks(self):
        cmake, changes = release.prepared((ROOT / "CMakeLists.txt").read_text(), (ROOT / "CHANGELOG.md").read_text(),
                                          "999.0.0", "2026-11-22")
        self.assertEqual(release.version_in(cmake), "999.0.0")
        self.assertIn("## [999.0.0] - 2026-11-22", changes)


@unittest.skipUnless((ROOT / ".git").exists(), "the sources have no history here")
class Archive(unittest.TestCase):
    def test_two_checkouts_and_two_users_give_the_same_bytes(self):
        with tempfile.TemporaryDirectory() as folder:
            clone = pathlib.Path(folder) / "clone"
            environment = dict(os.environ, GIT_CONFIG_COUNT="1", GIT_CONFIG_KEY_0="safe.directory",
                               GIT_CONFIG_VALUE_0="*")
            subprocess.run(["git", "clone", "--quiet", str(ROOT), str(clone)], check=True, env=environment)
            sums = []
            for tree, mask, lines in ((ROOT, 0o022, "false"), (clone, 0o077, "true")):
                environment.update(GIT_CONFIG_COUNT="2", GIT_CONFIG_KEY_1="core.autocrlf", GIT_CONFIG_VALUE_1=lines)
                place = pathlib.Path(folder) / str(mask)
                place.mkdir()
                said = subprocess.run([SCRIPT if tree == ROOT else tree / "scripts/release", "archive", place],
                                      check=True, stdout=subprocess.PIPE, text=True, env=environment,
                                      preexec_fn=lambda: os.umask(mask)).stdout
                path = next(place.iterdir())
                sums.append(hashlib.sha256(path.read_bytes()).hexdigest())
                self.assertEqual(said, f"{sums[-1]}  {path}\n")
            self.assertEqual(sums[0], sums[1])
            with tarfile.open(path) as tar:
                names = tar.getnames()
            self.assertTrue(any(name.endswith("/CMakeLists.txt") for name in names))
            self.assertFalse(any("/build/" in name for name in names))


if __name__ == "__main__":
    results.main("Release", sys.argv[1])
