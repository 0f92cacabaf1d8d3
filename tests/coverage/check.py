"""Tells what of the library no test executes, and compares that with the list of what none can.

    check.py BUILD

BUILD was compiled by gcc with --coverage, and its tests have run. In exceptions.txt a line behind |
is never executed, and of one behind ? some branch is never taken. A line stands there as often as
the file has it so; * stands for all that the file has. What is missing from the list, and what is
on it without need, is an error.

Lines of headers are counted over everything in the library that includes them. Branches of a line
are put together over the functions that have as many there: those are instances of one template or
variants of one routine.
"""

import collections
import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/support"))
import listed

LIST = ROOT / "tests/coverage/exceptions.txt"


class Line:
    def __init__(self):
        self.count = 0
        self.branches = {}  # by their number, how often each was taken

    def add(self, line):
        self.count += line["count"]
        taken = [branch["count"] for branch in line["branches"]]
        sums = self.branches.setdefault(len(taken), [0] * len(taken))
        self.branches[len(taken)] = [a + b for a, b in zip(sums, taken)]

    @property
    def all_branches(self):
        return [count for counts in self.branches.values() for count in counts]


def add_report(files, report, root=ROOT):
    """Adds a report of gcov's to {file: {number: Line}} for the sources of the library."""
    for part in report["files"]:
        path = root / part["file"]  # the library is compiled with names relative to the tree
        if path.is_relative_to(root / "src"):
            lines = files[str(path.relative_to(root))]
            for line in part["lines"]:
                lines[line["line_number"]].add(line)


def collect(build):
    files = collections.defaultdict(lambda: collections.defaultdict(Line))
    objects = [str(path) for path in sorted((build / "src/CMakeFiles/qal_objects.dir").rglob("*.gcno"))]
    output = subprocess.run(["gcov", "--json-format", "--stdout", "--branch-probabilities", *objects], cwd=build,
                            check=True, capture_output=True, text=True).stdout
    for report in output.splitlines():
        if report:
            add_report(files, json.loads(report))
    return files


def unreached(files, texts_of):
    """{(file, mark, text): [number, ...]} of lines not executed and of lines with branches not taken."""
    found = collections.defaultdict(list)
    for file, lines in files.items():
        texts = texts_of(file)
        for number, line in sorted(lines.items()):
            if line.count == 0:
                found[file, "|", texts[number - 1].strip()].append(number)
            elif 0 in line.all_branches:
                found[file, "?", texts[number - 1].strip()].append(number)
    return found


def compare(found, entries):
    """Complaints, none if the list says what is."""
    expected = collections.Counter((entry.file, *text) for entry in entries for text in entry.texts)
    complaints = []
    for (file, mark, text), numbers in sorted(found.items(), key=lambda item: (item[0][0], item[1])):
        if expected[file, mark, "*"]:
            continue
        if len(numbers) > expected[file, mark, text]:
            what = "is not executed" if mark == "|" else "has a branch that is not taken"
            complaints.append(f"{file}:{','.join(map(str, numbers))}: {what}: {text}")
    for (file, mark, text), count in sorted(expected.items()):
        if text == "*":
            used = any(key[:2] == (file, mark) for key in found)
        else:
            used = len(found.get((file, mark, text), ())) >= count
        if not used:
            complaints.append(f"{LIST.name}: {file}: needs no exception (any longer): {mark} {text}")
    return complaints


def table(files):
    """What was executed of each file and of all: lines and branches."""
    rows = []
    for file, lines in sorted(files.items()):
        branches = [count for line in lines.values() for count in line.all_branches]
        rows.append((file, sum(line.count > 0 for line in lines.values()), len(lines),
                     sum(count > 0 for count in branches), len(branches)))
    rows.append(("all", *(sum(row[i] for row in rows) for i in range(1, 5))))
    return [f"{row[0]:45} {row[1]:5} of {row[2]:5} lines {row[3]:5} of {row[4]:5} branches" for row in rows]


def main(build):
    files = collect(pathlib.Path(build).resolve())
    found = unreached(files, lambda file: (ROOT / file).read_text().split("\n"))
    complaints = compare(found, listed.read(LIST, "|?"))
    print("\n".join([*table(files), *complaints]))
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
