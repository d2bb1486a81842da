"""The results as text for a terminal, and as tables for docs/performance.md."""

from measure import GROWTH, PEERS, RATES, ROUTES

COLUMNS = ("W1", "W2", "W3", "W5", "first")
TITLES = {
    "daemon": "through dbus-daemon, to a libdbus service",
    "broker": "through dbus-broker, to a libdbus service",
    "direct": "direct, to our service",
    "direct-libdbus": "direct, to a libdbus service",
}
# Both steeper than this is worse than linear, which is 2 and 10; a measurement varies, and where
# the work outgrows a cache one of them has a step.
MOST_LAST_DOUBLING, MOST_LAST_TENFOLD = 2.6, 13.0


def processors(cpus):
    count = len(cpus.split(","))
    return "1 processor" if count == 1 else f"{count} processors"


def three_digits(value):
    """12.3, 123, 1234: never as a power of ten."""
    return f"{value:.{max(3 - len(str(int(value))), 0)}f}"


def duration(seconds):
    if seconds is None:
        return "-"
    for unit, size in (("s", 1.0), ("ms", 1e-3), ("µs", 1e-6)):
        if seconds >= size:
            return f"{three_digits(seconds / size)} {unit}"
    return f"{three_digits(seconds * 1e9)} ns"


def ratio(row):
    if row is None:
        return "-"
    return f"{row['ratio']:.2f} ({row['ratio_least']:.2f} to {row['ratio_most']:.2f})"


def absolute(row):
    if row is None:
        return "-"
    if row["column"] not in RATES:
        return f"{duration(row['median'])}, p99 {duration(row['p99'])}"
    rate = f"{three_digits(row['median'] / 1000)} k/s"
    return rate if row["p99"] is None else f"{rate}, p99 {duration(row['p99'])}"


def places(rows, cpus):
    return {(row["route"], row["peer"], row["column"]): row for row in rows if row["cpus"] == cpus}


def cells(found, route, show):
    """The lines of a route: the peer, then one cell for each column."""
    lines = []
    for peer in PEERS:
        own = [found.get((route, peer, column)) for column in COLUMNS]
        if any(own):
            lines.append([peer, *(show(row) for row in own)])
    return lines


def aligned(lines):
    widths = [max(len(line[i]) for line in lines) for i in range(len(lines[0]))]
    return ["  " + "  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip()
            for line in lines]


def markdown(head, lines):
    return ["| " + " | ".join(head) + " |", "|" + "---|" * len(head),
            *("| " + " | ".join(line) + " |" for line in lines)]


def work_of(curve):
    name, *note = curve["name"].split(",")
    return ",".join([GROWTH[name], *note])


def growth_lines(curves):
    lines = []
    for curve in curves:
        first, last = curve["points"][0], curve["points"][-1]
        doubling, tenfold = curve["last_doubling"], curve["last_tenfold"]
        is_worse = doubling > MOST_LAST_DOUBLING and tenfold > MOST_LAST_TENFOLD
        lines.append([work_of(curve), f"{first[0]}: {duration(first[1])}", f"{last[0]}: {duration(last[1])}",
                      f"{doubling:.1f}", f"{tenfold:.1f}",
                      "worse than linear" if is_worse else ""])
    return lines


def in_process_lines(rows):
    lines = []
    for row in rows:
        allocations = row.get("allocations")
        lines.append([f"{row['program']}_bench", row["name"],
                      duration(row["nanoseconds"] / 1e9), f"{100 * row['variation']:.0f} %",
                      "" if allocations is None else f"{allocations:.0f}"])
    return lines


PEER_HEAD = ["peer", *COLUMNS]
IN_PROCESS_HEAD = ["program", "what", "median", "variation", "allocations"]
GROWTH_HEAD = ["work", "least", "most", "last doubling", "last tenfold", ""]


def as_text(results):
    lines = []
    for cpus in results["cpus"]:
        found = places(results["peers"], cpus)
        for route in ROUTES:
            rows = cells(found, route, ratio)
            if rows:
                lines += ["", f"{processors(cpus)}, {TITLES[route]}: ratio to libdbus through "
                          "dbus-daemon (least to most of the rounds)",
                          *aligned([PEER_HEAD, *rows]), "",
                          *aligned([PEER_HEAD, *cells(found, route, absolute)])]
    if results["in_process"]:
        lines += ["", "inside one process", *aligned([IN_PROCESS_HEAD,
                                                       *in_process_lines(results["in_process"])])]
    if results["growth"]:
        lines += ["", "costs as work grows; linear is 2 and 10",
                  *aligned([GROWTH_HEAD, *growth_lines(results["growth"])])]
    for each in results["skipped"]:
        lines.append(f"left out, processors {each['cpus']}: {each['what']}: {each['reason']}")
    return "\n".join(lines)


def as_markdown(results):
    machine = results["machine"]
    versions = ", ".join(f"{name} {version}" for name, version in machine["versions"].items())
    lines = [f"Measured on {results['date']}: {machine['processors']} processors "
             f"({machine['model']}), {machine['system']}, {machine['compiler']}; "
             f"{results['rounds']} rounds{', with a short workload' if results['quick'] else ''}; "
             f"load before {machine['load']:.1f}. {versions}."]
    for cpus in results["cpus"]:
        found = places(results["peers"], cpus)
        lines += ["", f"### {processors(cpus)}: ratio to libdbus through dbus-daemon"]
        for route in ROUTES:
            rows = cells(found, route, ratio)
            if rows:
                lines += ["", TITLES[route].capitalize() + ":", "", *markdown(PEER_HEAD, rows)]
        lines += ["", f"### {processors(cpus)}: times and rates"]
        for route in ROUTES:
            rows = cells(found, route, absolute)
            if rows:
                lines += ["", TITLES[route].capitalize() + ":", "", *markdown(PEER_HEAD, rows)]
    if results["in_process"]:
        lines += ["", "### Inside one process", "",
                  *markdown(IN_PROCESS_HEAD, in_process_lines(results["in_process"]))]
    if results["growth"]:
        lines += ["", "### As work grows", "", "![Costs as work grows](performance-growth.svg)", "",
                  *markdown(GROWTH_HEAD, growth_lines(results["growth"]))]
    if results["skipped"]:
        lines += ["", "### Left out", ""]
        lines += [f"- processors {each['cpus']}: {each['what']}: {each['reason']}"
                  for each in results["skipped"]]
    return "\n".join(lines)
