"""The arithmetic of bench/compare.py, on a report as Google Benchmark writes it."""

import io
import sys
import unittest

sys.path.insert(0, sys.argv.pop(1))
import compare


def entry(name, time, unit="ns", kind="iteration"):
    return {"run_name": name, "run_type": kind, "cpu_time": time, "time_unit": unit}


REPORT = {
    "benchmarks": [
        entry("hash/1KiB/slow", 4000),
        entry("hash/1KiB/qal", 900),
        entry("hash/1KiB/fast", 2, "us"),
        entry("hash/1KiB/qal", 1000),
        entry("hash/1KiB/qal", 99_000),
        entry("hash/1KiB/qal-portable", 2500),
        entry("hash/1KiB/qal", 1, kind="aggregate"),
        entry("hash/64B/qal", 100),
        entry("alone/8/qal", 5),
    ]
}


class Table(unittest.TestCase):
    def test_medians_and_ratios(self):
        self.assertEqual(
            compare.table(compare.times(REPORT)),
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
        compare.show(compare.table(compare.times(REPORT)), 4.0, out)
        lines = out.getvalue().splitlines()
        self.assertIn("hash, 1KiB", lines)
        self.assertIn("  qal                           1000.0 ns          4000 cycles  2.00x fast  4.00x slow", lines)
        self.assertIn("  slow                          4000.0 ns         16000 cycles", lines)


unittest.main()
