#!/usr/bin/env python3
"""Usage: plot.py MEASURED.json PLOT.svg

Draws the times of the benchmarks: the agent beside its peers, on scales that begin at 0.
"""

import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from report import Measured  # noqa: E402

PANELS = [
    ("reply", 1000, "The list as text, 1,000 services"),
    ("start", 1000, "Start, 1,000 services; for the peers, the bare parse"),
    ("request", 1000, "Request and cancel of the last of 1,000 services; two bare walks"),
    ("sweep", 10000, "Sweep of 10,000 services, none due; the same loop, bare"),
]
WIDTH, LABEL, BAR, ROW, HEAD = 720, 90, 520, 24, 44
STYLE = """
  text { font: 13px system-ui, sans-serif; fill: #1f2328 }
  .title { font-weight: 600 }
  .peer { fill: #8c959f }
  .agent { fill: #0969da }
  .axis { stroke: #8c959f }
  @media (prefers-color-scheme: dark) {
    text { fill: #e6edf3 }
    .peer { fill: #6e7681 }
    .agent { fill: #4493f8 }
  }"""


def panel(measured, case, size, title, top):
    people = dict.fromkeys(name.split("/")[1] for name in measured.runs
                           if name.startswith(case + "/") and name.endswith(f"/{size}"))
    times = sorted((measured.time(case, who, size) / 1e3, who) for who in people)
    longest = times[-1][0]
    yield f'<text class="title" x="0" y="{top + 24}">{title}, µs</text>'
    for row, (time, who) in enumerate(times):
        y = top + HEAD - 8 + row * ROW
        width = BAR * time / longest
        kind = "agent" if who == "agent" else "peer"
        yield f'<text x="{LABEL - 8}" y="{y + 14}" text-anchor="end">{who}</text>'
        yield f'<rect class="{kind}" x="{LABEL}" y="{y}" width="{width:.1f}" height="{ROW - 6}"/>'
        yield f'<text x="{LABEL + width + 6:.1f}" y="{y + 14}">{time:,.2f}</text>'
    bottom = top + HEAD - 8 + len(times) * ROW
    yield f'<line class="axis" x1="{LABEL}" y1="{top + HEAD - 12}" x2="{LABEL}" y2="{bottom}"/>'
    return bottom


def draw(measured):
    top, parts = 0, []

    def collect(*arguments):
        nonlocal top
        top = yield from panel(measured, *arguments, top)

    for case, size, title in PANELS:
        parts.extend(collect(case, size, title))
    head = f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {top + 8}" width="{WIDTH}">'
    return "\n".join([head, f"<style>{STYLE}</style>", *parts, "</svg>"]) + "\n"


def main():
    source, target = sys.argv[1:]
    with open(target, "w", encoding="utf-8") as file:
        file.write(draw(Measured(source)))


if __name__ == "__main__":
    main()
