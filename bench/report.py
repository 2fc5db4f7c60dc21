#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Prints the figures of the benchmarks as one table, with a verdict for each row.

    report.py [--all] [--json FILE] [--svg FILE] [--doc FILE] FIGURES.json...

--all   counts missing required rows as misses
--json  writes the rows as JSON
--svg   writes the rows as a bar chart
--doc   rewrites the lines of a page between "<!-- model -->" or "<!-- figures -->" and "<!-- end -->"
Exit status 1: a bar is missed. A row with an aim instead of a bar is shown, but cannot miss.
"""
import argparse
import json
import re
import sys
from html import escape

# For the title of each row with a bar: how many baselines it is compared with.
REQUIRED = {
    "GetProperty of a text": 2,
    "GetProperty of a text, 2 threads on one object": 3,
    "GetProperty of an integer": 1,
    "SetProperty of a text that GetProperty reads": 1,
    "GetCachedType, hit in 20,000 types": 1,
    "GetAttribute by name, hit, five levels of bases": 1,
    "GetAttributeEnum of 500 attributes": 1,
    "GetDisplayAttributeEnum of 500, facts known": 1,
    "GetSinglePCRelation, hit in 20,000 relations": 1,
    "whole type load, per array element (5,000 types)": 1,
    'server calls, attributes of 25 of 1000 types after one "properties" notification, 1 ms a call': 1,
    'server calls, attributes of 20000 of 20000 types after one "properties" notification, 1 ms a call': 1,
    'processor time, attributes of 1000 types after one "properties" notification, fast server': 1,
    'p99 of reading a held text beside a flood of "pc" notifications': 1,
    'p99 of reading a held text beside a flood of "properties" and refills': 1,
    "longest question for a type beside a flood of notifications, 5,000 types": 1,
    "peak memory of the whole load": 1,
    "kept memory, 5,000 types": 1,
    "kept per own attribute without attribute types, beyond its values that are not empty": 1,
    "notification of everything, 20,000 types and their relations loaded": 1,
    "load, cost per type, 20,000 against 1,000 types": 1,
    "refill, cost per type, 20,000 against 1,000 types": 1,
    "server calls: start-up in mode 15 and 10,000 mixed reads": 1,
    "GetProperty of a text in the Windows DLL, under Wine": 1,
    "start across processes, 1,000 types, under Wine": 1,
    "Terminate across processes, 1,000 types, under Wine": 1,
}


def load(paths):
    rows, model = [], ""
    for path in paths:
        try:
            with open(path, encoding="utf-8") as file:
                content = json.load(file)
        except (OSError, ValueError) as error:
            print(f"report.py: {path}: {error}", file=sys.stderr)
            continue
        rows += content["rows"]
        model = content.get("model") or model
    return rows, model


def judge(rows, want_all):
    for row in rows:
        row["ratio"] = row["value"] / row["baseline"]
        holds = row["ratio"] <= row["bar"]
        row["verdict"] = ("ahead" if holds else "behind") if row["aim"] else ("ok" if holds else "miss")
    if want_all:
        for title, wanted in REQUIRED.items():
            there = sum(1 for row in rows if row["work"] == title and not row["aim"])
            for _ in range(wanted - there):
                rows.append({"work": title, "against": "not measured", "unit": "", "value": 0, "baseline": 0,
                             "bar": 0, "aim": False, "runs": 0, "ratio": None, "verdict": "miss"})


def figure(value, unit):
    if unit == "ns" and value >= 1e6:
        return f"{value / 1e6:.1f} ms"
    if unit == "ns" and value >= 1e4:
        return f"{value / 1e3:.1f} us"
    if unit == "bytes":
        return f"{value / 1e6:.1f} MB" if value >= 1e6 else f"{value:.0f} B"
    return f"{value:.1f} {unit}" if unit == "ns" else f"{value:.0f} {unit}"


def text_of(ratio):
    return "-" if ratio is None else f"{ratio:.2f}" if ratio >= 0.01 else f"{ratio:.5f}"


def table(rows):
    head = ["work", "against", "time", "baseline", "ratio", "bar", "verdict"]
    lines = [head] + [[r["work"], r["against"], figure(r["value"], r["unit"]), figure(r["baseline"], r["unit"]),
                       text_of(r["ratio"]), ("aim " if r["aim"] else "") + f"{r['bar']:.4g}", r["verdict"]]
                      for r in rows]
    widths = [max(len(line[i]) for line in lines) for i in range(len(head))]
    for line in lines:
        print("  ".join(cell.ljust(width) if i < 2 else cell.rjust(width)
                        for i, (cell, width) in enumerate(zip(line, widths))))


def svg(rows):
    """A chart with each row's ratio relative to its bar; the vertical line at 1 is the bar."""
    line, left, wide = 22, 560, 360
    full = 1.6
    parts = []
    for i, row in enumerate(rows):
        y = 40 + i * line
        share = 0 if row["ratio"] is None else row["ratio"] / row["bar"]
        color = {"ok": "#2e7d32", "ahead": "#7cb342", "behind": "#b0a060", "miss": "#c62828"}[row["verdict"]]
        length = min(share, full) / full * wide
        label = escape(f"{row['work']} / {row['against']}")
        parts.append(f'<text x="{left - 8}" y="{y + 12}" text-anchor="end">{label}</text>'
                     f'<rect x="{left}" y="{y}" width="{length:.1f}" height="15" fill="{color}"/>'
                     f'<text x="{left + wide + 8}" y="{y + 12}">{text_of(row["ratio"])} of {row["bar"]:.4g}</text>')
    height = 50 + len(rows) * line
    bar = left + wide / full
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + wide + 120}" height="{height}" '
            f'font-family="sans-serif" font-size="11">'
            f'<rect width="100%" height="100%" fill="white"/>'
            f'<text x="10" y="20" font-size="14">Ratio to the baseline, as a share of the bar (line)</text>'
            + "".join(parts) +
            f'<line x1="{bar:.1f}" y1="32" x2="{bar:.1f}" y2="{height - 8}" stroke="black" stroke-dasharray="4 3"/>'
            '</svg>\n')


def markdown(rows):
    lines = ["| Work | Against | Time | Baseline | Ratio | Bar | Verdict |", "|---|---|---|---|---|---|---|"]
    for r in rows:
        bar = ("aim " if r["aim"] else "") + f"{r['bar']:.4g}"
        lines.append(f"| {r['work']} | {r['against']} | {figure(r['value'], r['unit'])} | "
                     f"{figure(r['baseline'], r['unit'])} | {text_of(r['ratio'])} | {bar} | {r['verdict']} |")
    return "\n".join(lines)


def rewrite(path, parts):
    with open(path, encoding="utf-8") as file:
        page = file.read()
    for name, content in parts.items():
        page = re.sub(f"(<!-- {name} -->\n).*?(\n<!-- end -->)", lambda m, c=content: m[1] + c + m[2], page,
                      flags=re.S)
    with open(path, "w", encoding="utf-8") as file:
        file.write(page)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--all", action="store_true")
    parser.add_argument("--json")
    parser.add_argument("--svg")
    parser.add_argument("--doc")
    parser.add_argument("figures", nargs="+")
    arguments = parser.parse_args()
    rows, model = load(arguments.figures)
    judge(rows, arguments.all)
    if model:
        print("types of the model, by size of:\n" + model)
    table(rows)
    if arguments.json:
        with open(arguments.json, "w", encoding="utf-8") as file:
            json.dump({"model": model.splitlines(), "rows": rows}, file, indent=1)
            file.write("\n")
    if arguments.svg:
        with open(arguments.svg, "w", encoding="utf-8") as file:
            file.write(svg(rows))
    if arguments.doc:
        rewrite(arguments.doc, {"model": "    " + model.rstrip().replace("\n", "\n    "), "figures": markdown(rows)})
    misses = sum(row["verdict"] == "miss" for row in rows)
    bars = sum(not row["aim"] for row in rows)
    print(f"\n{bars - misses} of {bars} bars hold, {misses} missed")
    return 1 if misses or not rows else 0


if __name__ == "__main__":
    sys.exit(main())
