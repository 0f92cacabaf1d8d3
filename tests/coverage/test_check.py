"""The list of exceptions and its comparison with a report as gcov writes it."""

import collections
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import check
import listed

SOURCE = ["int f(int x)", "{", "    if (x)", "        return 0;", "    return 0;", "}"]


def line(number, count, *branches):
    return {"line_number": number, "count": count, "branches": [{"count": taken} for taken in branches]}


def report(file, *lines):
    return {"files": [{"file": file, "lines": list(lines)}, {"file": "/usr/include/g.h", "lines": [line(1, 0)]}]}


def counted(*reports):
    files = collections.defaultdict(lambda: collections.defaultdict(check.Line))
    for one in reports:
        check.add_report(files, one)
    return files


FILES = counted(report("src/f.cpp", line(1, 3), line(3, 3, 0, 3), line(4, 0), line(5, 3)))


def parsed(text):
    with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
        file.write(text)
        file.flush()
        return listed.read(file.name, "|?")


def complaints(text, files=FILES):
    return check.compare(check.unreached(files, lambda file: SOURCE), parsed(text))


GOOD = """# Comment

src/f.cpp
    ? if (x)
    | return 0;
    Nobody calls it
    with another argument.
"""


class Check(unittest.TestCase):
    def test_everything_is_listed(self):
        self.assertEqual(complaints(GOOD), [])

    def test_unlisted_lines_and_branches(self):
        self.assertEqual(
            complaints("src/f.cpp\n    | return 0;\n    Why.\n"),
            ["src/f.cpp:3: has a branch that is not taken: if (x)"],
        )
        self.assertEqual(
            complaints("src/g.cpp\n    | x\n    Why.\n"),
            [
                "src/f.cpp:3: has a branch that is not taken: if (x)",
                "src/f.cpp:4: is not executed: return 0;",
                "exceptions.txt: src/g.cpp: needs no exception (any longer): | x",
            ],
        )

    def test_listed_as_often_as_it_is(self):
        twice = GOOD.replace("    | return 0;\n", "    | return 0;\n" * 2)
        self.assertEqual(
            complaints(twice), ["exceptions.txt: src/f.cpp: needs no exception (any longer): | return 0;"]
        )

    def test_a_star_stands_for_all_lines(self):
        self.assertEqual(complaints("src/f.cpp\n    ? *\n    | *\n    Why.\n"), [])
        self.assertEqual(
            complaints(GOOD + "\nsrc/g.cpp\n    | *\n    Why.\n"),
            ["exceptions.txt: src/g.cpp: needs no exception (any longer): | *"],
        )

    def test_counts_of_several_objects_are_one(self):
        first = report("src/f.h", line(1, 0), line(2, 1, 1, 0))
        second = report("src/f.h", line(1, 2), line(2, 1, 0, 1))
        self.assertEqual(complaints("", counted(first, second)), [])
        template = report("src/f.h", line(1, 2), line(2, 1, 1, 0, 0))
        self.assertEqual(
            complaints("", counted(first, second, template)),
            ["src/f.h:2: has a branch that is not taken: {"],
        )

    def test_table(self):
        self.assertEqual(check.table(FILES)[-1].split(), "all 3 of 4 lines 1 of 2 branches".split())

    def test_lists_are_strict(self):
        self.assertEqual(parsed(GOOD)[0].reason, "Nobody calls it with another argument.")
        for text in ("    | x\n", "src/f.cpp\n    | x\n", "src/f.cpp\n    Why.\n", "src/f.cpp\n    Why.\n    | x\n"):
            with self.assertRaises(listed.Malformed):
                parsed(text)

    def test_our_list_names_what_is_there(self):
        for entry in listed.read(check.LIST, "|?"):
            lines = [line.strip() for line in (check.ROOT / entry.file).read_text().split("\n")]
            for mark, text in entry.texts:
                self.assertIn(text, ["*", *lines], entry.place)


unittest.main()
