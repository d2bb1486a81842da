"""The build for macOS, compared with the one for Linux with the same C++ library, libc++.

usage: macos_test.py RESULTS LINUX ZIG FOLDER...

LINUX    a build folder with the shared library for Linux
FOLDER   a build folder of scripts/build-macos for each processor
"""

import functools
import importlib.machinery
import importlib.util
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import results
from object_files import exported, slots_in, undefined

RESULTS, LINUX, ZIG, *MACOS = sys.argv[1:]
ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
LIBRARY = "vel/apps/local/velproxy/libvelproxy"
PROGRAMS = ["vel/apps/local/velctl/velctl", "vel/apps/local/velsim/velsim"]
OBJECTS = ["vel/apps/local/velproxy", "bus/dbus"]
# Least version, and target of the compiler.
TARGETS = {"x86_64": ("10.15", "x86_64-macos.10.15"), "arm64": ("11.0", "aarch64-macos.11.0")}
CLASSES = ["qx::VelProxy", "QXBusMessage"]

loader = importlib.machinery.SourceFileLoader("interface", str(ROOT / "scripts/interface"))
interface = importlib.util.module_from_spec(importlib.util.spec_from_loader("interface", loader))
loader.exec_module(interface)


def output(command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def processor(folder):
    return folder.rstrip("/").rsplit("-", 1)[-1]


def library(folder):
    return str(next(path for path in sorted(pathlib.Path(folder, LIBRARY).parent.glob("libvelproxy*.*"))
                    if path.suffix in (".so", ".dylib")))


@functools.lru_cache(maxsize=None)
def slots(folder, name):
    """The symbols in the virtual table of a class, in the object that defines it."""
    for objects in OBJECTS:
        for path in sorted(pathlib.Path(folder, objects, "CMakeFiles").rglob("*.o")):
            if table := slots_in(str(path), name):
                return table
    raise AssertionError(f"no object in {folder} defines the virtual table of {name}")


def same_integers(symbol):
    """int64_t is a long on Linux and a long long on macOS: the two operations that take one."""
    return {"_ZN12QXBusMessage11appendInt64Ex": "_ZN12QXBusMessage11appendInt64El",
            "_ZN12QXBusMessage12appendUInt64Ey": "_ZN12QXBusMessage12appendUInt64Em"}.get(symbol, symbol)


def is_public(symbol):
    """Whether it is no function of a class in VelProxy: those are private and inline, and each compiler
    makes the ones that it likes."""
    nested = re.match(r"_ZN2qx8VelProxy(\d+)", symbol)
    rest = symbol[nested.end() + int(nested.group(1)):] if nested else ""
    return not re.match("[CD][0-2]E", rest) and "_ZNSt3__17forward" not in symbol


@functools.lru_cache(maxsize=None)
def linux_layouts():
    """The records on Linux: a list of (record, size, alignment, [(field, offset)])."""
    layouts = []
    for line in interface.records("clang++", ["-stdlib=libc++"]):
        if heading := re.fullmatch(r"(\S+): (\d+) bytes, aligned to (\d+)", line):
            layouts.append((heading.group(1), int(heading.group(2)), int(heading.group(3)), []))
        # Deeper fields have more blanks.
        elif field := re.fullmatch(r" *(\d+) \S.* (\w+)", line):
            layouts[-1][3].append((field.group(2), int(field.group(1))))
    return layouts


def assertions(layouts):
    """A source that a compiler refuses unless it lays out the records so."""
    lines = ["#include <cstddef>", '#include "vel/apps/local/velproxy/vel_proxy.h"']
    for record, size, alignment, fields in layouts:
        if record in CLASSES:
            # Members of the C++ library, whose sizes differ from system to system.
            continue
        lines.append(f'static_assert(sizeof({record}) == {size} && alignof({record}) == {alignment}, "{record}");')
        lines += [f'static_assert(offsetof({record}, {field}) == {offset}, "{record}::{field}");'
                  for field, offset in fields]
    return lines


def compiled(lines, target):
    """The exit status and the messages of the compiler for macOS."""
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder, "layouts.cpp")
        source.write_text("\n".join([*lines, ""]))
        done = subprocess.run([ZIG, "c++", f"--target={target}", "-std=c++17", "-Wno-invalid-offsetof", f"-I{ROOT}",
                               "-c", str(source), "-o", str(source.with_suffix(".o"))],
                              check=False, stderr=subprocess.PIPE, text=True)
        return done.returncode, done.stderr


def of_each_build(test):
    @functools.wraps(test)
    def run(self):
        for folder in MACOS:
            with self.subTest(processor(folder)):
                test(self, folder)
    return run


class MacosBuild(unittest.TestCase):
    maxDiff = None

    @of_each_build
    def test_is_mach_o_for_its_processor_and_the_least_version_of_macos(self, folder):
        name = processor(folder)
        for file in [library(folder), *(f"{folder}/{program}" for program in PROGRAMS)]:
            headers = output(["llvm-objdump", "--macho", "--private-headers", file])
            self.assertRegex(headers, "MH_MAGIC_64 +" + name.upper())
            self.assertIn(f"minos {TARGETS[name][0]}\n", headers)

    @of_each_build
    def test_the_library_is_found_by_the_path_of_its_user(self, folder):
        headers = output(["llvm-objdump", "--macho", "--private-headers", library(folder)])
        names = re.findall(r"cmd LC_(ID|LOAD)_DYLIB\n.*\n +name (\S+)", headers)
        self.assertEqual([name for kind, name in names if kind == "ID"], ["@rpath/libvelproxy.0.dylib"])
        self.assertLessEqual({name for kind, name in names if kind == "LOAD"},
                             {"/usr/lib/libSystem.B.dylib",
                              "@rpath/QtGui.framework/Versions/5/QtGui"})

    @of_each_build
    def test_exports_what_the_library_for_linux_exports(self, folder):
        here = [same_integers(symbol) for symbol in exported(library(folder)) if is_public(symbol)]
        there = [symbol for symbol in exported(library(LINUX)) if is_public(symbol)]
        self.assertGreater(len(there), 100)
        self.assertEqual(sorted(here), sorted(there))
        print(f"{processor(folder)}: {len(here)} exported symbols, library of "
              f"{os.path.getsize(library(folder))} bytes", file=sys.stderr)

    @of_each_build
    def test_has_the_virtual_tables_of_linux(self, folder):
        for name, least in zip(CLASSES, (101, 19)):
            with self.subTest(name):
                there = slots(LINUX, name)
                self.assertGreaterEqual(len(there), least)
                self.assertEqual([same_integers(symbol) for symbol in slots(folder, name)], there)

    @of_each_build
    def test_lays_records_out_as_linux_does(self, folder):
        layouts = linux_layouts()
        self.assertGreaterEqual(len(layouts), 13)
        self.assertGreater(sum(len(fields) for *_, fields in layouts), 60)
        target = TARGETS[processor(folder)][1]
        self.assertEqual(compiled(assertions(layouts), target), (0, ""))

    def test_would_show_a_record_that_differs(self):
        layouts = [("CommonDevice", 1, 1, [("devNumber", 1)])]
        status, messages = compiled(assertions(layouts), TARGETS["x86_64"][1])
        self.assertNotEqual(status, 0)
        self.assertIn("CommonDevice::devNumber", messages)

    @of_each_build
    def test_takes_from_the_system_what_macos_has(self, folder):
        system = set(re.findall(r"[\w$]+", pathlib.Path(
            os.path.dirname(ZIG), "lib/libc/darwin/libSystem.tbd").read_text()))
        # The C++ library, and Qt.
        others = re.compile(r"_(_ZN?K?St|_ZN?V?T[ISV]N?St|_ZT[ISV]N10__cxxabiv1|_ZTI[a-z]$|_Zn|_Zd|__cxa_|__gxx_"
                            r"|_ZTv0_n\d+_NSt3__1|_ZN12QTabletEvent|_ZT[ISV]P?K?[a-z]$)")
        wanted = undefined([library(folder)])
        self.assertGreater(len(wanted), 100)
        unknown = {symbol for symbol in wanted if symbol not in system and not others.match(symbol)}
        self.assertEqual(unknown, set())

    @of_each_build
    def test_waits_by_the_monotonic_clock(self, folder):
        wanted = undefined([str(path) for path in pathlib.Path(folder).rglob("*.a")])
        self.assertIn("_pthread_cond_timedwait_relative_np", wanted)
        # What the C++ library does for every wait with a deadline.
        self.assertEqual({symbol for symbol in wanted if "__do_timed_wait" in symbol}, set())

    @of_each_build
    def test_asks_the_system_who_the_other_end_of_a_socket_is(self, folder):
        wanted = undefined([library(folder)])
        self.assertLessEqual({"_getpeereid", "_getsockopt"}, wanted)


if __name__ == "__main__":
    results.main("MacosBuild", RESULTS)
