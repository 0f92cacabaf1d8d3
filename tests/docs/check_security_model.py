"""The table of operations in docs/SECURITY-MODEL.md has every exported function.

Its first column names functions, patterns of them (`kuzn_ctr_*`), or, where a row has nothing else, the
headers whose functions it is about.
"""

import re
import sys
from fnmatch import fnmatchcase
from pathlib import Path

root = Path(sys.argv[1])
functions = {}
for line in (root / "cmake/exports.txt").read_text().splitlines():
    words = line.split()
    if len(words) == 3 and words[1] == "function":
        functions[words[0]] = words[2]
model = (root / "docs/SECURITY-MODEL.md").read_text()
section = model.split("## Operation by operation")[1].split("\n## ")[0]

listed, wrong = set(), []
for row in re.findall(r"^\| (.*?) \|", section, re.M):
    names = re.findall(r"`([^`]+)`", row)
    headers = [name for name in names if name.endswith(".h")]
    others = [name for name in names if name not in headers]
    for name in others or headers:
        found = {f for f, header in functions.items() if fnmatchcase(f, name) or header == name}
        if others and headers:
            found = {f for f in found if functions[f] in headers}
        if not found:
            wrong.append(f"{name} is no exported function")
        listed |= found
wrong += [f"{name} is missing" for name in sorted(functions.keys() - listed)]
if wrong:
    sys.exit("docs/SECURITY-MODEL.md, operation by operation: " + ", ".join(wrong))
