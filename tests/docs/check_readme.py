"""The code in README.md is that of the examples, which are compiled and run."""

import re
import sys
from pathlib import Path

root = Path(sys.argv[1])
blocks = re.findall(r"^```(c|cpp)\n(.*?)^```$", (root / "README.md").read_text(), re.M | re.S)
shown = {language: code for language, code in blocks}
wrong = [
    language
    for language in ("c", "cpp")
    if shown.get(language) != (root / "examples" / f"streebog.{language}").read_text()
]
if wrong or len(blocks) != 2:
    sys.exit(f"README.md does not show examples/streebog.{{{','.join(wrong)}}} as they are")
