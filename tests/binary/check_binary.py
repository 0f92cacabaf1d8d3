"""Checks of the finished library with binutils: one check per run, by name.

A failed check prints what it found and ends with status 1.
"""

import argparse
import re
import subprocess
import sys
from pathlib import Path


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def export_list(path):
    """name -> (kind, header)"""
    exports = {}
    for line in Path(path).read_text().splitlines():
        if line and not line.startswith("#"):
            name, kind, header = line.split()
            if name in exports:
                raise SystemExit(f"{name} stands twice in {path}")
            exports[name] = (kind, header)
    return exports


def dynamic_symbols(library, *options):
    """(name without version, type letter) of each dynamic symbol"""
    rows = (line.split() for line in output("nm", "-D", *options, library).splitlines())
    return {(row[-1].split("@")[0], row[-2]) for row in rows}


def differences(what, expected, found):
    lines = [f"{what}: missing {name}" for name in sorted(expected - found)]
    return lines + [f"{what}: unexpected {name}" for name in sorted(found - expected)]


def exports(args):
    """The library exports what the list says, with its kinds, under one version."""
    expected = {(name, kind) for name, (kind, _) in export_list(args.exports).items()}
    kinds = {"T": "function", "i": "function", "R": "data", "B": "data", "D": "data"}
    symbols = dynamic_symbols(args.library, "--defined-only")
    found = {(name, kinds.get(kind, kind)) for name, kind in symbols if (name, kind) != ("QAL_1", "A")}
    versions = output("readelf", "-W", "--dyn-syms", args.library)
    unversioned = re.findall(r"(?:FUNC|OBJECT|IFUNC)\s+GLOBAL\s+DEFAULT\s+\d+\s+(\w+)$", versions, re.M)
    return differences("exports", expected, found) + [f"no version: {name}" for name in unversioned]


def headers(args):
    """Each header declares what the list says that it does, under QAL_API."""
    expected = {(name, header) for name, (_, header) in export_list(args.exports).items()}
    found = set()
    for header in Path(args.include).glob("*.h"):
        text = re.sub(r"/\*.*?\*/", "", header.read_text(), flags=re.S)
        for declaration in re.findall(r"^\s*QAL_API\b([^;]*);", text, flags=re.M):
            declaration = re.sub(r"QAL_API_(RESULT|NONNULL\([^)]*\))", "", declaration)
            # the name stands before the first parenthesis, bracket or end, but for pointers to functions
            match = re.search(r"(\w+)\s*(?:\(|\[|$)", declaration.strip())
            found.add((match.group(1), header.name))
            for further in re.findall(r",\s*(\w+)\[", declaration) if "(" not in declaration else []:
                found.add((further, header.name))
    return differences("headers", expected, found)


def needed(args):
    """The C library is all that it asks for."""
    found = set(re.findall(r"\(NEEDED\).*\[(.*)\]", output("readelf", "-Wd", args.library)))
    return differences("needed", {"libc.so.6"}, found)


def undefined(args):
    """Of the C library it takes copies, comparison, wiping, one line of output, the handler."""
    allowed = {
        "memcpy", "memmove", "memset", "memcmp", "explicit_bzero", "puts", "__assert_fail",
        "__stack_chk_fail",
        # clang's memcmp where only equality counts
        "bcmp",
        # as -D_FORTIFY_SOURCE spells them
        "__memcpy_chk", "__memmove_chk", "__memset_chk", "__explicit_bzero_chk",
    }
    found = {name for name, _ in dynamic_symbols(args.library, "--undefined-only")}
    return [f"undefined: {name}" for name in sorted(found - allowed)]


def writable(args):
    """Writable data in our own objects: two words at most, and these.

    Tables of addresses in .data.rel.ro are read-only once the loader has filled them.
    """
    allowed = {"rsa_gen_rnd", "qalrmt_state"}
    found = set()
    for line in output("nm", "--format=sysv", *args.objects).splitlines():
        row = [column.strip() for column in line.split("|")]
        if len(row) == 7 and row[2] in {*"BbDdCGgSs"} and not row[6].startswith(".data.rel.ro"):
            found.add(row[0])
    return [f"writable: {name}" for name in sorted(found - allowed)]


def hardening(args):
    """No executable stack, full RELRO, no text relocations."""
    segments = output("readelf", "-Wl", args.library)
    dynamic = output("readelf", "-Wd", args.library)
    problems = []
    stack = re.search(r"GNU_STACK.*", segments)
    if not stack or re.search(r"\bRWE\b", stack.group(0)):
        problems.append("the stack is executable")
    if "GNU_RELRO" not in segments or "BIND_NOW" not in dynamic:
        problems.append("relocations are not read-only after start")
    if "TEXTREL" in dynamic:
        problems.append("text relocations")
    if re.search(r"LOAD.*RWE", segments):
        problems.append("a segment is writable and executable")
    return problems


def paths(args):
    """Neither sources nor build directory can be read off the binary."""
    text = Path(args.library).read_bytes()
    return [f"the library contains {path}" for path in (args.source, args.build) if path.encode() in text]


def is_marked(path):
    """Whether it says that it keeps to indirect-branch tracking and shadow stacks."""
    return "IBT, SHSTK" in output("readelf", "-Wn", path)


def archive(args):
    """Its members are machine code, whatever the shared object is made from."""
    members = output("ar", "t", args.archive).split()
    # readelf fails at members of another kind
    sections = subprocess.run(["readelf", "-hSW", args.archive], capture_output=True, text=True).stdout
    machine = re.findall(r"Machine:\s+Advanced Micro Devices X86-64", sections)
    problems = [] if len(machine) == len(members) > 0 else [f"{len(machine)} of {len(members)} members are machine code"]
    if ".gnu.lto_" in sections:
        problems.append("there is more in it, for one version of a compiler")
    return problems


def notes(args):
    """The library is marked, and every object of the tool.

    The tool itself is if the C library's start files are, which are part of every program.
    """
    start_files = [output(args.cc, f"-print-file-name={name}").strip() for name in ("Scrt1.o", "crti.o", "crtn.o")]
    marked = [args.library, *args.tool_objects]
    if args.tool and all(map(is_marked, start_files)):
        marked.append(args.tool)
    return [f"{path}: no IBT and SHSTK property" for path in marked if not is_marked(path)]


def branch_targets(args):
    """Whatever may be called by its address begins with endbr64.

    That are exported functions, resolvers, and all functions whose address stands in data or is taken
    by code: variants are, by the resolvers.
    """
    listing = output("objdump", "-dw", "--no-show-raw-insn", args.library)
    names = {int(start, 16): name for start, name in re.findall(r"^([0-9a-f]+) <(.*)>:$", listing, re.M)}
    first = {int(at, 16) for at in re.findall(r"^ *([0-9a-f]+):\s+endbr64", listing, re.M)}
    exported = {int(row[0], 16) for row in map(str.split, output("nm", "-D", "--defined-only", args.library).splitlines())
                if row[1] in "Ti"}
    taken = {int(at, 16) for at in re.findall(r"\blea .*\(%rip\),.*# ([0-9a-f]+) <", listing)}
    relocated = {int(at, 16) for at in re.findall(r"R_X86_64_I?RELATIV\w*\s+([0-9a-f]+)$",
                                                  output("readelf", "-Wr", args.library), re.M)}
    targets = exported | (taken | relocated) & names.keys()
    resolvers = {at for at, name in names.items() if name.startswith("qal_resolve_")}
    problems = [f"{names.get(at, hex(at))} does not begin with endbr64" for at in sorted(targets - first)]
    if not exported or not resolvers or not resolvers <= targets:
        problems.append("not all resolvers were found")
    return problems


def objects(args):
    """Every object marks indirect branches and a shadow stack, and variants carry no weak symbols.

    A weak function compiled for a wide instruction set could stand in for the whole program's.
    """
    problems = []
    for path in args.objects:
        if not is_marked(path):
            problems.append(f"{path}: no IBT and SHSTK property")
        if re.search(r"_(avx2|avx2_gfni|avx512|bmi2adx)\.(cpp|S)\.o$", path):
            weak = re.findall(r"\s[WVu]\s+(\S+)", output("nm", path))
            problems += [f"{path}: weak {name}" for name in weak]
    return problems


CHECKS = (exports, headers, needed, undefined, writable, hardening, paths, archive, notes, branch_targets, objects)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("check", choices=[check.__name__ for check in CHECKS])
    for option in ("library", "exports", "include", "source", "build", "cc", "archive"):
        parser.add_argument(f"--{option}", required=True)
    parser.add_argument("--objects", nargs="+", required=True)
    parser.add_argument("--tool")
    parser.add_argument("--tool-objects", nargs="*", default=[])
    args = parser.parse_args()
    problems = next(check for check in CHECKS if check.__name__ == args.check)(args)
    print("\n".join(problems) or "as it should be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
