#!/usr/bin/env python3
"""The chart of docs/soak.svg from the figures of soak.

usage: soak_chart.py CSV SVG
"""

import csv
import sys

from chart import page

PANELS = (("client: resident memory", "client resident KiB", "KiB"),
          ("client: heap", "client heap bytes", "bytes"),
          ("velsim: resident memory", "velsim resident KiB", "KiB"),
          ("client: descriptors", "client descriptors", ""),
          ("client: threads", "client threads", ""),
          ("a call: median", "median us", "µs"))
WIDTH, HEIGHT = 280, 120


def panel(number, title, unit, points):
    x0, y0 = 20 + number % 3 * (WIDTH + 30), 62 + number // 3 * (HEIGHT + 66)
    top = max(points) * 1.25 or 1

    def place(hour, value):
        return (f"{x0 + hour / max(1, len(points) - 1) * WIDTH:.1f},"
                f"{y0 + HEIGHT - value / top * HEIGHT:.1f}")

    line = " ".join(place(hour, value) for hour, value in enumerate(points))
    bottom = y0 + HEIGHT + 15
    return (f'<text x="{x0}" y="{y0 - 10}" class="head">{title}</text>'
            f'<rect x="{x0}" y="{y0}" width="{WIDTH}" height="{HEIGHT}" class="frame"/>'
            f'<polyline points="{line}" class="curve"/>'
            f'<text x="{x0}" y="{bottom}" class="small">hour 1: {points[0]:g} {unit}</text>'
            f'<text x="{x0 + WIDTH}" y="{bottom}" class="small end">'
            f'hour {len(points)}: {points[-1]:g} {unit}</text>')


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as file:
        hours = list(csv.DictReader(file))
    parts = [panel(number, title, unit, [float(hour[column]) for hour in hours])
             for number, (title, column, unit) in enumerate(PANELS)]
    rows = (len(PANELS) + 2) // 3
    chart = page(20 + 3 * (WIDTH + 30), 62 + rows * (HEIGHT + 66) - 34,
                 f"{len(hours)} simulated hours with a thousand sessions; axes from 0", parts)
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        file.write(chart)


main()
