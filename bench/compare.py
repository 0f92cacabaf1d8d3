#!/usr/bin/env python3
"""Runs benchmark programs and prints how the library compares with the others.

Benchmarks are named workload/size/contender; contenders whose names begin with "qal" are the
library's own. All programs run at once, pinned to one processor, and measure what they are asked
for: in every round the contenders for a workload have their turns one after the other, in the next
round in the opposite order. The first round is for warming up. The median over the others stands for
a contender. A ratio above 1 means that the library is faster; only ratios of one run mean anything.
"""

import argparse
import csv
import json
import datetime
import os
import platform
import re
import shlex
import statistics
import subprocess
import sys
from collections import defaultdict


class Program:
    """A benchmark program that measures on demand (support/workload.hpp says how)."""

    def __init__(self, command, min_time, core=None):
        self.command = command
        self.process = subprocess.Popen(
            shlex.split(command) + ["--serve", f"--benchmark_min_time={min_time}"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
            preexec_fn=None if core is None else lambda: os.sched_setaffinity(0, {core}),
        )
        offer = json.loads(self.answer())
        self.results = offer["benchmarks"]
        self.cycles_per_ns = offer.get("cycles_per_ns")

    def answer(self):
        line = self.process.stdout.readline()
        if not line:
            raise RuntimeError(f"{self.command}: ended with status {self.process.wait()}")
        return line

    def measure(self, name):
        """Nanoseconds of one run."""
        self.process.stdin.write(name + "\n")
        self.process.stdin.flush()
        return float(self.answer())

    def close(self):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()


def contests(programs, pattern):
    """{(workload, size): [(name, program)]} of what matches; all that are compared must agree."""
    groups = defaultdict(list)
    expected = {}
    seen = {}
    for program in programs:
        for name, result in program.results.items():
            group = tuple(name.split("/")[:2])
            if seen.setdefault(name, program) is not program:
                raise RuntimeError(f"{name}: in two programs")
            if result is not None:
                first, agreed = expected.setdefault(group, (name, result))
                if result != agreed:
                    raise RuntimeError(f"{name}: the result is not that of {first}")
            if re.search(pattern, name):
                groups[group].append((name, program))
    return groups


def measure(groups, rounds, report=lambda line: None):
    """The time of each round in nanoseconds, by benchmark name."""
    found = defaultdict(list)
    for turn in range(rounds + 1):
        report("warming up" if turn == 0 else f"round {turn} of {rounds}")
        for contenders in groups.values():
            for name, program in contenders if turn % 2 else reversed(contenders):
                ns = program.measure(name)
                if turn > 0:
                    found[name].append(ns)
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
    "bouncycastle": "libbcprov-java",
    "java": "openjdk-17-jre-headless",
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


def record(rows, cycles_per_ns, rounds):
    """The figures with what they were measured on: processor, date, versions."""
    figures = dict.fromkeys(row[:4] for row in rows)
    return {
        "processor": processor(),
        "processors": len(os.sched_getaffinity(0)),
        "cycles_per_ns": cycles_per_ns,
        "rounds": rounds,
        "date": datetime.date.today().isoformat(),
        "system": platform.freedesktop_os_release().get("PRETTY_NAME", platform.system()),
        "versions": {name: package_version(package) for name, package in PEERS.items()},
        "rows": [dict(zip(("workload", "size", "contender", "ns"), row)) for row in figures],
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
    parser.add_argument("programs", nargs="+", metavar="COMMAND", help="programs with their arguments")
    parser.add_argument(
        "--unpinned", action="append", default=[], metavar="COMMAND", help="one that may use every processor"
    )
    parser.add_argument("--filter", default=".", help="regular expression over benchmark names")
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--min-time", type=float, default=0.03, help="seconds per benchmark and round")
    parser.add_argument("--core", type=int, default=max(os.sched_getaffinity(0)))
    parser.add_argument("--csv", help="file to write the table to")
    parser.add_argument("--json", help="file to write the table and its circumstances to")
    arguments = parser.parse_args()

    programs = []
    try:
        for command in arguments.programs:
            programs.append(Program(command, arguments.min_time, arguments.core))
        for command in arguments.unpinned:
            programs.append(Program(command, arguments.min_time))
        groups = contests(programs, arguments.filter)
        if not groups:
            sys.exit(f"compare.py: no benchmark matches '{arguments.filter}'")
        found = measure(groups, arguments.rounds, lambda line: print(line, file=sys.stderr, flush=True))
    except (OSError, RuntimeError, ValueError) as error:
        sys.exit(f"compare.py: {error}")
    finally:
        for program in programs:
            program.close()
    cycles_per_ns = statistics.median(program.cycles_per_ns for program in programs if program.cycles_per_ns)
    rows = table(found)
    if arguments.json:
        with open(arguments.json, "w") as file:
            json.dump(record(rows, cycles_per_ns, arguments.rounds), file, indent=1)
            file.write("\n")
    show(rows, cycles_per_ns, sys.stdout)
    if arguments.csv:
        with open(arguments.csv, "w", newline="") as file:
            writer = csv.writer(file)
            writer.writerow(["workload", "size", "contender", "ns", "peer", "ratio"])
            writer.writerows(rows)
        print(f"\nWritten to {arguments.csv}")


if __name__ == "__main__":
    main()
