"""Measures: the peers of benchmarks/peers against one service, and the programs that measure inside
one process. The results are dictionaries, as docs/performance.md describes them."""

import glob
import json
import math
import os
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile

# The reference of every column, on the same processors and in the same round.
REFERENCE = ("daemon", "libdbus")

# The name in the report, the program, further environment.
PEERS = {
    "velproxy": ("velproxy_peer", {}),
    "velproxy, log off": ("velproxy_peer", {"QX_LOG_LEVEL": "off"}),
    "bus layer": ("qxbus_peer", {}),
    "libdbus": ("libdbus_peer", {}),
    "sd-bus": ("sdbus_peer", {}),
    "sdbus-c++": ("sdbuscpp_peer", {}),
    "QtDBus": ("qtdbus_peer", {}),
    "GDBus": ("gdbus_peer", {}),
    "bare socket": ("bare_peer", {}),
}
WITHOUT_DIRECT = {"sdbus-c++"}

# The workload of a column, and how many calls or events a round has.
COLUMNS = {
    "W1": ("call", 6000),
    "W2": ("list", 1200),
    "W3": ("events", 12000),
    "W5": ("threads", 1500),
    "first": ("first", 15),  # processes
}
RATES = {"W3", "W5"}
# A list costs this peer as much as twenty of another.
SLOW = {("sdbus-c++", "W2"): 10}
QUICK = {"W1": 1000, "W2": 200, "W3": 3000, "W5": 200, "first": 3}

ROUTES = ("daemon", "broker", "direct", "direct-libdbus")

SECONDS_PER_RUN = 120

CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>{address}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">1000000000</limit>
</busconfig>
"""


class Failed(Exception):
    """A program has not done its work; the text says why."""


class Buses:
    """The daemons and services of a comparison, on some processors, until the block ends."""

    def __init__(self, build, cpus):
        self.programs = os.path.join(build, "benchmarks", "peers")
        self.cpus = cpus
        self.folder = tempfile.mkdtemp(prefix="velproxy-bench.")
        self.started = []
        self.addresses = {}
        self.errors = self.path("errors")
        self.environment = dict(os.environ, QX_APP_DATA=os.path.join(self.folder, "data"))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.started):
            process.send_signal(signal.SIGTERM)
            process.wait()
            process.stdin.close()
            process.stdout.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def _start(self, *words):
        """Starts a program that writes one line when it is ready."""
        with open(self.errors, "w", encoding="utf-8") as errors:
            process = subprocess.Popen(
                ["taskset", "--cpu-list", self.cpus, *words], stdin=subprocess.PIPE,
                stdout=subprocess.PIPE, stderr=errors, text=True, env=self.environment)
        self.started.append(process)
        if not process.stdout.readline():
            with open(self.errors, encoding="utf-8") as errors:
                reason = "; ".join(errors.read().split("\n")).strip("; ")
            raise Failed(reason or f"{os.path.basename(words[0])} has ended")

    def _start_own(self, program, *arguments):
        self._start(os.path.join(self.programs, program), *arguments)

    def start(self, route):
        path = self.path(route)
        if route in ("daemon", "broker"):
            address = "unix:path=" + path
            if route == "broker":
                self._start_own("broker_controller", path)
            else:
                configuration = self.path("daemon.conf")
                with open(configuration, "w", encoding="utf-8") as file:
                    file.write(CONFIGURATION.format(address=address))
                self._start("dbus-daemon", "--config-file=" + configuration, "--nofork",
                            "--print-address")
            self._start_own("libdbus_service", address)
        elif route == "bare":
            address = "direct:" + path
            self._start_own("bare_peer", "--serve", path)
        else:
            address = "direct:" + path
            self._start_own("velproxy_service" if route == "direct" else "libdbus_service", address)
        self.addresses[route] = address

    def run(self, route, peer, workload, count):
        program, environment = PEERS[peer]
        address = self.addresses["bare" if peer == "bare socket" else route]
        words = ["taskset", "--cpu-list", self.cpus, os.path.join(self.programs, program), address,
                 workload, str(count)]
        try:
            result = subprocess.run(
                words, env=dict(self.environment, **environment), stdout=subprocess.PIPE,
                stderr=subprocess.PIPE, text=True, timeout=SECONDS_PER_RUN, check=False)
        except subprocess.TimeoutExpired as error:
            raise Failed(f"no result within {SECONDS_PER_RUN} s") from error
        if result.returncode != 0:
            reason = result.stderr.strip().splitlines()
            raise Failed(reason[-1] if reason else f"exit status {result.returncode}")
        return json.loads(result.stdout.splitlines()[-1])


def is_measured(route, peer):
    if peer == "bare socket":
        return route == "daemon"
    return not (route.startswith("direct") and peer in WITHOUT_DIRECT)


def percentile(values, part):
    return sorted(values)[math.ceil(part * len(values)) - 1]


def one_round(buses, route, peer, column, counts):
    """The figure of one round, and what its 99th percentile is made of: a value of the program, or
    a time for each process."""
    workload = COLUMNS[column][0]
    count = counts[column]
    if column == "first":
        times = [buses.run(route, peer, workload, 1)["seconds"] for _ in range(count)]
        return statistics.median(times), times
    count = max(count // SLOW.get((peer, column), 1), 1)
    measured = buses.run(route, peer, workload, count)
    late = [measured["p99"]] if "p99" in measured else []
    if column in RATES:
        return measured["count"] / measured["seconds"], late
    return measured["median"], late


def compare_on(build, cpus, routes, peers, columns, rounds, counts, skipped):
    """The rows of one set of processors. Peers and routes take turns; each round begins with
    another one."""
    figures = {}
    with Buses(build, cpus) as buses:
        present = []
        for route in [*routes, "bare"]:
            try:
                buses.start(route)
                present.append(route)
            except Failed as error:
                if route == REFERENCE[0]:
                    raise
                skipped.append({"cpus": cpus, "what": route, "reason": str(error)})
        turns = [(route, peer) for peer in peers for route in routes
                 if route in present and is_measured(route, peer)]
        for column in columns:
            for number in range(rounds):
                start = number * 7 % len(turns)
                for route, peer in turns[start:] + turns[:start]:
                    try:
                        figures.setdefault((route, peer, column), []).append(
                            one_round(buses, route, peer, column, counts))
                    except Failed as error:
                        if (route, peer) == REFERENCE:
                            raise
                        figures.setdefault((route, peer, column), []).append(None)
                        what = f"{peer}, {route}, {column}"
                        skipped.append({"cpus": cpus, "what": what, "reason": str(error)})
                print(f"  processors {cpus}, {column}: round {number + 1} of {rounds}",
                      file=sys.stderr)
    return [row(cpus, place, measured, figures[(*REFERENCE, place[2])])
            for place, measured in figures.items() if any(measured)]


def row(cpus, place, measured, reference):
    route, peer, column = place
    pairs = [(own, base) for own, base in zip(measured, reference) if own]
    values = [own[0] for own, _ in pairs]
    # Of each round first, so that a machine whose speed drifts favours no peer.
    ratios = [own[0] / base[0] for own, base in pairs]
    late = [time for own, _ in pairs for time in own[1]]
    if column == "first":
        p99 = percentile(late, 0.99)
    else:
        p99 = statistics.median(late) if late else None
    return {
        "cpus": cpus,
        "route": route,
        "peer": peer,
        "column": column,
        "unit": "per second" if column in RATES else "seconds",
        "median": statistics.median(values),
        "p99": p99,
        "ratio": statistics.median(ratios),
        "ratio_least": min(ratios),
        "ratio_most": max(ratios),
        "rounds": values,
    }


# --- Inside one process --------------------------------------------------------------------------

# The program, and whether it has one thread, which then stays on one processor.
PROGRAMS = {"operation": True, "pen": True, "codec": True, "log": False}
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}

GROWTH = {
    "records": "records in a list",
    "sessions": "VMs, a call for each",
    "callbacks": "callbacks of one event",
    "threads": "threads, 100 calls each",
    "megabytes": "MB in a reply",
}
# The same reply while the C library keeps its memory, as it does for blocks below 32 MiB.
KEPT_MEMORY = {"GLIBC_TUNABLES": "glibc.malloc.mmap_max=0:glibc.malloc.trim_threshold=4000000000"
                                 ":glibc.malloc.arena_max=1"}


def run_program(build, name, least_seconds, *options, cpus=None, environment=None):
    """The entries that Google Benchmark writes. A repetition lasts least_seconds or more."""
    with tempfile.TemporaryDirectory(prefix="velproxy-bench.") as folder:
        out = os.path.join(folder, "out.json")
        words = [os.path.join(build, "benchmarks", name + "_bench"), "--benchmark_out=" + out,
                 "--benchmark_out_format=json", f"--benchmark_min_time={least_seconds}", *options]
        if cpus:
            words = ["taskset", "--cpu-list", cpus, *words]
        result = subprocess.run(words, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                                env=dict(os.environ, **(environment or {})), check=False)
        if result.returncode != 0:
            raise Failed(f"{name}_bench: {result.stderr.strip()}")
        with open(out, encoding="utf-8") as file:
            entries = json.load(file)["benchmarks"]
    for entry in entries:
        if entry.get("error_occurred"):
            raise Failed(f"{name}_bench: {entry['name']}: {entry['error_message']}")
    return entries


def in_process(build, is_quick):
    rows = {}
    for program, has_one_thread in PROGRAMS.items():
        print(f"  {program}_bench", file=sys.stderr)
        cpus = "0" if has_one_thread else None
        for entry in run_program(build, program, 0.02 if is_quick else 0.2, cpus=cpus):
            threads = entry["threads"]
            name = entry["run_name"].split("/")[0] + (f", {threads} threads" if threads > 1 else "")
            time = entry["real_time" if "real_time" in entry["run_name"] else "cpu_time"]
            found = rows.setdefault((program, name), {"program": program, "name": name})
            if entry["aggregate_name"] == "median":
                found["nanoseconds"] = time * NANOSECONDS[entry["time_unit"]]
                if "allocations" in entry:
                    found["allocations"] = entry["allocations"]
            elif entry["aggregate_name"] == "cv":
                found["variation"] = time
    return list(rows.values())


def at(points, size):
    """The time of a size between two that were measured."""
    for (low, early), (high, late) in zip(points, points[1:]):
        if low <= size <= high:
            part = (size - low) / (high - low)
            return early + (late - early) * part
    return points[-1][1]


def curve(build, is_quick, name, only, environment=None):
    print(f"  growth_bench: {name}", file=sys.stderr)
    entries = run_program(build, "growth", 0.02 if is_quick else 0.1, "--benchmark_filter=^" + only,
                          "--benchmark_repetitions=5", "--benchmark_report_aggregates_only=true",
                          environment=environment)
    points = [(int(entry["run_name"].split("/")[1]),
               entry["real_time"] * NANOSECONDS[entry["time_unit"]] / 1e9)
              for entry in entries if entry["aggregate_name"] == "median"]
    most, longest = points[-1]
    return {"name": name, "points": points, "last_doubling": longest / at(points, most / 2),
            "last_tenfold": longest / at(points, most / 10)}


def growth(build, is_quick):
    return [*(curve(build, is_quick, name, name) for name in GROWTH),
            curve(build, is_quick, "megabytes, memory kept", "megabytes", KEPT_MEMORY)]


# --- The machine ---------------------------------------------------------------------------------

PACKAGES = {"libdbus": "libdbus-1-3", "sd-bus": "libsystemd0", "sdbus-c++": "libsdbus-c++1",
            "QtDBus": "libqt5dbus5", "GDBus": "libglib2.0-0", "dbus-broker": "dbus-broker"}


def version_of(package):
    result = subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", package],
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                            check=False)
    return result.stdout.split("-")[0] if result.returncode == 0 else "unknown"


def machine():
    model = "unknown"
    if glob.glob("/proc/cpuinfo"):
        with open("/proc/cpuinfo", encoding="utf-8") as file:
            names = [line.split(":")[1].strip() for line in file if line.startswith("model name")]
        model = names[0] if names else model
    compiler = subprocess.run(["c++", "--version"], stdout=subprocess.PIPE, text=True, check=False)
    return {
        "processors": os.cpu_count(),
        "model": model,
        "system": f"{os.uname().sysname} {os.uname().release.split('-')[0]}",
        "compiler": compiler.stdout.splitlines()[0] if compiler.stdout else "unknown",
        "load": os.getloadavg()[0],
        "versions": {name: version_of(package) for name, package in PACKAGES.items()},
    }
