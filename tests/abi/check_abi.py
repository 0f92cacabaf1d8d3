"""Checks of the binary interface against its record: one check per run, by name.

record   the twin (make_twin.py), so the headers, says what the record says
library  the finished library exports what the twin exports: names, versions, sizes of data
changes  changes of the headers that break programs do not pass the first check
update   writes the record

A failed check prints what it found and ends with status 1.
"""

import argparse
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

MAKE_TWIN = Path(__file__).with_name("make_twin.py")

# Nothing that a machine or a directory has a part in.
ABIDW = ["abidw", "--no-corpus-path", "--no-comp-dir-path", "--no-show-locs",
         "--no-elf-needed", "--type-id-style", "hash"]
# Harmless ones, too, such as another name of the same type.
ABIDIFF = ["abidiff", "--harmless", "--no-show-locs", "--fail-no-debug-info"]


def differences(record, twin):
    """What abidiff says; empty if there is nothing to say"""
    run = subprocess.run([*ABIDIFF, record, twin], capture_output=True, text=True)
    if run.returncode & 3 or run.returncode < 0:
        raise SystemExit(f"abidiff failed ({run.returncode}):\n{run.stdout}{run.stderr}")
    return run.stdout if run.returncode else ""


def record(args):
    found = differences(args.record, args.twin)
    if found:
        found += "Programs and bindings depend on this. If it is meant: ./dev abi --update"
    return found


def exports(library):
    """(name, version, size if it is data) of each exported symbol"""
    table = subprocess.run(["readelf", "-W", "--dyn-syms", library], check=True, capture_output=True, text=True).stdout
    rows = re.findall(r"^\s*\d+: \S+\s+(\d+) (FUNC|IFUNC|OBJECT)\s+(?:GLOBAL|WEAK)\s+\S+\s+\d+ (\w+)@@(\w+)$", table, re.M)
    return {(name, version, int(size) if kind == "OBJECT" else None) for size, kind, name, version in rows}


def library(args):
    twin, shipped = exports(args.twin), exports(args.library)
    lines = [f"the headers alone have {export}" for export in sorted(twin - shipped, key=str)]
    lines += [f"the library alone has {export}" for export in sorted(shipped - twin, key=str)]
    return "\n".join(lines if twin else ["no exports at all"])


# (what happens, header, what stands there, what is put in its place)
CHANGES = [
    ("a record grows", "kuzn.h", "uint32_t pos;", "uint32_t pos; uint32_t more;"),
    ("a field changes its type", "dstu.h", "uint64_t cofactor;", "int64_t cofactor;"),
    ("fields change places", "g28147.h", re.compile(r"uint32_t r1;(.*\n.*)uint32_t r2;"), r"uint32_t r2;\1uint32_t r1;"),
    ("a parameter changes its type", "rsa.h", "isRSAPrime(const qald *n, uint64_t bits)",
     "isRSAPrime(const qald *n, uint32_t bits)"),
    ("a parameter of an assembly function changes its type", "qalmath64.h", "*qalmul(const qald *a, const qald *b,",
     "*qalmul(const qald *a, const uint32_t *b,"),
    ("a parameter of an indirect function may be written", "streebog.h", "streebog_gN(uint8_t *h, const uint8_t *m,",
     "streebog_gN(uint8_t *h, uint8_t *m,"),
    ("a parameter is added", "kuzn.h", "kuzn_block_enc(uint8_t *block,", "kuzn_block_enc(int rounds, uint8_t *block,"),
    ("a result changes its type", "rsa.h", " int isPrime(", " uint64_t isPrime("),
    ("a table grows", "kuzn.h", "kuz_pi[256]", "kuz_pi[257]"),
    ("a callback changes its type", "api.h", "(uint8_t *buf, uint32_t len)", "(uint8_t *buf, uint64_t len)"),
    ("an export goes", "rds.h", "QAL_API QAL_API_RESULT int rds_sign(", "int rds_sign("),
    ("an export comes", "rds.h", "QAL_API QAL_API_RESULT int rds_sign(",
     "QAL_API int qal_new(void);\nQAL_API QAL_API_RESULT int rds_sign("),
]


def compile_twin(compiler, include, directory):
    source, twin = directory / "twin.c", directory / "twin.so"
    subprocess.run([sys.executable, MAKE_TWIN, include, source], check=True)
    # Under the version that the library has, whatever it exports
    (directory / "map").write_text("QAL_1 { global: *; };\n")
    subprocess.run([compiler, "-std=c11", "-g", "-O0", "-fPIC", "-shared", f"-I{include}", "-Wl,-soname,libqal.so.1",
                    f"-Wl,--version-script={directory / 'map'}", "-o", twin, source], check=True)
    return twin


def changes(args):
    passed = []
    with tempfile.TemporaryDirectory() as scratch:
        include = Path(scratch) / "include"
        shutil.copytree(args.include, include)
        found = differences(args.record, compile_twin(args.compiler, include, Path(scratch)))
        if found:
            return f"found in headers that nobody changed:\n{found}"
        for what, name, before, after in CHANGES:
            header = include / "qal" / name
            text = header.read_text()
            changed = before.sub(after, text) if isinstance(before, re.Pattern) else text.replace(before, after)
            if changed == text:
                raise SystemExit(f"{name} does not have '{before}'")
            header.write_text(changed)
            if not differences(args.record, compile_twin(args.compiler, include, Path(scratch))):
                passed.append(f"not noticed: {what}")
            header.write_text(text)
    return "\n".join(passed)


def update(args):
    args.record.write_text(subprocess.run([*ABIDW, args.twin], check=True, capture_output=True, text=True).stdout)
    return ""


CHECKS = (record, library, changes, update)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("check", choices=[check.__name__ for check in CHECKS])
    for option in ("record", "twin", "library", "include"):
        parser.add_argument(f"--{option}", type=Path, required=True)
    parser.add_argument("--compiler", required=True)
    args = parser.parse_args()
    problems = next(check for check in CHECKS if check.__name__ == args.check)(args)
    print(problems or "as it should be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
