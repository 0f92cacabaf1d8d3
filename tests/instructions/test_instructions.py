"""The guard over instruction counts: what it reads, what it lets pass, and what it does not."""

import contextlib
import io
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

import instructions

RECORD = Path(instructions.__file__).with_name("counts.txt")

# As callgrind writes it with the options in instructions.py
DUMP = """\
version: 1
part: 1
desc: Trigger: Client Request: qalmul | 4 digits
events: Ir
ob=/tmp/program
fl=somewhere.cpp
fn=std::_Function_handler<void (), qal::test::Operations::add_integers()::{lambda()#1}>
0 5
cfn=qalmul
calls=1 0
0 112
fn=qalmul
0 40
+3 60
cob=/lib/libc.so.6
cfn=memcpy
calls=2 0
* 12
ob=/lib/libc.so.6
fn=memcpy
0 12
totals: 117

part: 2
desc: Trigger: Client Request: qalinverse |
events: Ir
ob=/tmp/program
fn=qalinverse
0 41
fn=main
0 1000
totals: 1041

part: 3
desc: Trigger: Program termination
ob=/tmp/program
fn=exit_handler
0 77
"""


def run(record, counts, *options, compiler=None):
    """main()'s status and output when callgrind counts this"""
    with tempfile.TemporaryDirectory() as scratch:
        path = Path(scratch) / "counts.txt"
        path.write_text(record)
        arguments = ["instructions.py", "--record", str(path),
                     "--compiler", compiler or instructions.read_record(path)[0],
                     "--program", "baseline", "baseline", "--program", "avx2", "avx2", *options]
        out = io.StringIO()
        with mock.patch.object(instructions, "measure", lambda program: dict(counts[program])), \
                mock.patch.object(instructions, "runnable", lambda: list(counts)), \
                mock.patch.object(sys, "argv", arguments), contextlib.redirect_stdout(out):
            status = instructions.main()
        return status, out.getvalue(), path.read_text()


class Guard(unittest.TestCase):
    def setUp(self):
        self.text = RECORD.read_text()
        self.compiler, self.record = instructions.read_record(RECORD)
        self.counts = {each: {label: counts[each] for label, (_, counts) in self.record.items()}
                       for each in instructions.CLASSES}

    def test_reads_what_the_library_itself_executes(self):
        counts = instructions.parse_dump(DUMP.splitlines(keepends=True), "/tmp/program")
        self.assertEqual(counts, {"qalmul | 4 digits": 100, "qalinverse |": 41})

    def test_accepts_the_record(self):
        status, out, _ = run(self.text, self.counts)
        self.assertEqual(status, 0, out)
        self.assertGreater(len(self.record), 500)

    def test_fails_when_anything_takes_more(self):
        for each in instructions.CLASSES:
            for label in ("qalmul | 16 digits", "rsa_sign | 2048 bits", "kuzn_ctr_update | 16 KiB"):
                was = self.counts[each][label]
                more = was + max(was * 3 // 100, 20)
                status, out, _ = run(self.text, self.counts | {each: self.counts[each] | {label: more}})
                self.assertEqual(status, 1)
                self.assertIn(f"more: {each}: {label}: {was} -> {more}", out)

    def test_fails_with_a_doctored_record(self):
        line = next(line for line in self.text.splitlines() if line.startswith("rds_sign "))
        name, arguments, tolerance, baseline, avx2 = line.split("|")
        doctored = "|".join((name, arguments, tolerance, str(int(baseline) * 9 // 10), avx2))
        status, out, _ = run(self.text.replace(line, doctored), self.counts)
        self.assertEqual(status, 1)
        self.assertIn("more: baseline: rds_sign", out)

    def test_leaves_room_up_to_the_tolerance(self):
        label = "rsa_sign | 2048 bits"
        was = self.counts["avx2"][label]
        tolerance = self.record[label][0]
        for percent, expected in ((tolerance - 0.1, 0), (tolerance + 0.1, 1)):
            now = int(was * (1 + percent / 100))
            status, _, _ = run(self.text, self.counts | {"avx2": self.counts["avx2"] | {label: now}})
            self.assertEqual(status, expected, percent)

    def test_says_when_something_takes_less(self):
        label = "rsa_sign | 2048 bits"
        less = self.counts["avx2"][label] // 2
        counts = self.counts | {"avx2": self.counts["avx2"] | {label: less}}
        status, out, _ = run(self.text, counts)
        self.assertEqual(status, 0)
        self.assertIn(f"less: avx2: {label}", out)
        self.assertIn("--update", out)
        # Recorded, it no longer may take what it took.
        status, _, updated = run(self.text, counts, "--update")
        self.assertEqual(status, 0)
        self.assertEqual(run(updated, counts)[0], 0)
        self.assertEqual(run(updated, self.counts)[0], 1)

    def test_fails_when_operations_come_or_go(self):
        less = dict(self.counts["avx2"])
        less.pop("qalmul | 16 digits")
        self.assertEqual(run(self.text, self.counts | {"avx2": less})[0], 1)
        more = self.counts["avx2"] | {"qalnew | ": 1}
        self.assertEqual(run(self.text, self.counts | {"avx2": more})[0], 1)

    def test_fails_for_another_compiler(self):
        self.assertEqual(run(self.text, self.counts, compiler="another")[0], 1)

    def test_compares_the_classes_that_the_processor_has(self):
        status, out, _ = run(self.text, {"baseline": self.counts["baseline"]})
        self.assertEqual(status, 0)
        self.assertIn("avx2: this processor does not have the instructions", out)
        status, _, text = run(self.text, {"baseline": self.counts["baseline"]}, "--update")
        self.assertEqual((status, text), (1, self.text))

    def test_writes_what_it_reads(self):
        self.assertEqual(instructions.format_record(self.compiler, self.record), self.text)


if __name__ == "__main__":
    unittest.main()
