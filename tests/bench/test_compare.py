"""bench/compare.py: its arithmetic, and how it asks programs."""

import contextlib
import io
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, sys.argv.pop(1))
import compare

FOUND = {
    "hash/1KiB/slow": [4000],
    "hash/1KiB/qal": [900, 1000, 99_000],
    "hash/1KiB/fast": [2000],
    "hash/1KiB/qal-portable": [2500],
    "hash/64B/qal": [100],
    "alone/8/qal": [5],
}

# A program that measures on demand: it is given what it offers, keeps an account in a file of what it
# was asked for, and answers 1, 2, 3 ...
SERVER = """
import json, os, sys
offer, account = json.loads(sys.argv[1]), sys.argv[2]
assert sys.argv[3:] == ["--serve", "--benchmark_min_time=0.5"], sys.argv
print(json.dumps({"cycles_per_ns": 2.5, "benchmarks": offer}), flush=True)
for turn, name in enumerate(sys.stdin, 1):
    with open(account, "a") as file:
        print(name.strip(), len(os.sched_getaffinity(0)), file=file)
    if name.strip() == "end/1/qal":
        sys.exit(3)
    print(turn, flush=True)
"""


class Table(unittest.TestCase):
    def test_medians_and_ratios(self):
        self.assertEqual(
            compare.table(FOUND),
            [
                ("alone", "8", "qal", 5, None, None),
                ("hash", "64B", "qal", 100, None, None),
                ("hash", "1KiB", "qal", 1000, "fast", 2.0),
                ("hash", "1KiB", "qal", 1000, "slow", 4.0),
                ("hash", "1KiB", "qal-portable", 2500, "fast", 0.8),
                ("hash", "1KiB", "qal-portable", 2500, "slow", 1.6),
                ("hash", "1KiB", "fast", 2000, None, None),
                ("hash", "1KiB", "slow", 4000, None, None),
            ],
        )

    def test_shown(self):
        out = io.StringIO()
        compare.show(compare.table(FOUND), 4.0, out)
        lines = out.getvalue().splitlines()
        self.assertIn("hash, 1KiB", lines)
        self.assertIn("  qal                           1000.0 ns          4000 cycles  2.00x fast  4.00x slow", lines)
        self.assertIn("  slow                          4000.0 ns         16000 cycles", lines)


class Programs(unittest.TestCase):
    def setUp(self):
        self.stack = contextlib.ExitStack()
        self.addCleanup(self.stack.close)
        folder = pathlib.Path(self.stack.enter_context(tempfile.TemporaryDirectory()))
        self.account = folder / "account"
        self.account.touch()
        self.server = folder / "server.py"
        self.server.write_text(SERVER)

    def command(self, offer):
        return f"{sys.executable} {self.server} '{json.dumps(offer)}' {self.account}"

    def programs(self, *offers, core=None):
        programs = [compare.Program(self.command(offer), 0.5, core) for offer in offers]
        for program in programs:
            self.stack.callback(program.close)
        return programs

    def asked(self):
        return [line.split()[0] for line in self.account.read_text().splitlines()]

    def test_turns_alternate_and_the_first_round_does_not_count(self):
        programs = self.programs(
            {"hash/1/qal": "a", "sign/1/qal": "b"}, {"hash/1/peer": "a", "sign/1/peer": None}
        )
        found = compare.measure(compare.contests(programs, "."), 2)
        forth = ["hash/1/qal", "hash/1/peer", "sign/1/qal", "sign/1/peer"]
        back = ["hash/1/peer", "hash/1/qal", "sign/1/peer", "sign/1/qal"]
        self.assertEqual(self.asked(), back + forth + back)
        # Each answers the number of the question.
        self.assertEqual(
            found,
            {"hash/1/qal": [3, 5], "sign/1/qal": [4, 6], "hash/1/peer": [3, 5], "sign/1/peer": [4, 6]},
        )

    def test_only_what_matches_is_measured(self):
        programs = self.programs({"hash/1/qal": "a", "sign/1/qal": "b"})
        self.assertEqual(set(compare.measure(compare.contests(programs, "^sign"), 1)), {"sign/1/qal"})

    def test_results_are_compared_across_programs(self):
        programs = self.programs({"hash/1/qal": "a", "sign/1/qal": "a"}, {"hash/1/peer": "b"})
        with self.assertRaisesRegex(RuntimeError, "hash/1/peer: the result is not that of hash/1/qal"):
            compare.contests(programs, ".")
        with self.assertRaisesRegex(RuntimeError, "hash/1/peer"):
            compare.contests(programs, "sign")

    def test_a_name_belongs_to_one_program(self):
        programs = self.programs({"hash/1/qal": "a"}, {"hash/1/qal": "a"})
        with self.assertRaisesRegex(RuntimeError, "in two programs"):
            compare.contests(programs, ".")

    def test_pinned(self):
        core = min(os.sched_getaffinity(0))
        compare.measure(compare.contests(self.programs({"hash/1/qal": "a"}, core=core), "."), 1)
        self.assertEqual({line.split()[1] for line in self.account.read_text().splitlines()}, {"1"})

    def test_a_program_that_ends(self):
        programs = self.programs({"end/1/qal": "a"})
        with self.assertRaisesRegex(RuntimeError, "ended with status 3"):
            compare.measure(compare.contests(programs, "."), 1)

    def test_whole(self):
        record = self.account.with_name("record.json")
        done = subprocess.run(
            [sys.executable, compare.__file__, "--rounds", "3", "--min-time", "0.5", "--json", record,
             "--unpinned", self.command({"threads-hash/2threads/qal": None}),
             self.command({"hash/1/qal": "a"}), self.command({"hash/1/peer": "a"})],
            capture_output=True, text=True,
        )
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("1.00x peer", done.stdout)
        written = json.loads(record.read_text())
        self.assertEqual(written["cycles_per_ns"], 2.5)
        self.assertEqual(written["rounds"], 3)
        self.assertEqual(
            written["rows"],
            [
                {"workload": "hash", "size": "1", "contender": "qal", "ns": 3.0},
                {"workload": "hash", "size": "1", "contender": "peer", "ns": 3.0},
                {"workload": "threads-hash", "size": "2threads", "contender": "qal", "ns": 3.0},
            ],
        )
        affinity = dict(line.split() for line in self.account.read_text().splitlines())
        self.assertEqual(affinity["hash/1/qal"], "1")
        self.assertEqual(affinity["threads-hash/2threads/qal"], str(len(os.sched_getaffinity(0))))

    def test_nothing_matches(self):
        done = subprocess.run(
            [sys.executable, compare.__file__, "--min-time", "0.5", "--filter", "x", self.command({"hash/1/qal": "a"})],
            capture_output=True, text=True,
        )
        self.assertEqual((done.returncode, done.stderr), (1, "compare.py: no benchmark matches 'x'\n"))


unittest.main()
