"""The charts of docs/: peers as bars, and costs as work grows as curves."""

import math

from measure import PEERS, RATES
from report import TITLES, duration, processors, work_of

STYLE = ("text{font:12px sans-serif;fill:#24292f}.head{font-weight:bold}.title{font-size:15px;"
         "font-weight:bold}.small{font-size:11px;fill:#57606a}.end{text-anchor:end}"
         ".ours{fill:#1f6f8b}.quiet{fill:#7fb3c4}.other{fill:#c3ccd1}.one{stroke:#e0a79f;"
         "stroke-dasharray:3 3}.curve{fill:none;stroke:#1f6f8b;stroke-width:2}.linear{stroke:#8a949b;"
         "stroke-dasharray:4 3}.frame{fill:none;stroke:#d0d7de}.page{fill:#fff}")

WORK = {"W1": "one call", "W2": "a list of 64 records", "W3": "events per second"}
# Longer bars end here, with their figure.
MOST_SHOWN = 2.5
BAR, STEP, LABEL, BARS = 13, 19, 110, 150
PANEL = LABEL + BARS + 50


def page(width, height, title, parts):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
            f'width="{width}" height="{height}" role="img"><title>{title}</title>'
            f'<style>{STYLE}</style><rect class="page" width="{width}" height="{height}"/>'
            f'<text x="12" y="22" class="title">{title}</text>' + "".join(parts) + "</svg>\n")


def bars(x, y, column, rows):
    hint = "higher is better" if column in RATES else "lower is better"
    parts = [f'<text x="{x}" y="{y}" class="head">{column}: {WORK[column]}</text>'
             f'<text x="{x}" y="{y + 15}" class="small">{hint}</text>']
    largest = max([row["ratio"] for row in rows if row["peer"] != "bare socket"] + [1.0])
    scale = BARS / (largest if column in RATES else min(largest, MOST_SHOWN))
    y += 24
    one = x + LABEL + scale
    parts.append(f'<line x1="{one:.1f}" x2="{one:.1f}" y1="{y - 3}" '
                 f'y2="{y + len(rows) * STEP - 3}" class="one"/>')
    for i, row in enumerate(rows):
        top = y + i * STEP
        length = min(row["ratio"] * scale, BARS)
        kind = {"velproxy": "ours", "velproxy, log off": "quiet"}.get(row["peer"], "other")
        parts.append(f'<text x="{x + LABEL - 8}" y="{top + 11}" class="end">{row["peer"]}</text>'
                     f'<rect x="{x + LABEL}" y="{top}" width="{length:.1f}" height="{BAR}" '
                     f'class="{kind}"/><text x="{x + LABEL + length + 5:.1f}" y="{top + 11}">'
                     f'{row["ratio"]:.2f}</text>')
    return parts


def peers(results):
    cpus = results["cpus"][0]
    order = list(PEERS)
    parts, y = [], 44
    for route in ("daemon", "direct"):
        parts.append(f'<text x="12" y="{y}" class="head">{TITLES[route].capitalize()}</text>')
        lines = 0
        for i, column in enumerate(WORK):
            rows = sorted((row for row in results["peers"]
                           if (row["cpus"], row["route"], row["column"]) == (cpus, route, column)),
                          key=lambda row: order.index(row["peer"]))
            if rows:
                parts += bars(12 + i * PANEL, y + 24, column, rows)
                lines = max(lines, len(rows))
        y += 24 + 24 + lines * STEP + 26
    title = f"Beside other D-Bus libraries, {processors(cpus)}; 1 is libdbus through dbus-daemon"
    return page(12 + len(WORK) * PANEL, y - 8, title, parts)


def growth(results):
    width, height, parts = 280, 170, []
    for number, curve in enumerate(results["growth"]):
        points = [(math.log10(size), math.log10(time)) for size, time in curve["points"]]
        left, right = points[0][0], points[-1][0]
        # As many decades up as across, so that linear has one slope.
        bottom = min(time for _, time in points)
        top = max(max(time for _, time in points), bottom + right - left)
        x0, y0 = 20 + number % 3 * (width + 30), 62 + number // 3 * (height + 72)

        def place(point):
            across = x0 + (point[0] - left) / (right - left) * width
            up = y0 + height - (point[1] - bottom) / (top - bottom) * height
            return f"{across:.1f},{up:.1f}"

        end = points[-1]
        # From the last point down: linear passes below the curve where fixed costs are.
        fall = min(end[0] - left, end[1] - bottom)
        begin = (end[0] - fall, end[1] - fall)
        (x1, y1), (x2, y2) = (place(point).split(",") for point in (begin, end))
        first, last = curve["points"][0], curve["points"][-1]
        name = work_of(curve)
        parts.append(f'<text x="{x0}" y="{y0 - 10}" class="head">{name}</text>'
                     f'<rect x="{x0}" y="{y0}" width="{width}" height="{height}" class="frame"/>'
                     f'<line x1="{x1}" y1="{y1}" x2="{x2}" y2="{y2}" class="linear"/>'
                     f'<polyline points="{" ".join(place(point) for point in points)}" '
                     f'class="curve"/><text x="{x0}" y="{y0 + height + 15}" class="small">'
                     f'{first[0]}: {duration(first[1])}</text><text x="{x0 + width}" '
                     f'y="{y0 + height + 15}" class="small end">{last[0]}: {duration(last[1])}</text>')
    rows = (len(results["growth"]) + 2) // 3
    return page(20 + 3 * (width + 30), 62 + rows * (height + 72) - 40,
                "Costs as work grows, both axes logarithmic; dashed: linear", parts)
