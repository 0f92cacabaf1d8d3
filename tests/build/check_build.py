"""Checks of builds that people make of the sources: one check per run, by name.

A failed check prints what it found and ends with status 1.
"""

import argparse
import json
import os
import shutil
import subprocess
import sys
from pathlib import Path

# Flags are the check's own, and no cache answers for a compiler.
ENVIRONMENT = {name: value for name, value in os.environ.items()
               if name not in ("CFLAGS", "CXXFLAGS", "ASMFLAGS", "LDFLAGS", "DESTDIR")
               and not name.startswith("CMAKE_")} | {"CCACHE_DISABLE": "1"}


def run(*command):
    done = subprocess.run(command, env=ENVIRONMENT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if done.returncode != 0:
        raise SystemExit(f"{' '.join(map(str, command))}\n{done.stdout}\nstatus {done.returncode}")
    return done.stdout


def configure(args, source, build, *options):
    run(args.cmake, "-S", source, "-B", build, "-DCMAKE_BUILD_TYPE=Release", f"-DCMAKE_C_COMPILER={args.cc}",
        f"-DCMAKE_CXX_COMPILER={args.cxx}", "-DQAL_BUILD_TESTS=OFF", *options)


def copy_sources(args, target):
    """What git tracks, but for the tests and their like."""
    names = subprocess.run(["git", "-C", args.source, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                           check=True, capture_output=True, text=True).stdout.split("\0")
    for name in names:
        source = Path(args.source, name)
        if name and source.is_file() and name.split("/")[0] not in ("tests", "fuzz", "bench"):
            (target / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target / name)


def warnings(args):
    """A release made without a preset does not fail for a warning."""
    configure(args, args.source, args.work, "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON")
    commands = json.loads((args.work / "compile_commands.json").read_text())
    if not commands:
        return ["nothing is compiled"]
    return [f"-Werror: {entry['file']}" for entry in commands if "-Werror" in entry["command"].split()]


def presets(args):
    """Every preset makes warnings errors, and can be configured, built and tested by its name."""
    document = json.loads(Path(args.source, "CMakePresets.json").read_text())
    configured = {preset["name"]: preset for preset in document["configurePresets"]}

    def value(name, variable):
        """What the preset says, or else the first of its parents that says anything."""
        preset = configured[name]
        own = preset.get("cacheVariables", {}).get(variable)
        parents = (value(parent, variable) for parent in preset.get("inherits", []))
        return own or next((found for found in parents if found), None)

    names = [name for name, preset in configured.items() if not preset.get("hidden")]
    problems = [f"{name}: warnings are no errors" for name in names if value(name, "QAL_WERROR") != "ON"]
    built = {preset["configurePreset"] for preset in document["buildPresets"]}
    return problems + [f"{name}: no preset to build it" for name in names if name not in built]


def places(args):
    """Inside and outside the source tree, at any path, a build makes the same files, without a warning."""
    inside, outside = args.work / "inside", args.work / "outside in another place"
    builds = {inside: inside / "build" / "nested", outside: args.work / "built"}
    results, problems = [], []
    for source in builds:
        copy_sources(args, source)
    for source, build in builds.items():
        # debugging information names files, and the directory of the compilation
        configure(args, source, build, "-DQAL_BUILD_EXAMPLES=OFF",
                  *(f"-DCMAKE_{language}_FLAGS=-g1" for language in ("C", "CXX", "ASM")))
        log = run(args.cmake, "--build", build, "-j", "2")
        problems += [line for line in log.splitlines() if "warning:" in line]
        prefix = build / "installed"
        run(args.cmake, "--install", build, "--prefix", prefix)
        files = {"libqal.so": build / "src/libqal.so", "libqal.a": build / "src/libqal.a", "qal": build / "tools/qal/qal",
                 "installed libqal.so": next(prefix.rglob("libqal.so")), "installed qal": prefix / "bin/qal"}
        results.append({name: path.read_bytes() for name, path in files.items()})
        problems += [f"{name} contains {args.work}" for name, data in results[-1].items()
                     if str(args.work).encode() in data]
    return problems + [f"{name}: differs" for name in results[0] if results[0][name] != results[1][name]]


CHECKS = (warnings, presets, places)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("check", choices=[check.__name__ for check in CHECKS])
    parser.add_argument("--work", type=Path, required=True)
    for option in ("source", "cmake", "cc", "cxx"):
        parser.add_argument(f"--{option}", required=True)
    args = parser.parse_args()
    shutil.rmtree(args.work, ignore_errors=True)
    args.work.mkdir(parents=True)
    problems = next(check for check in CHECKS if check.__name__ == args.check)(args)
    shutil.rmtree(args.work, ignore_errors=True)
    print("\n".join(problems) or "as it should be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
