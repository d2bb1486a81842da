"""Measures what ./bench has built, and reports it."""

import argparse
import datetime
import json
import os
import sys
import time

import chart
import measure
import report

BEGIN, END = "<!-- measured: begin -->", "<!-- measured: end -->"
# Measured, for the forecast: a round on one set of processors, and the programs inside one process.
SECONDS_A_ROUND, SECONDS_IN_PROCESS = 50, 85
SECONDS_A_QUICK_ROUND, SECONDS_IN_PROCESS_QUICK = 8, 15


def processors_here():
    here = sorted(os.sched_getaffinity(0))
    return [str(here[0])] + ([f"{here[0]},{here[1]}"] if len(here) > 1 else [])


def minutes(seconds):
    return f"about {max(round(seconds / 60), 1)} min"


def measured(arguments):
    counts = measure.QUICK if arguments.quick else {
        column: count for column, (_, count) in measure.COLUMNS.items()}
    cpus = arguments.cpus or processors_here()
    rounds = arguments.rounds or (1 if arguments.quick else 5)
    a_round = SECONDS_A_QUICK_ROUND if arguments.quick else SECONDS_A_ROUND
    rest = SECONDS_IN_PROCESS_QUICK if arguments.quick else SECONDS_IN_PROCESS
    print(f"Measuring takes {minutes(len(cpus) * rounds * a_round + rest)}; other work on this "
          "machine shows in the figures", file=sys.stderr)
    start = time.monotonic()
    results = {"date": datetime.date.today().isoformat(), "machine": measure.machine(),
               "quick": arguments.quick, "rounds": rounds, "cpus": cpus, "peers": [],
               "skipped": []}
    for each in cpus:
        results["peers"] += measure.compare_on(
            arguments.build, each, measure.ROUTES, list(measure.PEERS), list(measure.COLUMNS),
            rounds, counts, results["skipped"])
    results["in_process"] = measure.in_process(arguments.build, arguments.quick)
    results["growth"] = measure.growth(arguments.build, arguments.quick)
    results["seconds"] = round(time.monotonic() - start)
    return results


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    print(f"written: {path}", file=sys.stderr)


def write_docs(results):
    path = os.path.join("docs", "performance.md")
    with open(path, encoding="utf-8") as file:
        before, rest = file.read().split(BEGIN)
    after = rest.split(END)[1]
    write(path, before + BEGIN + "\n" + report.as_markdown(results) + "\n" + END + after)
    write(os.path.join("docs", "performance.svg"), chart.peers(results))
    write(os.path.join("docs", "performance-growth.svg"), chart.growth(results))


def main():
    parser = argparse.ArgumentParser(prog="./bench", description=__doc__)
    parser.add_argument("--build", required=True, help="the build tree")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--rounds", type=int)
    parser.add_argument("--cpus", action="append")
    parser.add_argument("--json")
    parser.add_argument("--from", dest="source")
    parser.add_argument("--write-docs", action="store_true")
    arguments = parser.parse_args()
    if arguments.source:
        with open(arguments.source, encoding="utf-8") as file:
            results = json.load(file)
    else:
        try:
            results = measured(arguments)
        except measure.Failed as error:
            print(f"./bench: {error}", file=sys.stderr)
            return 1
        path = arguments.json or os.path.join(arguments.build, "results.json")
        write(path, json.dumps(results, indent=1) + "\n")
        write(os.path.splitext(path)[0] + ".svg", chart.peers(results))
    print(report.as_text(results))
    if arguments.write_docs:
        write_docs(results)
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
