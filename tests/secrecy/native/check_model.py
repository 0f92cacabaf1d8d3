"""Compares the table of the security model with what the search for secrets in time runs.

A cell that begins with "independent" is a promise. Each one must be searched for what breaks it, and
nothing is searched that is not promised.
"""

import re
import subprocess
import sys
from pathlib import Path

CLASSES = {"x86-64": "baseline", "AVX2": "avx2", "GFNI": "gfni", "AVX-512": "avx512"}


def promises(text):
    """{(class, operation)} of the table"""
    lines = text[text.index("## Operation by operation"):].splitlines()
    rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in lines if line.startswith("|")]
    head, _, *rows = rows
    if head != ["operation", "secret", *CLASSES]:
        raise SystemExit(f"the table has other columns: {head}")
    found = set()
    for operation, _, *cells in rows:
        # A name and what belongs to it, or a list of functions
        title, colon, _ = operation.partition(": ")
        names = [title.strip("`")] if colon else re.findall(r"`([^`]+)`", operation)
        for each, cell in zip(CLASSES.values(), cells, strict=True):
            if cell.startswith("independent"):
                found |= {(each, name) for name in names}
    return found


def main():
    model, program = sys.argv[1:]
    promised = promises(Path(model).read_text())
    listed = subprocess.run([program, "--list"], check=True, capture_output=True, text=True).stdout
    searched = {tuple(line.split("\t")) for line in listed.splitlines()}
    for each, operation in sorted(promised - searched):
        print(f"{each}: {operation} is promised, but nothing looks whether it is so")
    for each, operation in sorted(searched - promised):
        print(f"{each}: {operation} is searched, but not promised")
    return 0 if promised and promised == searched else 1


if __name__ == "__main__":
    sys.exit(main())
