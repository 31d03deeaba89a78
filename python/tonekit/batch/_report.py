"""The page at the end of a run: throughput over time, sizes, errors by kind, the slowest files. It needs no other file."""

from __future__ import annotations

import math
import time
from collections.abc import Sequence
from html import escape

from ._statistics import Statistics, Timeline
from ._words import clock, length, place, size

_WIDTH = 860
_HEIGHT = 180
_LEFT = 70
_BOTTOM = 24
_LABEL = 68  # wide enough for any
_WIDEST = 60.0  # bar

_STYLE = """
:root { color-scheme: light dark; --ink: #1c1c1c; --faint: #6b6b6b; --paper: #fff; --line: #d8d8d8;
  --bar: #2a6fb0; --bad: #b3392f; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e8e8e8; --faint: #a0a0a0; --paper: #161616; --line: #3a3a3a; --bar: #6aa7e0; --bad: #e0776c; } }
body { font: 16px/1.5 system-ui, sans-serif; color: var(--ink); background: var(--paper); max-width: 900px; margin: 2em auto;
  padding: 0 1em; }
h1 { font-size: 1.5em; } h2 { font-size: 1.15em; margin-top: 2em; }
table { border-collapse: collapse; width: 100%; } td, th { text-align: left; padding: .25em .8em .25em 0; vertical-align: top;
  border-bottom: 1px solid var(--line); overflow-wrap: anywhere; } td.n, th.n { text-align: right; white-space: nowrap; }
svg { width: 100%; height: auto; } svg text { fill: var(--faint); font-size: 12px; }
.bar { fill: var(--bar); } .bad { fill: var(--bad); }
.axis { stroke: var(--line); } .facts { color: var(--faint); }
"""


def page(statistics: Statistics, source: str, target: str, engine: str) -> str:
    """The whole page as HTML."""
    s = statistics
    parts = [
        "<!DOCTYPE html>",
        '<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width">',
        f"<title>Conversion of {escape(source)}</title><style>{_STYLE}</style></head><body>",
        f"<h1>{escape(source)} to {escape(target)}</h1>",
        f'<p class="facts">{time.strftime("%Y-%m-%d %H:%M", time.gmtime(s.started))} UTC, engine {escape(engine)}</p>',
        _facts(s),
    ]
    if s.timeline.bins:
        parts += ["<h2>Throughput</h2>", _throughput(s.timeline)]
    if s.sizes:
        parts += ["<h2>Sizes of the inputs</h2>", _sizes(s.sizes)]
    if s.errors:
        rows = [(f"{n:,}", escape(kind), escape(place(kind, s.examples[kind]))) for kind, n in s.summary()["errors"].items()]
        parts += ["<h2>Errors</h2>", _table(("n:files", "kind", "as"), rows)]
    if s.slowest:
        slow = [
            (f"{taken:.2f} s", clock(audio), size(count), escape(name))
            for taken, name, audio, count in sorted(s.slowest, reverse=True)
        ]
        parts += ["<h2>The slowest files</h2>", _table(("n:time", "n:audio", "n:size", "file"), slow)]
    return "\n".join([*parts, "</body></html>", ""])


def _facts(s: Statistics) -> str:
    summary = s.summary()
    seconds = max(summary["seconds"], 1e-9)
    rows = [
        ("inputs", f"{s.files:,}"),
        ("done", f"{s.done:,}"),
        ("done before", f"{s.kept:,}"),
        ("failed", f"{s.failed:,}"),
        ("audio", length(s.audio_seconds)),
        ("time", clock(seconds)),
        ("speed", f"{summary['speed']:,.0f} times real time, {(s.done + s.failed) / seconds:,.1f} files a second"),
        ("bytes", f"{size(s.bytes_in - s.bytes_kept)} in, {size(s.bytes_out)} out"),
        ("warnings", f"{s.warnings:,}"),
        ("dithered", f"{s.dithered:,}"),
    ]
    return _table((), rows)


def _table(heads: Sequence[str], rows: Sequence[Sequence[str]]) -> str:
    def cell(tag: str, head: str, text: str) -> str:
        return f'<{tag} class="n">{text}</{tag}>' if head.startswith("n:") else f"<{tag}>{text}</{tag}>"

    names = heads or ("",) * (len(rows[0]) if rows else 0)
    text = ["<table>"]
    if heads:
        text.append("<tr>" + "".join(cell("th", head, head.removeprefix("n:")) for head in heads) + "</tr>")
    for row in rows:
        text.append("<tr>" + "".join(cell("td", head, value) for head, value in zip(names, row, strict=True)) + "</tr>")
    return "\n".join([*text, "</table>"])


def _throughput(timeline: Timeline) -> str:
    bars = [(row[0] / timeline.width, row[2] / timeline.width) for row in timeline.bins]
    labels = [clock(i * timeline.width) for i in range(len(bars))]
    return _chart(bars, labels, "files a second; red: failed ones")


def _sizes(sizes: dict[int, int]) -> str:
    span = range(min(sizes), max(sizes) + 1)
    bars = [(float(sizes.get(power, 0)), 0.0) for power in span]
    return _chart(bars, [f"< {_power(power)}" for power in span], "files")


def _power(exponent: int) -> str:
    """A power of 2 in bytes."""
    return f"{1 << exponent % 10} {('B', 'KiB', 'MiB', 'GiB', 'TiB', 'PiB', 'EiB')[exponent // 10]}"


def _chart(bars: list[tuple[float, float]], labels: list[str], unit: str) -> str:
    """Bars from left to right; of each, the second value is the part that failed."""
    top = max(value for value, _ in bars) or 1.0
    step = (_WIDTH - _LEFT) / len(bars)
    lines = [f'<svg viewBox="0 0 {_WIDTH} {_HEIGHT + _BOTTOM}" role="img" aria-label="{escape(unit)}">']
    for share in (0.5, 1.0):
        y = _HEIGHT - share * (_HEIGHT - 20)
        lines.append(f'<line class="axis" x1="{_LEFT}" x2="{_WIDTH}" y1="{y:.1f}" y2="{y:.1f}"/>')
        lines.append(f'<text x="{_LEFT - 6}" y="{y + 4:.1f}" text-anchor="end">{top * share:,.4g}</text>')
    lines.append(f'<text x="{_LEFT}" y="12">{escape(unit)}</text>')
    width = min(max(step - 1, 0.5), _WIDEST)
    every = max(1, math.ceil(_LABEL / step))
    for i, (value, bad) in enumerate(bars):
        x = _LEFT + i * step
        for kind, amount in (("bar", value), ("bad", bad)):
            height = amount / top * (_HEIGHT - 20)
            if height > 0:
                lines.append(
                    f'<rect class="{kind}" x="{x:.1f}" y="{_HEIGHT - height:.1f}" width="{width:.1f}"'
                    f' height="{height:.1f}"><title>{escape(labels[i])}: {amount:,.4g}</title></rect>'
                )
        if i % every == 0 and x + _LABEL <= _WIDTH:
            lines.append(f'<text x="{x:.1f}" y="{_HEIGHT + 16}">{escape(labels[i])}</text>')
    return "\n".join([*lines, "</svg>"])
