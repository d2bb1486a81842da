#!/usr/bin/env python3
"""Runs the peers of benchmarks/peers in turn and reports each as a ratio to libdbus.

The reference of every column is libdbus's own blocking call through dbus-daemon on the same
processors in the same round; the ratio of a round is taken before the median over the rounds, so a
machine whose speed drifts does not favour anybody. A ratio of times is better when it is smaller, a
ratio of event rates when it is larger.
"""

import argparse
import json
import os
import shutil
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import time

REFERENCE = ("daemon", "libdbus")

# The name in the report, the program, further environment.
PEERS = {
    "velproxy": ("velproxy_peer", {}),
    "velproxy, log off": ("velproxy_peer", {"QX_LOG_LEVEL": "off"}),
    "libdbus": ("libdbus_peer", {}),
    "sd-bus": ("sdbus_peer", {}),
    "sdbus-c++": ("sdbuscpp_peer", {}),
    "QtDBus": ("qtdbus_peer", {}),
    "GDBus": ("gdbus_peer", {}),
    "bare socket": ("bare_peer", {}),
}
WITHOUT_DIRECT = {"sdbus-c++"}

# What a column is called, the workload, how often, and which figure counts.
COLUMNS = {
    "W1": ("call", 6000, "a call of connectDevice"),
    "W2": ("list", 1200, "getDeviceList, 64 records of 808 bytes"),
    "W3": ("events", 12000, "events per second, records of 808 bytes"),
    "W5": ("threads", 1500, "calls per second of eight threads"),
    "first": ("first", 1, "connect and the first call of a process"),
}
RATES = {"W3", "W5"}

# The ways to the service. Direct, the service of ours and one of libdbus differ.
ROUTES = {
    "daemon": "through dbus-daemon, a libdbus service",
    "broker": "through dbus-broker, a libdbus service",
    "direct": "direct, our service",
    "direct-libdbus": "direct, a libdbus service",
}

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


class Bench:
    def __init__(self, build, cpus):
        self.programs = os.path.join(build, "bench", "peers")
        self.cpus = cpus
        self.folder = tempfile.mkdtemp(prefix="velproxy-bench.")
        self.started = []
        self.addresses = {}
        self.environment = dict(os.environ, QX_APP_DATA=os.path.join(self.folder, "data"))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.started):
            process.send_signal(signal.SIGTERM)
            process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def command(self, words):
        return ["taskset", "--cpu-list", self.cpus, *words]

    def start(self, words, **options):
        process = subprocess.Popen(
            self.command(words), stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
            env=self.environment, **options)
        self.started.append(process)
        return process

    def start_service(self, program, *arguments):
        process = self.start([os.path.join(self.programs, program), *arguments])
        line = process.stdout.readline()
        if line.strip() != "ready":
            raise RuntimeError(f"{program} does not start")

    def path(self, name):
        return os.path.join(self.folder, name)

    def start_daemon(self):
        address = "unix:path=" + self.path("daemon")
        configuration = self.path("daemon.conf")
        with open(configuration, "w", encoding="utf-8") as file:
            file.write(CONFIGURATION.format(address=address))
        daemon = self.start(["dbus-daemon", "--config-file=" + configuration, "--nofork",
                             "--print-address"])
        if not daemon.stdout.readline():
            raise RuntimeError("dbus-daemon does not start")
        self.start_service("libdbus_service", address)
        self.addresses["daemon"] = address

    def start_broker(self):
        path = self.path("broker")
        configuration = self.path("broker.conf")
        with open(configuration, "w", encoding="utf-8") as file:
            file.write(CONFIGURATION.format(address="unix:path=" + path))
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(path)
            listener.listen(64)

            def hand_over():
                os.dup2(listener.fileno(), 3)
                os.set_inheritable(3, True)

            self.start(["sh", "-c", "LISTEN_PID=$$ LISTEN_FDS=1 exec dbus-broker-launch "
                        f"--scope user --config-file {configuration}"],
                       preexec_fn=hand_over, close_fds=False, stderr=subprocess.DEVNULL)
        self.start_service("libdbus_service", "unix:path=" + path)
        self.addresses["broker"] = "unix:path=" + path

    def start_direct(self):
        address = "direct:" + self.path("direct")
        self.start_service("velproxy_service", address)
        self.addresses["direct"] = address
        address = "direct:" + self.path("direct-libdbus")
        self.start_service("libdbus_service", address)
        self.addresses["direct-libdbus"] = address

    def start_bare(self):
        path = self.path("bare")
        self.start_service("bare_peer", "--serve", path)
        self.addresses["bare"] = "direct:" + path

    def run(self, route, peer, column):
        program, environment = PEERS[peer]
        workload, count, _ = COLUMNS[column]
        address = self.addresses["bare" if peer == "bare socket" else route]
        result = subprocess.run(
            self.command([os.path.join(self.programs, program), address, workload, str(count)]),
            env=dict(self.environment, **environment), stdout=subprocess.PIPE, text=True,
            check=True)
        return json.loads(result.stdout.splitlines()[-1])


def figure(column, measured):
    if column in RATES:
        return measured["count"] / measured["seconds"]
    return measured["median"]


def routes_of(peer, routes):
    if peer == "bare socket":
        return ["daemon"]
    return [route for route in routes
            if not (route.startswith("direct") and peer in WITHOUT_DIRECT)]


def compare(bench, routes, peers, columns, rounds, repeats_of_first):
    """The measured figures: of each route, peer and column a list, one entry a round."""
    figures = {}
    for column in columns:
        for turn in range(rounds * (repeats_of_first if column == "first" else 1)):
            for peer in peers:
                for route in routes_of(peer, routes):
                    measured = bench.run(route, peer, column)
                    figures.setdefault((route, peer, column), []).append(
                        (figure(column, measured), measured["p99"]))
            print(f"  {column}: round {turn + 1}", file=sys.stderr)
    return figures


def summary(figures):
    rows = []
    for (route, peer, column), measured in figures.items():
        reference = [value for value, _ in figures[(*REFERENCE, column)]]
        values = [value for value, _ in measured]
        ratios = [value / base for value, base in zip(values, reference)]
        rows.append({
            "route": route,
            "peer": peer,
            "column": column,
            "unit": "per second" if column in RATES else "seconds",
            "median": statistics.median(values),
            "p99": statistics.median(late for _, late in measured),
            "ratio": statistics.median(ratios),
            "least": min(ratios),
            "most": max(ratios),
            "rounds": len(values),
        })
    return rows


def table(rows, routes, peers, columns):
    by_place = {(row["route"], row["peer"], row["column"]): row for row in rows}
    lines = []
    for route in routes:
        lines.append("")
        lines.append(f"{ROUTES[route]} (ratio to libdbus through dbus-daemon, least to most)")
        lines.append("".join(["  ", "peer".ljust(20),
                              *(column.ljust(22) for column in columns)]).rstrip())
        for peer in peers:
            cells = [by_place.get((route, peer, column)) for column in columns]
            if any(cells):
                shown = [f"{cell['ratio']:.2f}  ({cell['least']:.2f} - {cell['most']:.2f})".ljust(22)
                         if cell else "-".ljust(22) for cell in cells]
                lines.append("".join(["  ", peer.ljust(20), *shown]).rstrip())
    return "\n".join(lines)


def chart(rows, routes, columns, title):
    """Bars of the ratios, one group a column, one panel a route."""
    bar, gap, label, width = 14, 4, 150, 360
    order = list(PEERS)
    out = []
    y = 30
    for route in routes:
        for column in columns:
            cells = [row for row in rows if row["route"] == route and row["column"] == column]
            cells.sort(key=lambda row: order.index(row["peer"]))
            if not cells:
                continue
            better = "higher is better" if column in RATES else "lower is better"
            out.append(f'<text x="10" y="{y + 12}" class="head">{column}: {COLUMNS[column][2]}, '
                       f'{ROUTES[route]} ({better})</text>')
            y += 20
            most = max(max(row["ratio"] for row in cells), 1.0)
            for row in cells:
                length = width * min(row["ratio"] / most, 1.0)
                kind = "ours" if row["peer"].startswith("velproxy") else "other"
                out.append(f'<text x="{label - 8}" y="{y + bar - 3}" class="name">{row["peer"]}'
                           f'</text><rect x="{label}" y="{y}" width="{length:.1f}" height="{bar}" '
                           f'class="{kind}"/><text x="{label + length + 6:.1f}" y="{y + bar - 3}">'
                           f'{row["ratio"]:.2f}</text>')
                y += bar + gap
            one = label + width / most
            out.append(f'<line x1="{one:.1f}" x2="{one:.1f}" y1="{y - len(cells) * (bar + gap)}" '
                       f'y2="{y}" class="one"/>')
            y += 14
    style = ("text{font:12px sans-serif;fill:#222}.head{font-weight:bold}.name{text-anchor:end}"
             ".ours{fill:#1f6f8b}.other{fill:#b9c4c9}.one{stroke:#c0392b;stroke-dasharray:3 3}"
             "rect.page{fill:#fff}")
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="600" height="{y + 10}" '
            f'role="img"><title>{title}</title><style>{style}</style>'
            f'<rect class="page" width="600" height="{y + 10}"/>'
            f'<text x="10" y="18" class="head">{title}</text>' + "".join(out) + "</svg>\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default="build/release", help="the build tree")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--cpus", action="append",
                        help="processors, as taskset takes them; several times for several reports")
    parser.add_argument("--routes", default=",".join(ROUTES))
    parser.add_argument("--peers", default="|".join(PEERS), help="separated by |")
    parser.add_argument("--columns", default=",".join(COLUMNS))
    parser.add_argument("--json", help="write every figure to this file")
    parser.add_argument("--svg", help="write a chart of the first report to this file")
    arguments = parser.parse_args()
    routes = arguments.routes.split(",")
    peers = arguments.peers.split("|")
    columns = arguments.columns.split(",")
    cpu_lists = arguments.cpus or ["0", "0,1"]
    if REFERENCE[0] not in routes or REFERENCE[1] not in peers:
        parser.error("the reference, libdbus through the daemon, cannot be left out")

    reports = {}
    for cpus in cpu_lists:
        start = time.monotonic()
        with Bench(arguments.build, cpus) as bench:
            bench.start_daemon()
            if "broker" in routes:
                try:
                    bench.start_broker()
                except RuntimeError as error:
                    print(f"dbus-broker is left out: {error}", file=sys.stderr)
                    routes = [route for route in routes if route != "broker"]
            if any(route.startswith("direct") for route in routes):
                bench.start_direct()
            if "bare socket" in peers:
                bench.start_bare()
            rows = summary(compare(bench, routes, peers, columns, arguments.rounds, 4))
        count = len(cpus.split(","))
        title = f"Ratio to libdbus through dbus-daemon, {count} processor{'s' * (count > 1)}"
        print(f"\n{title}, {arguments.rounds} rounds, {time.monotonic() - start:.0f} s")
        print(table(rows, routes, peers, columns))
        reports[cpus] = rows
    if arguments.json:
        with open(arguments.json, "w", encoding="utf-8") as file:
            json.dump(reports, file, indent=1)
            file.write("\n")
    if arguments.svg:
        first = reports[cpu_lists[0]]
        with open(arguments.svg, "w", encoding="utf-8") as file:
            file.write(chart(first, routes, [c for c in columns if c in ("W1", "W2", "W3")],
                             f"velproxy beside its peers, {len(cpu_lists[0].split(','))} processor"))


if __name__ == "__main__":
    main()
