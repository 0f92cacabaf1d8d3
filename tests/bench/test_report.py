"""bench/report.py: what it makes of a record, and that the documents are made of theirs."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

bench = pathlib.Path(sys.argv.pop(1))
sys.path.insert(0, str(bench))
import report


def rows(figures):
    """{"workload/size": {contender: ns}} as compare.py writes it."""
    return [
        dict(zip(("workload", "size"), name.split("/")), contender=contender, ns=ns)
        for name, contenders in figures.items()
        for contender, ns in contenders.items()
    ]


FIGURES = {
    "gost94/1MiB": {"qal": 2_097_152, "qal-portable": 5_000_000, "botan": 1_048_576},
    "gost94/64KiB": {"qal": 100_000, "qal-avx2": 150_000, "qal-portable": 400_000, "botan": 300_000, "nettle": 200_000},
    "gost94/64B": {"qal": 640, "botan": 1280},
    "dstu-sign/163bits": {"qal": 10_000, "openssl:sect163k1": 150_000},
    "threads-dstu-sign/2threads": {"qal": 5_000},
    "threads-dstu-sign/1thread": {"qal": 10_000},
}
RECORD = {
    "processor": "Some processor",
    "processors": 2,
    "cycles_per_ns": 2.5,
    "rounds": 7,
    "date": "2026-01-02",
    "system": "Some system",
    "versions": {"botan": "1.2", "nettle": None},
    "rows": rows(FIGURES),
}


class Texts(unittest.TestCase):
    def setUp(self):
        self.groups = report.groups_of(RECORD["rows"])
        self.document = report.document(RECORD, "./dev bench", report.CHARTS)

    def test_sizes_grow(self):
        self.assertEqual(
            [size for workload, size in self.groups if workload == "gost94"], ["64B", "64KiB", "1MiB"]
        )
        self.assertEqual(report.order("16digitsby8digits"), 1024)
        self.assertEqual(report.order("1536bits"), 1536)
        self.assertEqual(report.order("4threads"), 4)

    def test_main_table(self):
        self.assertEqual(
            report.main_table(self.groups)[2:],
            ["| GOST R 34.11-94, 64 KiB | 100 µs | 150 µs | 200 µs (nettle) | 2.00× |"],
        )

    def test_circumstances(self):
        for text in ("Some processor (time-stamp counter 2.50 GHz), Some system, 2026-01-02", "    ./dev bench\n",
                     "beside botan 1.2.\n"):
            self.assertIn(text, self.document)

    def test_table_of_a_workload(self):
        self.assertIn(
            "### gost94\n\n"
            "| size | cycles per byte | qal | qal-avx2 | qal-portable | botan | nettle |\n"
            "|---|---:|---:|---:|---:|---:|---:|\n"
            "| 64B | 25.00 | 640 ns |  |  | 1.28 µs (2.00×) |  |\n"
            "| 64KiB | 3.81 | 100 µs | 150 µs (1.50×) | 400 µs (4.00×) | 300 µs (3.00×) | 200 µs (2.00×) |\n"
            "| 1MiB | 5.00 | 2.1 ms |  | 5 ms (2.38×) | 1.05 ms (0.50×) |  |\n",
            self.document,
        )

    def test_a_remark_goes_to_the_figure(self):
        self.assertIn("| size | cycles | qal | openssl |\n", self.document)
        self.assertIn("| 163bits | 25000 | 10 µs | 150 µs (15.0×, sect163k1) |\n", self.document)

    def test_what_is_slower_is_said(self):
        lines = report.slower_lines(self.groups)
        self.assertIn("`qal` is slower than the fastest other library in 1 of 4 comparisons:", lines)
        self.assertIn("- **gost94**: 1MiB 0.50× (botan).", lines)
        self.assertIn("`qal-avx2` is slower than the fastest other library in 0 of 1 comparisons.", lines)
        self.assertIn("`qal-portable` is slower than the fastest other library in 2 of 2 comparisons:", lines)
        self.assertIn("- **gost94**: 64KiB 0.50× (nettle), 1MiB 0.21× (botan).", lines)

    def test_threads(self):
        self.assertEqual(
            report.threads_table(self.groups),
            [
                "| operations per second | 1 thread | 2 threads |",
                "|---|---:|---:|",
                "| dstu-sign | 100000 (1.00×) | 200000 (2.00×) |",
            ],
        )
        self.assertNotIn("### threads", self.document)

    def test_readme(self):
        text = f"before\n{report.BEGIN}\nold\n{report.END}\nafter\n"
        made = report.readme(text, RECORD)
        self.assertTrue(made.startswith(f"before\n{report.BEGIN}\n\n| | qal |"), made)
        self.assertTrue(made.endswith(f"\n{report.END}\nafter\n"), made)
        self.assertNotIn("old", made)
        self.assertEqual(report.readme(made, RECORD), made)
        with self.assertRaises(ValueError):
            report.readme("no place", RECORD)


class Documents(unittest.TestCase):
    def check(self, root):
        return subprocess.run(
            [sys.executable, bench / "report.py", "--check", "--root", root, root / "bench/results/compare.json"],
            capture_output=True, text=True,
        )

    def test_the_documents_are_made_of_the_record(self):
        done = self.check(bench.parent)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_others_are_told(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "bench/results").mkdir(parents=True)
            (root / "docs").mkdir()
            (root / "bench/results/compare.json").write_text(json.dumps(RECORD))
            (root / "README.md").write_text(f"{report.BEGIN}\n{report.END}\n")
            (root / "docs/PERFORMANCE.md").write_text(report.document(RECORD, "./dev bench", report.CHARTS))
            for name in report.CHARTS:
                (root / f"bench/results/{name}.svg").touch()
            done = self.check(root)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr, r"not what .*compare\.json makes: README\.md$")
            (root / "README.md").write_text(report.readme((root / "README.md").read_text(), RECORD))
            self.assertEqual(self.check(root).returncode, 0)
            (root / "bench/results/cost.svg").unlink()
            self.assertRegex(self.check(root).stderr, r": cost$")


unittest.main()
