"""Counts the instructions that operations take, and compares them with those on record.

callgrind executes a program that calls every exported operation once on fixed arguments. What counts
is what the library executes itself: the C library chooses its own variants by the processor. So the
figures are the same on every machine, as far as the compiler is the same, which the record names.

A count that is higher than its record by more than the tolerance is an error. One that is lower by
more than that is reported, so that the record can follow: ./dev instructions --update
"""

import argparse
import re
import subprocess
import sys
import tempfile
from pathlib import Path

CLASSES = ("baseline", "avx2")
TOLERANCE = 2.0
# A few instructions more are no regression, however few there are.
SLACK = 8

HEAD = """\
# Instructions that the library executes, as callgrind counts them, by operation and arguments, in the
# class of variants for any x86-64 and in that of AVX2 with BMI2, ADX and PCLMULQDQ; before them what a
# count may exceed the figure by, in percent. Written by ./dev instructions --update
"""


def parse_dump(lines, program):
    """label -> instructions that functions of the program have executed themselves.

    Calls of the operations, which are the program's as well, are left out.
    """
    counts = {}
    label = None
    ours = named = skip = False
    for line in lines:
        if line.startswith("desc: Trigger: "):
            _, found, label = line.rstrip("\n").partition("Client Request: ")
            label = label if found else None
            if label in counts:
                raise ValueError(f"two counts of {label}")
            if label is not None:
                counts[label] = 0
        elif line.startswith("ob="):
            ours = line[3:].strip() == program
        elif line.startswith("fn="):
            named = "qal::test::" not in line and line.strip() not in ("fn=main", "fn=(below main)")
        elif line.startswith("calls="):
            skip = True
        elif label is not None and re.match(r"[+*\-\d]", line):
            if not skip and ours and named:
                counts[label] += int(line.split()[1])
            skip = False
    return counts


def measure(program):
    with tempfile.TemporaryDirectory() as scratch:
        out = Path(scratch) / "counts"
        command = ["valgrind", "--quiet", "--tool=callgrind", "--instr-atstart=no", "--combine-dumps=yes",
                   "--compress-strings=no", "--compress-pos=no", f"--callgrind-out-file={out}", program]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        with out.open() as lines:
            return parse_dump(lines, program)


def read_record(path):
    """(compiler, {label: (tolerance, {class: count})})"""
    compiler, record = None, {}
    for line in path.read_text().splitlines():
        if not line or line.startswith("#"):
            continue
        if line.startswith("compiler: "):
            compiler = line.removeprefix("compiler: ")
            continue
        name, arguments, *numbers = (column.strip() for column in line.split("|"))
        tolerance, *counts = numbers
        label = f"{name} | {arguments}"
        if label in record:
            raise SystemExit(f"{label} stands twice in {path}")
        record[label] = (float(tolerance), dict(zip(CLASSES, map(int, counts), strict=True)))
    return compiler, record


def format_record(compiler, record):
    rows = [(*label.split(" | "), f"{tolerance:g}", *(str(counts[each]) for each in CLASSES))
            for label, (tolerance, counts) in record.items()]
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    lines = [" | ".join(cell.ljust(width) if i < 2 else cell.rjust(width)
                        for i, (cell, width) in enumerate(zip(row, widths))) for row in rows]
    return f"{HEAD}compiler: {compiler}\n\n" + "\n".join(lines) + "\n"


def compare(record, counts, classes):
    """(errors, remarks) about counts = {class: {label: count}}"""
    errors, remarks = [], []
    for each in classes:
        errors += [f"{each}: {label} is not on record" for label in counts[each] if label not in record]
        for label, (tolerance, expected) in record.items():
            if label not in counts[each]:
                errors.append(f"{each}: {label} is on record, but was not counted")
                continue
            was, now = expected[each], counts[each][label]
            limit = max(was * tolerance / 100, SLACK)
            text = f"{each}: {label}: {was} -> {now} ({(now - was) / max(was, 1):+.1%})"
            if now - was > limit:
                errors.append(f"more: {text}")
            elif was - now > limit:
                remarks.append(f"less: {text}")
    return errors, remarks


def runnable():
    flags = re.search(r"^flags\s*:(.*)$", Path("/proc/cpuinfo").read_text(), re.M).group(1).split()
    return [each for each in CLASSES if each == "baseline" or {"avx2", "bmi2", "adx", "pclmulqdq"} <= set(flags)]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--record", type=Path, required=True)
    parser.add_argument("--compiler", required=True, help="what the programs were built with")
    parser.add_argument("--program", nargs=2, action="append", required=True, metavar=("CLASS", "FILE"))
    parser.add_argument("--update", action="store_true", help="write the record")
    args = parser.parse_args()
    programs = dict(args.program)
    classes = runnable()
    for each in CLASSES:
        if each not in classes:
            print(f"{each}: this processor does not have the instructions")
    if args.update:
        if len(classes) < len(CLASSES):
            return 1
        tolerances = {label: tolerance for label, (tolerance, _) in read_record(args.record)[1].items()} if args.record.exists() else {}
        counts = {each: measure(programs[each]) for each in classes}
        record = {label: (tolerances.get(label, TOLERANCE), {each: counts[each][label] for each in CLASSES})
                  for label in counts[CLASSES[0]]}
        args.record.write_text(format_record(args.compiler, record))
        return 0
    compiler, record = read_record(args.record)
    if compiler != args.compiler:
        print(f"The record is that of {compiler}; what {args.compiler} makes cannot be compared with it.")
        return 1
    errors, remarks = compare(record, {each: measure(programs[each]) for each in classes}, classes)
    for line in remarks + errors:
        print(line)
    if remarks:
        print("Where it became less, the record can follow: ./dev instructions --update")
    if not errors:
        print(f"{len(record)} calls take no more instructions than on record ({', '.join(classes)})")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
