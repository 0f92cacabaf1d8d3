"""Writes the library's twin: C source that defines what the headers declare, with empty bodies.

Compiled with full debugging information it says all about the binary interface. The library itself
cannot: it is shipped without, and has functions in assembly and indirect ones.
"""

import argparse
import re
from pathlib import Path


def declarations(header):
    """What stands between QAL_API and its semicolon, comments left out"""
    text = re.sub(r"/\*.*?\*/", "", header.read_text(), flags=re.S)
    return [" ".join(found.split()) for found in re.findall(r"^\s*QAL_API\b([^;]*);", text, flags=re.M)]


def definition(declaration):
    if declaration.startswith("extern "):
        return f"{declaration.removeprefix('extern ')};"
    return f"{declaration} {{ __builtin_trap(); }}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("include", type=Path, help="directory with qal/*.h")
    parser.add_argument("output", type=Path)
    args = parser.parse_args()
    lines = ["#include <qal/qal.h>"]
    for header in sorted((args.include / "qal").glob("*.h")):
        lines += map(definition, declarations(header))
    args.output.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
