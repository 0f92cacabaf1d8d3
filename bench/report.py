#!/usr/bin/env python3
"""Makes docs/PERFORMANCE.md and its charts from what bench/compare.py measured."""

import argparse
import json
import pathlib
import re
from collections import defaultdict

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt

BYTES = {"B": 1, "KiB": 1 << 10, "MiB": 1 << 20}


def length_of(size):
    """Bytes of a size such as 64KiB; nothing for other sizes."""
    found = re.fullmatch(r"(\d+)(B|KiB|MiB)", size)
    return int(found[1]) * BYTES[found[2]] if found else None


def groups_of(rows):
    """{(workload, size): {contender: ns}}, in the order of the rows."""
    groups = defaultdict(dict)
    for row in rows:
        groups[row["workload"], row["size"]][row["contender"]] = row["ns"]
    return groups


def best_ratio(contenders):
    """How much faster qal is than the fastest other library, and which that is."""
    peers = [(ns, name) for name, ns in contenders.items() if not name.startswith("qal")]
    if not peers or "qal" not in contenders:
        return None
    ns, name = min(peers)
    return ns / contenders["qal"], name


def amount(ns):
    for unit, limit in (("ns", 1e3), ("µs", 1e6), ("ms", 1e9)):
        if ns < limit:
            return f"{ns / limit * 1e3:.3g} {unit}"
    return f"{ns / 1e9:.3g} s"


def tables(record):
    lines = []
    heading = None
    for (workload, size), contenders in groups_of(record["rows"]).items():
        if workload != heading:
            lines += ["", f"### {workload}", "", "| size | contender | time | cycles | qal is faster |", "|---|---|---:|---:|---:|"]
            heading = workload
        for name, ns in sorted(contenders.items(), key=lambda item: item[1]):
            ratio = "" if name.startswith("qal") or "qal" not in contenders else f"{ns / contenders['qal']:.2f}×"
            lines.append(f"| {size} | {name} | {amount(ns)} | {ns * record['cycles_per_ns']:.0f} | {ratio} |")
    return lines


def document(record, command, charts):
    versions = ", ".join(f"{name} {version}" for name, version in record["versions"].items() if version)
    lines = [
        "# Performance",
        "",
        f"Measured on {record['date']}: {record['processor']} (time-stamp counter",
        f"{record['cycles_per_ns']:.2f} GHz), {record['system']}, by",
        "",
        f"    {command}",
        "",
        f"beside {versions}. Every figure is a median over interleaved rounds on one pinned core. Only",
        "ratios within a run mean anything; cycles are those of the time-stamp counter. `qal` is the variant",
        "that the processor makes the library choose, `qal-…` another one.",
        "",
    ]
    lines += [f"![{title}](../{path})" for title, path in charts]
    return "\n".join(lines + tables(record)) + "\n"


def chart_ratios(record, path):
    bars = []
    for (workload, size), contenders in groups_of(record["rows"]).items():
        best = best_ratio(contenders)
        if best:
            bars.append((f"{workload}, {size}", *best))
    figure, axes = plt.subplots(figsize=(9, 0.22 * len(bars) + 1.2))
    axes.barh([name for name, _, _ in bars], [ratio for _, ratio, _ in bars], color="#336699")
    axes.axvline(1, color="black", linewidth=0.8)
    for i, (_, ratio, peer) in enumerate(bars):
        axes.text(ratio * 1.03, i, f"{ratio:.2f}× {peer}", va="center", fontsize=7)
    axes.set_xscale("log")
    axes.set_xlim(right=max(ratio for _, ratio, _ in bars) * 4)
    axes.invert_yaxis()
    axes.tick_params(axis="y", labelsize=7)
    axes.set_xlabel("times as fast as the fastest other library")
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
    plt.close(figure)


def chart_lines(record, path, select, label, value):
    """Lines of qal's own figures over a size that select() finds in a row's size."""
    lines = defaultdict(list)
    for (workload, size), contenders in groups_of(record["rows"]).items():
        at = select(workload, size)
        if at is not None and "qal" in contenders:
            lines[workload].append((at, value(at, contenders["qal"])))
    figure, axes = plt.subplots(figsize=(8, 5))
    for workload, points in sorted(lines.items()):
        if len(points) > 1:
            axes.plot(*zip(*sorted(points)), marker="o", markersize=3, label=workload)
    axes.set_xscale("log", base=2)
    axes.set_yscale("log")
    axes.set_xlabel(label[0])
    axes.set_ylabel(label[1])
    axes.legend(fontsize=7, loc="center left", bbox_to_anchor=(1, 0.5))
    axes.grid(True, which="both", linewidth=0.2)
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
    plt.close(figure)


def bits_of(_, size):
    found = re.match(r"(\d+)(digits|bits|bit)?", size)
    if length_of(size) is not None or not found:
        return None
    return int(found[1]) * (64 if found[2] == "digits" else 1)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("record", type=pathlib.Path, help="what compare.py --json wrote")
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).parent.parent)
    parser.add_argument("--command", default="./dev bench")
    arguments = parser.parse_args()
    record = json.loads(arguments.record.read_text())
    results = arguments.root / "bench" / "results"
    results.mkdir(exist_ok=True)
    plt.rcParams["svg.hashsalt"] = "qal"
    chart_ratios(record, results / "ratios.svg")
    chart_lines(
        record, results / "throughput.svg", lambda _, size: length_of(size), ("bytes", "MB/s"),
        lambda size, ns: size / ns * 1e3,
    )
    chart_lines(record, results / "cost.svg", bits_of, ("bits", "ns"), lambda _, ns: ns)
    charts = [
        ("Ratios to the fastest other library", "bench/results/ratios.svg"),
        ("Throughput over message size", "bench/results/throughput.svg"),
        ("Cost over operand size", "bench/results/cost.svg"),
    ]
    (arguments.root / "docs" / "PERFORMANCE.md").write_text(document(record, arguments.command, charts))


if __name__ == "__main__":
    main()
