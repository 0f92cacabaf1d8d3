#!/usr/bin/env python3
"""Makes docs/PERFORMANCE.md, its charts and the figures in the README from what bench/compare.py measured.

With --check, says whether the documents are what the record makes them, and changes nothing.
"""

import argparse
import json
import pathlib
import re
import sys
from collections import defaultdict

# What a reader looks at first: workload, size and what that is called.
MAIN = [
    ("streebog-512", "64KiB", "Streebog-512, 64 KiB"),
    ("gost94", "64KiB", "GOST R 34.11-94, 64 KiB"),
    ("kuznyechik-ctr", "64KiB", "Kuznyechik in counter mode, 64 KiB"),
    ("gost28147-ecb", "64KiB", "GOST 28147-89 in ECB, 64 KiB"),
    ("gost28147-gamma", "64KiB", "GOST 28147-89 gamma, 64 KiB"),
    ("gost28147-cfb-encrypt", "64KiB", "GOST 28147-89 CFB encryption, 64 KiB"),
    ("gost28147-cfb-decrypt", "64KiB", "GOST 28147-89 CFB decryption, 64 KiB"),
    ("gost28147-mac", "64KiB", "GOST 28147-89 MAC, 64 KiB"),
    ("product", "32digits", "Product of 2048 by 2048 bits"),
    ("montgomery-product", "32digits", "Montgomery product, 2048 bits"),
    ("exponentiation", "2048bits", "Exponentiation, 2048 bits"),
    ("rsa-private", "2048bits", "RSA-2048, private operation"),
    ("rsa-public", "2048bits", "RSA-2048, public operation"),
    ("rsa-keygen", "2048bits", "RSA-2048, making a key"),
    ("gost3410-sign", "256bit", "GOST R 34.10-2001, signing"),
    ("gost3410-verify", "256bit", "GOST R 34.10-2001, verifying"),
    ("gost3410-vko", "256bit", "VKO GOST R 34.10-2001"),
    ("dstu-sign", "257bits", "DSTU 4145-2002, m = 257, signing"),
    ("dstu-verify", "257bits", "DSTU 4145-2002, m = 257, verifying"),
    ("dstu-agree", "257bits", "DSTU 4145-2002, m = 257, agreeing"),
]

FAMILIES = [
    ("Hash functions", "hashes", r"streebog|gost94"),
    ("Ciphers", "ciphers", r"kuznyechik|gost28147"),
    ("Integers", "integers", r"product|square|division|montgomery|exponentiation"),
    ("RSA", "rsa", r"rsa"),
    ("GOST R 34.10-2001", "gost3410", r"gost3410"),
    ("DSTU 4145-2002", "dstu", r"dstu"),
]

# Why another library is faster, where that is known.
REASONS = {
    "gost28147-keys": "The library lays out the keys of all 32 rounds beforehand; the others copy eight words.",
    "gost3410-setup": "The library checks the parameters and makes sixteen multiples of the base point, which each "
    "signature then saves; libgcrypt and Botan find the curve among those that they have ready.",
    "kuznyechik-keys": "The library avoids tables larger than 256 bytes, whose addresses would tell more of the key.",
}

BYTES = {"B": 1, "KiB": 1 << 10, "MiB": 1 << 20}
OWN_FORMS = ["qal", "qal-avx2-gfni", "qal-avx2", "qal-portable"]


def length_of(size):
    """Bytes of a size such as 64KiB; nothing for other sizes."""
    found = re.fullmatch(r"(\d+)(B|KiB|MiB)", size)
    return int(found[1]) * BYTES[found[2]] if found else None


def length_name(size):
    return next(f"{size // unit} {name}" for name, unit in reversed(BYTES.items()) if size % unit == 0)


def bits_of(size):
    found = re.match(r"(\d+)(digits|bits?)", size)
    return int(found[1]) * (64 if found[2] == "digits" else 1) if found else None


def threads_of(size):
    found = re.fullmatch(r"(\d+)threads?", size)
    return int(found[1]) if found else None


def order(size):
    return length_of(size) or bits_of(size) or threads_of(size) or 0


def groups_of(rows):
    """{(workload, size): {contender: ns}}, by workload and growing size."""
    groups = defaultdict(dict)
    for row in rows:
        groups[row["workload"], row["size"]][row["contender"]] = row["ns"]
    return dict(sorted(groups.items(), key=lambda group: (group[0][0], order(group[0][1]))))


def own(name):
    return name.startswith("qal")


def fastest_peer(contenders):
    """(ns, name) of the fastest other library, or nothing."""
    return min(((ns, name) for name, ns in contenders.items() if not own(name)), default=None)


def amount(ns):
    for unit, limit in (("ns", 1e3), ("µs", 1e6), ("ms", 1e9)):
        if ns < limit:
            return f"{ns / limit * 1e3:.3g} {unit}"
    return f"{ns / 1e9:.3g} s"


def called(contender):
    """A contender's name for readers; what stands behind a colon is a remark."""
    return contender.replace(":", ", ")


def times(ratio):
    return f"{ratio:.2f}×" if ratio < 9.995 else f"{ratio:.1f}×"


def main_table(groups):
    lines = [
        "| | qal | with AVX2 alone | fastest other library | qal is faster |",
        "|---|---:|---:|---:|---:|",
    ]
    for workload, size, title in MAIN:
        contenders = groups.get((workload, size), {})
        peer = fastest_peer(contenders)
        if "qal" not in contenders or peer is None:
            continue
        avx2 = amount(contenders["qal-avx2"]) if "qal-avx2" in contenders else ""
        lines.append(
            f"| {title} | {amount(contenders['qal'])} | {avx2} | {amount(peer[0])} ({called(peer[1])}) "
            f"| {times(peer[0] / contenders['qal'])} |"
        )
    return lines


def circumstances(record):
    return (
        f"{record['processor']} (time-stamp counter {record['cycles_per_ns']:.2f} GHz), {record['system']}, "
        f"{record['date']}"
    )


def slower_lines(groups):
    """What is slower than the fastest other library, for each form of the library."""
    lines = []
    for form, title in (("qal", "`qal`"), ("qal-avx2", "`qal-avx2`"), ("qal-portable", "`qal-portable`")):
        behind = defaultdict(list)
        compared = 0
        for (workload, size), contenders in groups.items():
            peer = fastest_peer(contenders)
            if form not in contenders or peer is None:
                continue
            compared += 1
            ratio = peer[0] / contenders[form]
            if ratio < 0.995:
                behind[workload].append(f"{size} {times(ratio)} ({called(peer[1])})")
        if compared == 0:
            continue
        count = sum(map(len, behind.values()))
        lines += ["", f"{title} is slower than the fastest other library in {count} of {compared} comparisons" +
                  ("." if count == 0 else ":"), ""]
        for workload, entries in behind.items():
            reason = REASONS.get(workload, "") if form == "qal" else ""
            lines.append(f"- **{workload}**: {', '.join(entries)}." + (f" {reason}" if reason else ""))
    return lines


def workload_table(workload, sizes, cycles_per_ns):
    """Sizes down, contenders across; what stands behind a colon in a name goes to the figure."""
    columns = [form for form in OWN_FORMS if any(form in contenders for contenders in sizes.values())]
    peers = defaultdict(list)
    for contenders in sizes.values():
        for name, ns in contenders.items():
            if not own(name):
                peers[name.partition(":")[0]].append(ns / contenders.get("qal", ns))
    columns += sorted(peers, key=lambda name: min(peers[name]))
    lengths = all(length_of(size) is not None for size in sizes)
    lines = [
        "", f"### {workload}", "",
        "| size | " + ("cycles per byte" if lengths else "cycles") + " | " + " | ".join(columns) + " |",
        "|---|---:|" + "---:|" * len(columns),
    ]
    for size, contenders in sizes.items():
        cells = defaultdict(str)
        for name, ns in contenders.items():
            library, _, remark = name.partition(":")
            notes = [remark] if remark else []
            if name != "qal" and "qal" in contenders:
                notes.insert(0, times(ns / contenders["qal"]))
            cells[library] = amount(ns) + (f" ({', '.join(notes)})" if notes else "")
        cycles = contenders.get("qal", float("nan")) * cycles_per_ns
        cost = f"{cycles / length_of(size):.2f}" if lengths else f"{cycles:.0f}"
        lines.append(f"| {size} | {cost} | " + " | ".join(cells[column] for column in columns) + " |")
    return lines


def is_threads(workload):
    return workload.startswith("threads-")


def thread_scaling(groups):
    """{workload: {threads: operations per second}}."""
    found = defaultdict(dict)
    for (workload, size), contenders in groups.items():
        if is_threads(workload):
            found[workload.removeprefix("threads-")][threads_of(size)] = 1e9 / contenders["qal"]
    return found


def threads_table(groups):
    scaling = thread_scaling(groups)
    if not scaling:
        return []
    counts = sorted({threads for rates in scaling.values() for threads in rates})
    lines = [
        "| operations per second | " + " | ".join(f"{n} thread{'s' if n > 1 else ''}" for n in counts) + " |",
        "|---|" + "---:|" * len(counts),
    ]
    for workload, rates in scaling.items():
        cells = [f"{rates[n]:.0f} ({times(rates[n] / rates[counts[0]])})" if n in rates else "" for n in counts]
        lines.append(f"| {workload} | " + " | ".join(cells) + " |")
    return lines


def document(record, command, charts):
    groups = groups_of(record["rows"])
    versions = ", ".join(f"{name} {version}" for name, version in record["versions"].items() if version)
    image = {name: f"![{title}](../bench/results/{name}.svg)" for name, title in charts.items()}
    lines = [
        "# Performance",
        "",
        f"Measured on {circumstances(record)}, by",
        "",
        f"    {command}",
        "",
        f"beside {versions}.",
        "",
        "Every figure is a median over rounds in which all contenders have their turns on one pinned core, and is",
        "the time of one operation. Only ratios within a run mean anything; cycles are those of the time-stamp",
        "counter. What stands in parentheses is how often `qal`'s time goes into a figure. `qal` is what the",
        "library chooses on this processor; `qal-avx2-gfni`, `qal-avx2` and `qal-portable` are what it chooses",
        "without AVX-512, without GFNI as well, and on any x86-64; where nothing else is said, GFNI makes no",
        "difference. [bench/README.md](../bench/README.md) says how it is done.",
        "",
        "## At a glance",
        "",
        *main_table(groups),
        "",
        image["ratios"],
        "",
        "`64KiB-tables` is Kuznyechik as it is usually written for speed, made for this comparison. DSTU 4145 is in",
        "Bouncy Castle alone: OpenSSL does ECDSA and ECDH, on that of its binary curves of about the size which is",
        "fastest. Bouncy Castle's time is without compiling and collecting garbage.",
        "",
        "## Where others are faster",
        "",
        "The other libraries have all of the processor in every comparison, with the lesser forms of this one too.",
        *slower_lines(groups),
        "",
        "## Growth",
        "",
        image["throughput"],
        "",
        image["cost"],
        "",
    ]
    threads = threads_table(groups)
    if threads:
        lines += [
            f"Threads that share a context, on {record.get('processors', '?')} processors:",
            "",
            *threads,
            "",
            image["threads"],
            "",
        ]
    workloads = defaultdict(dict)
    for (workload, size), contenders in groups.items():
        if not is_threads(workload):
            workloads[workload][size] = contenders
    for title, name, pattern in FAMILIES:
        lines += [f"## {title}", "", image[f"family-{name}"]]
        for workload, sizes in workloads.items():
            if re.match(pattern, workload):
                lines += workload_table(workload, sizes, record["cycles_per_ns"])
        lines.append("")
    return "\n".join(lines).rstrip("\n") + "\n"


BEGIN, END = "<!-- figures of bench/report.py -->", "<!-- end of figures -->"


def readme(text, record):
    """The README with its figures replaced."""
    groups = groups_of(record["rows"])
    before, begin, rest = text.partition(BEGIN + "\n")
    _, end, after = rest.partition(END + "\n")
    if not begin or not end:
        raise ValueError("the README has no place for figures")
    figures = [
        "",
        *main_table(groups),
        "",
        f"{circumstances(record)}.",
        "",
        "![Ratios to the fastest other library](bench/results/ratios.svg)",
        "",
    ]
    return before + begin + "\n".join(figures) + "\n" + end + after


CHARTS = {
    "ratios": "Ratios to the fastest other library",
    "throughput": "Throughput over message size",
    "cost": "Cost over operand size",
    "threads": "Throughput over threads",
} | {f"family-{name}": f"{title}: times in relation to qal" for title, name, _ in FAMILIES}


def save(figure, path):
    figure.savefig(path, metadata={"Date": None}, bbox_inches="tight")
    # Numbers of ten decimals are more than a chart needs.
    path.write_text(re.sub(r"(\d+\.\d\d)\d+", r"\1", path.read_text()))


def chart_ratios(plt, groups, path):
    bars = []
    for workload, size, title in MAIN:
        contenders = groups.get((workload, size), {})
        peer = fastest_peer(contenders)
        if peer and "qal" in contenders:
            bars.append((title, peer[0] / contenders["qal"], peer[1]))
    figure, axes = plt.subplots(figsize=(9, 0.3 * len(bars) + 1))
    axes.barh([title for title, _, _ in bars], [ratio for _, ratio, _ in bars], color="#336699")
    axes.axvline(1, color="black", linewidth=0.8)
    for i, (_, ratio, peer) in enumerate(bars):
        axes.text(max(ratio, 1) * 1.05, i, f"{times(ratio)} {called(peer)}", va="center", fontsize=8)
    axes.set_xscale("log")
    axes.set_xticks([1, 2, 5, 10, 20, 50], ["1", "2", "5", "10", "20", "50"])
    axes.set_xlim(right=max([ratio for _, ratio, _ in bars], default=1) * 4)
    axes.invert_yaxis()
    axes.tick_params(axis="y", labelsize=9)
    axes.set_xlabel("times as fast as the fastest other library")
    save(figure, path)
    plt.close(figure)


COLOURS = {
    "qal-avx2-gfni": "#335577", "qal-avx2": "#335577", "qal-portable": "#335577",
    "openssl": "#d62728", "openssl-gost-engine": "#d62728", "libgcrypt": "#2ca02c", "nettle": "#9467bd",
    "botan": "#ff7f0e", "crypto++": "#8c564b", "gmp": "#e377c2", "bouncycastle": "#17becf", "64KiB-tables": "#7f7f7f",
}
MARKERS = {"qal-avx2-gfni": "^", "qal-avx2": "s", "qal-portable": "D"}


def chart_family(plt, groups, pattern, path):
    """A line for each workload and size, a mark on it for each contender but qal, which is 1."""
    lines = [
        (f"{workload}, {size}", {name.partition(":")[0]: ns / contenders["qal"] for name, ns in contenders.items()})
        for (workload, size), contenders in groups.items()
        if re.match(pattern, workload) and "qal" in contenders
    ]
    figure, axes = plt.subplots(figsize=(9, 0.2 * len(lines) + 1))
    names = sorted({name for _, ratios in lines for name in ratios if name != "qal"}, key=lambda n: (not own(n), n))
    for name in names:
        points = [(ratios[name], i) for i, (_, ratios) in enumerate(lines) if name in ratios]
        axes.plot(
            *zip(*points), linestyle="", marker=MARKERS.get(name, "o"), markersize=4.5, label=name,
            color=COLOURS.get(name, "black"), fillstyle="none" if own(name) else "full",
        )
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set_yticks(range(len(lines)), [title for title, _ in lines], fontsize=7)
    axes.set_ylim(len(lines) - 0.5, -0.5)
    axes.grid(True, axis="both", linewidth=0.2)
    axes.set_xscale("log")
    axes.set_xlabel("time, where qal's is 1: left of the line is faster")
    axes.legend(fontsize=7, loc="center left", bbox_to_anchor=(1, 0.5))
    save(figure, path)
    plt.close(figure)


def chart_growth(plt, groups, panels, position, name_of, label, value, path):
    """A panel for each (title, pattern): qal's line for each workload, and dashed the fastest peer's."""
    figure, all_axes = plt.subplots(len(panels), 1, figsize=(8, 3.6 * len(panels)))
    for axes, (title, pattern) in zip(all_axes, panels):
        lines = defaultdict(list)
        for (workload, size), contenders in groups.items():
            at = position(size)
            if at is not None and re.match(pattern, workload) and "qal" in contenders:
                peer = fastest_peer(contenders)
                lines[workload].append((at, value(at, contenders["qal"]), value(at, peer[0]) if peer else None))
        for workload, points in sorted(lines.items()):
            if len(points) < 2:
                continue
            line = axes.plot(*zip(*[(at, y) for at, y, _ in points]), marker="o", markersize=3, label=workload)
            dashed = [(at, y) for at, _, y in points if y is not None]
            if dashed:
                axes.plot(*zip(*dashed), linestyle="--", linewidth=0.8, color=line[0].get_color())
        axes.set_xscale("log", base=2)
        shown = sorted({at for points in lines.values() if len(points) > 1 for at, _, _ in points})
        axes.set_xticks(shown, [name_of(at) for at in shown], minor=False)
        axes.set_xticks([], minor=True)
        axes.set_yscale("log")
        axes.set_title(f"{title} (dashed: the fastest other library)", fontsize=9)
        axes.set_xlabel(label[0])
        axes.set_ylabel(label[1])
        axes.legend(fontsize=7, loc="center left", bbox_to_anchor=(1, 0.5))
        axes.grid(True, which="both", linewidth=0.2)
    figure.tight_layout()
    save(figure, path)
    plt.close(figure)


def chart_threads(plt, groups, processors, path):
    scaling = thread_scaling(groups)
    figure, axes = plt.subplots(figsize=(8, 3.6))
    counts = sorted({threads for rates in scaling.values() for threads in rates}) or [1]
    axes.plot(counts, [min(n, processors) for n in counts], color="black", linewidth=0.8, linestyle="--",
              label=f"ideal on {processors} processors")
    for workload, rates in scaling.items():
        axes.plot(list(rates), [rate / rates[min(rates)] for rate in rates.values()], marker="o", markersize=3,
                  label=workload)
    axes.set_xscale("log", base=2)
    axes.set_xticks(counts, counts)
    axes.set_ylim(bottom=0)
    axes.set_xlabel("threads")
    axes.set_ylabel("throughput, that of one thread is 1")
    axes.legend(fontsize=7, loc="center left", bbox_to_anchor=(1, 0.5))
    axes.grid(True, linewidth=0.2)
    save(figure, path)
    plt.close(figure)


def draw(record, results):
    import matplotlib

    matplotlib.use("svg")
    import matplotlib.pyplot as plt

    plt.rcParams |= {"svg.hashsalt": "qal", "svg.fonttype": "none"}
    groups = groups_of(record["rows"])
    chart_ratios(plt, groups, results / "ratios.svg")
    for _, name, pattern in FAMILIES:
        chart_family(plt, groups, pattern, results / f"family-{name}.svg")
    chart_growth(
        plt, groups, [("Hash functions", r"streebog|gost94"), ("Ciphers", r"kuznyechik-ctr|gost28147-(?!keys|sbox)")],
        length_of, length_name, ("length of the message", "MB/s"), lambda size, ns: size / ns * 1e3, results / "throughput.svg",
    )
    chart_growth(
        plt, groups,
        [("Integers", r"product|square|division|montgomery|exponentiation"), ("RSA", r"rsa"), ("DSTU 4145-2002", r"dstu")],
        bits_of, str, ("bits", "ns"), lambda _, ns: ns, results / "cost.svg",
    )
    chart_threads(plt, groups, record.get("processors", 1), results / "threads.svg")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("record", type=pathlib.Path, help="what compare.py --json wrote")
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).parent.parent)
    parser.add_argument("--command", default="./dev bench")
    parser.add_argument("--check", action="store_true", help="only say whether the documents are up to date")
    arguments = parser.parse_args()
    record = json.loads(arguments.record.read_text())
    performance, front = arguments.root / "docs" / "PERFORMANCE.md", arguments.root / "README.md"
    made = {
        performance: document(record, arguments.command, CHARTS),
        front: readme(front.read_text(), record),
    }
    results = arguments.root / "bench" / "results"
    if arguments.check:
        missing = [name for name in CHARTS if not (results / f"{name}.svg").exists()]
        stale = [path.name for path, text in made.items() if path.read_text() != text]
        if missing or stale:
            sys.exit(f"report.py: not what {arguments.record} makes: {', '.join(stale + missing)}")
        return
    results.mkdir(exist_ok=True)
    draw(record, results)
    for path, text in made.items():
        path.write_text(text)


if __name__ == "__main__":
    main()
