#!/usr/bin/env python3
"""Runs benchmark programs and prints how the library compares with the others.

Benchmarks are named workload/size/contender; contenders whose names begin with "qal" are the
library's own. Each program runs pinned to one processor, its benchmarks in random order round after
round, and the median over the rounds stands for a contender. A ratio above 1 means that the library
is faster; only ratios of one run mean anything.
"""

import argparse
import csv
import json
import datetime
import os
import platform
import statistics
import subprocess
import sys
from collections import defaultdict


def run(program, rounds, min_time, core, pattern):
    """The report of Google Benchmark."""
    command = [
        program,
        "--benchmark_format=json",
        f"--benchmark_repetitions={rounds}",
        f"--benchmark_min_time={min_time}",
        "--benchmark_enable_random_interleaving=true",
        f"--benchmark_filter={pattern}",
    ]
    done = subprocess.run(
        command,
        stdout=subprocess.PIPE,
        text=True,
        check=True,
        preexec_fn=lambda: os.sched_setaffinity(0, {core}),
    )
    return json.loads(done.stdout) if done.stdout.strip() else {"context": {}, "benchmarks": []}


def times(report):
    """The time of each round in nanoseconds, by benchmark name."""
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    found = defaultdict(list)
    for entry in report["benchmarks"]:
        if entry["run_type"] == "iteration":
            found[entry["run_name"]].append(entry["cpu_time"] * unit[entry["time_unit"]])
    return found


def table(found):
    """Rows (workload, size, contender, ns, peer, ratio): growing sizes, the library first.

    Each contender of the library has a row for every peer, the fastest first; peers have one row.
    """
    groups = defaultdict(dict)
    for name, rounds in found.items():
        workload, size, contender = name.split("/")
        groups[workload, size][contender] = statistics.median(rounds)
    rows = []
    by_cost = sorted(groups.items(), key=lambda group: (group[0][0], min(group[1].values())))
    for (workload, size), contenders in by_cost:
        ordered = sorted(contenders.items(), key=lambda item: item[1])
        peers = [(name, ns) for name, ns in ordered if not name.startswith("qal")]
        for contender, ns in ordered:
            if contender.startswith("qal"):
                for peer, peer_ns in peers or [(None, None)]:
                    ratio = peer_ns / ns if peer else None
                    rows.append((workload, size, contender, ns, peer, ratio))
        rows += [(workload, size, peer, ns, None, None) for peer, ns in peers]
    return rows


PEERS = {
    "openssl": "libssl-dev",
    "openssl-gost-engine": "libengine-gost-openssl",
    "libgcrypt": "libgcrypt20-dev",
    "nettle": "nettle-dev",
    "botan": "libbotan-2-dev",
    "crypto++": "libcrypto++-dev",
    "gmp": "libgmp-dev",
}


def package_version(package):
    done = subprocess.run(
        ["dpkg-query", "-W", "-f", "${Version}", package], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True
    )
    return done.stdout or None


def processor():
    with open("/proc/cpuinfo") as info:
        fields = dict(line.split(":", 1) for line in info.read().split("\n\n")[0].splitlines() if ":" in line)
    fields = {name.strip(): value.strip() for name, value in fields.items()}
    return "{model name}, family {cpu family}, model {model}".format(**fields)


def record(rows, cycles_per_ns):
    """The table with what it was measured on: processor, date, versions."""
    return {
        "processor": processor(),
        "cycles_per_ns": cycles_per_ns,
        "date": datetime.date.today().isoformat(),
        "system": platform.freedesktop_os_release().get("PRETTY_NAME", platform.system()),
        "versions": {name: package_version(package) for name, package in PEERS.items()},
        "rows": [
            dict(zip(("workload", "size", "contender", "ns", "peer", "ratio"), row)) for row in rows
        ],
    }


def show(rows, cycles_per_ns, out):
    """A line per contender; the library's with the ratio to each peer, the fastest peer first.

    Cycles are those of the time-stamp counter, which runs at one speed whatever the processor's.
    """
    heading = line = None
    for workload, size, contender, ns, peer, ratio in rows:
        if (workload, size) != heading:
            print(f"\n{workload}, {size}", end="", file=out)
            heading = workload, size
            line = None
        if contender != line:
            print(f"\n  {contender:<22}{ns:>14.1f} ns{ns * cycles_per_ns:>14.0f} cycles", end="", file=out)
            line = contender
        if peer:
            print(f"  {ratio:.2f}x {peer}", end="", file=out)
    print(file=out)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("programs", nargs="+", metavar="PROGRAM")
    parser.add_argument("--filter", default=".", help="regular expression over benchmark names")
    parser.add_argument("--rounds", type=int, default=9)
    parser.add_argument("--min-time", type=float, default=0.05, help="seconds per benchmark and round")
    parser.add_argument("--core", type=int, default=max(os.sched_getaffinity(0)))
    parser.add_argument("--csv", help="file to write the table to")
    parser.add_argument("--json", help="file to write the table and its circumstances to")
    arguments = parser.parse_args()

    found = {}
    frequencies = []
    for program in arguments.programs:
        try:
            report = run(
                program, arguments.rounds, arguments.min_time, arguments.core, arguments.filter
            )
            found |= times(report)
            frequencies.append(float(report["context"].get("cycles_per_ns", "nan")))
        except (OSError, subprocess.CalledProcessError) as error:
            sys.exit(f"compare.py: {program}: {error}")
    if not found:
        sys.exit(f"compare.py: no benchmark matches '{arguments.filter}'")
    rows = table(found)
    if arguments.json:
        with open(arguments.json, "w") as file:
            json.dump(record(rows, statistics.median(frequencies)), file, indent=1)
            file.write("\n")
    show(rows, statistics.median(frequencies), sys.stdout)
    if arguments.csv:
        with open(arguments.csv, "w", newline="") as file:
            writer = csv.writer(file)
            writer.writerow(["workload", "size", "contender", "ns", "peer", "ratio"])
            writer.writerows(rows)
        print(f"\nWritten to {arguments.csv}")


if __name__ == "__main__":
    main()
