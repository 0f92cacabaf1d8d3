"""Breaks the sources of the library one small change at a time and tells which the tests notice.

Works on a copy of the tree. Each change is compiled by itself, linked into the test programs of its
subsystem and tried until a test fails. A change whose objects are those of the original is none, one
that does not compile is dropped. The sample depends on the seed alone, so that a run can be repeated.

What survived and was found to do nothing stands, with the reason, in equivalent.txt.
"""

import argparse
import collections
import fnmatch
import hashlib
import json
import os
import pathlib
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "../support")]
import listed
import operators

ROOT = pathlib.Path(__file__).resolve().parents[2]
EQUIVALENT = ROOT / "tests/mutation/equivalent.txt"

# The programs that test a folder of src, or the file beside them, in the order in which they are tried.
WIPING = "wiping wiping_avx2 wiping_baseline"
BINARY_WIPING = "binary_wiping_all binary_wiping_avx2 binary_wiping_baseline"
PROGRAMS = {
    "dispatch.cpp": "dispatch base",
    "base": "dispatch base support",
    "gost28147": f"gost28147 {WIPING}",
    "ru": f"streebog kuznyechik {WIPING}",
    "ua": f"ua {BINARY_WIPING} {WIPING}",
    "rsa": f"rsa {WIPING}",
    "qalec": f"qalec {WIPING}",
    "qalmath64": f"qalmath64 rsa {WIPING}",
}
FOLDERS = {"dispatch": "base", "streebog": "ru", "kuznyechik": "ru",
           **dict.fromkeys(f"{WIPING} {BINARY_WIPING}".split(), "secrecy")}
QUICK = 0.2  # seconds; slower tests run only when the program's quick ones passed
JOBS = 2
STEP = 80_000  # bytes of objects, about a second each, that are compiled before tests are asked again
MEMORY = 8 << 30
OUTPUT = 32 << 20

CAUGHT, SURVIVED, EQUAL, SAME_CODE, REFUSED = "caught", "survived", "equivalent", "same code", "does not compile"


def folder(file):
    return file.split("/")[1]


def sources(root):
    for path in sorted((root / "src").rglob("*")):
        if path.suffix in (".cpp", ".hpp", ".S", ".h"):
            yield str(path.relative_to(root))


def all_changes(root, patterns):
    return [
        change
        for file in sources(root)
        if any(fnmatch.fnmatch(file, pattern) for pattern in patterns)
        for change in operators.changes(file, (root / file).read_text())
    ]


def sample(changes, count, seed):
    """At most one change of a line, every line being as likely as any other, in a random order.

    Hashes choose, so that an edit of one line does not change what is chosen of the others.
    """

    def chance(*what):
        return hashlib.sha256(repr((seed, *what)).encode()).digest()

    lines = collections.defaultdict(list)
    for change in changes:
        lines[change.file, change.before.strip(), change.above, change.line].append(change)
    chosen = sorted(lines, key=lambda line: (chance(*line[:3]), line))[:count]
    return [min(lines[line], key=lambda change: chance(*change.texts)) for line in chosen]


def read_equivalent(path=EQUIVALENT):
    """{(file, before, after, line above or None): place in the list}.

    An entry's texts are a line behind - and what it becomes behind +, after the line above it
    behind > where there are several such lines.
    """
    found = {}
    for entry in listed.read(path, ">-+"):
        above = before = None
        for mark, text in entry.texts:
            if mark == ">":
                above = text
            elif mark == "-":
                before = text
            elif before is None:
                raise listed.Malformed(f"{entry.place}: + before -")
            else:
                found[entry.file, before, text, above] = entry.place
    return found


def keys(change):
    return (*change.texts, None), (*change.texts, change.above)


def stale(equivalent, changes):
    """Places of entries that no source has any longer."""
    possible = {key for change in changes for key in keys(change)}
    return sorted(place for key, place in equivalent.items() if key not in possible)


@dataclass
class Program:
    """A test program: how it is built, and how a copy of it is linked from changed objects."""

    name: str
    path: pathlib.Path
    link: str


def limits(seconds):
    def set_them():
        resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 2))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
        resource.setrlimit(resource.RLIMIT_FSIZE, (OUTPUT, OUTPUT))

    return set_them


def run_tests(path, tests, seconds, log):
    """Runs these tests until one fails. Returns that one, with what went wrong, or None."""
    command = [str(path), "--gtest_fail_fast", "--gtest_filter=" + ":".join(tests)]
    allowed = max(1, int(2 * seconds) + 2)
    late = False
    with open(log, "wb") as output:
        process = subprocess.Popen(command, stdout=output, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                                   start_new_session=True, preexec_fn=limits(allowed), cwd=log.parent)
        try:
            process.wait(timeout=10 * allowed)
        except subprocess.TimeoutExpired:
            late = True
        try:  # what it may have left behind, death tests for one
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()
    if process.returncode == 0:
        return None
    text = pathlib.Path(log).read_text(errors="replace")
    failed = re.findall(r"^\[  FAILED  \] ([\w/.]+)", text, re.MULTILINE)
    if failed:
        return failed[0]
    begun = re.findall(r"^\[ RUN      \] ([\w/.]+)", text, re.MULTILINE)
    how = "time limit" if late or process.returncode in (-signal.SIGXCPU, -signal.SIGKILL) else "crash"
    return f"{begun[-1] if begun else path.name} ({how})"


class Copy:
    """A copy of the tree and its build."""

    def __init__(self, work):
        self.work, self.tree, self.build = work, work / "tree", work / "build"
        self.pristine, self.mutated = work / "pristine", work / "mutated"
        self.log = work / "log"
        self.mutated.mkdir(parents=True, exist_ok=True)
        self.update()
        # Without debug information equal code makes equal objects. Release has the tests of what is
        # left on the stack.
        self.call("cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                  "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -w", "-DCMAKE_C_FLAGS_RELEASE=-O2 -w", "-DQAL_WERROR=OFF",
                  "-DQAL_BUILD_TOOL=OFF", "-DQAL_BUILD_EXAMPLES=OFF", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
                  "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST")

    def update(self):
        """Brings the copy up to date, and undoes what an interrupted run left there."""
        names = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                               cwd=ROOT, check=True, capture_output=True, text=True).stdout.split("\0")
        names = [name for name in names if name and (ROOT / name).is_file()]
        for name in names:
            source, copy = ROOT / name, self.tree / name
            if not copy.is_file() or copy.read_bytes() != source.read_bytes():
                copy.parent.mkdir(parents=True, exist_ok=True)
                copy.write_bytes(source.read_bytes())
        for copy in list(self.tree.rglob("*")):
            if copy.is_file() and not (ROOT / copy.relative_to(self.tree)).is_file():
                copy.unlink()

    def call(self, *command):
        result = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                text=True)
        if result.returncode != 0:
            sys.exit(f"mutate: {shlex.join(map(str, command))}\n{result.stdout}")
        return result.stdout

    def times(self, program):
        """{test: its seconds of the processor, which others may want, too}; measured once."""
        digest = hashlib.sha256(program.path.read_bytes()).hexdigest()
        known = self.work / "times" / f"{program.name}.json"
        if known.exists() and (kept := json.loads(known.read_text()))["digest"] == digest:
            return kept["seconds"]
        report = self.mutated / "times.json"
        before, begun = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
        self.call(program.path, f"--gtest_output=json:{report}")
        after, spent = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic() - begun
        scale = (after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime) / spent
        seconds = {
            f"{suite['name']}.{test['name']}": scale * float(test["time"].rstrip("s"))
            for suite in json.loads(report.read_text())["testsuites"]
            for test in suite["testsuite"]
            if test["status"] == "RUN"
        }
        known.parent.mkdir(exist_ok=True)
        known.write_text(json.dumps({"digest": digest, "seconds": seconds}))
        return seconds

    def prepare(self, names):
        """Builds the programs as they are, and learns what depends on what."""
        target = {name: f"tests/{FOLDERS.get(name, name)}/test_{name}" for name in names}
        self.call("cmake", "--build", self.build, "-j", JOBS, "--target", *(f"test_{name}" for name in names))
        self.programs = {}
        for name in names:
            link = self.call("ninja", "-C", self.build, "-t", "commands", target[name]).splitlines()[-1]
            link = link.replace(f" -o {target[name]} ", f" -o {self.mutated / name} ")
            self.programs[name] = Program(name, self.build / target[name], link)
        commands = json.loads((self.build / "compile_commands.json").read_text())
        self.compile = {
            re.search(r" -o (\S+\.o) ", command["command"]).group(1): command["command"] for command in commands
        }
        self.objects = collections.defaultdict(list)  # by source or header
        for block in self.call("ninja", "-C", self.build, "-t", "deps").split("\n\n"):
            lines = block.splitlines()
            if not lines:
                continue
            target_name = lines[0].split(": #deps")[0]
            for line in lines[1:]:
                path = pathlib.Path(os.path.normpath(self.build / line.strip()))
                if path.is_relative_to(self.tree):
                    self.objects[str(path.relative_to(self.tree))].append(target_name)

    def recompile(self, objects):
        """Compiles them anew. Returns those that changed, or None if one does not compile."""

        def one(name):
            kept = self.pristine / name
            if not kept.exists() or kept.stat().st_mtime_ns != (self.build / name).stat().st_mtime_ns:
                kept.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy2(self.build / name, kept)
            command = ["sh", "-c", "ulimit -t 300; exec " + self.compile[name]]
            result = subprocess.run(command, cwd=self.build, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                    env={**os.environ, "CCACHE_DISABLE": "1"})
            if result.returncode != 0:
                return None
            return (self.build / name).read_bytes() != kept.read_bytes()

        with ThreadPoolExecutor(JOBS) as pool:
            changed = list(pool.map(one, objects))
        return None if None in changed else [name for name, differs in zip(objects, changed) if differs]

    def restore(self, objects):
        for name in objects:
            if (self.pristine / name).exists():
                shutil.copy2(self.pristine / name, self.build / name)

    def try_program(self, program, kinds):
        """The first test of these kinds that fails, or None."""
        linked = subprocess.run(program.link, shell=True, cwd=self.build, stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)
        if linked.returncode != 0:
            return f"test_{program.name} (does not link)"
        seconds = self.times(program)
        quick = [test for test in seconds if seconds[test] < QUICK]
        slow = sorted(seconds.keys() - quick, key=seconds.get)
        runs = [quick] * ("quick" in kinds and bool(quick)) + [[test] for test in slow if "slow" in kinds]
        for chosen in runs:
            failed = run_tests(self.mutated / program.name, chosen, sum(seconds[test] for test in chosen), self.log)
            if failed is not None:
                return failed
        return None

    def try_change(self, change):
        """(what became of it, the test that noticed it)"""
        depending = self.objects[change.file]
        path = self.tree / change.file
        original, times = path.read_text(), path.stat()
        lines = original.split("\n")
        lines[change.line - 1] = change.after
        path.write_text("\n".join(lines))
        made = []
        try:
            differs = False
            # What includes a header elsewhere is tried when its own folder has noticed nothing.
            for where in sorted(PROGRAMS, key=lambda name: name != folder(change.file)):
                programs = [self.programs[name] for name in PROGRAMS[where].split()]
                if "wipe" in change.before:
                    programs.sort(key=lambda program: "wiping" not in program.name)
                differs_here = False
                # Tests can have the header's code in themselves.
                of_here = re.compile(rf"(src/|CMakeFiles/).*\.dir/(src/)?{re.escape(where)}(/|\.o$)"
                                     rf"|tests/.*/test_({'|'.join(PROGRAMS[where].split())})\.dir/")
                steps = self.steps([name for name in depending if name not in made and of_here.match(name)])
                for number, step in enumerate(steps, start=1):
                    made += step
                    changed = self.recompile(step)
                    if changed is None:
                        return REFUSED, ""
                    differs_here |= bool(changed)
                    # A part of them may be enough, and the rest need not be compiled.
                    if changed and number < len(steps):
                        failed = self.try_program(programs[0], ["quick"])
                        if failed is not None:
                            return CAUGHT, failed
                if differs_here:
                    for program in programs:
                        failed = self.try_program(program, ["quick", "slow"])
                        if failed is not None:
                            return CAUGHT, failed
                differs |= differs_here
            return (SURVIVED, "") if differs else (SAME_CODE, "")
        finally:
            path.write_text(original)
            os.utime(path, ns=(times.st_atime_ns, times.st_mtime_ns))
            self.restore(made)

    def steps(self, objects):
        """The objects in steps of some size, those of the library first, small ones first."""
        found, size = [], STEP
        for name in sorted(objects, key=lambda name: (not name.startswith("src/"), (self.build / name).stat().st_size)):
            if size >= STEP:
                found.append([])
                size = 0
            found[-1].append(name)
            size += STEP // 4 + (self.build / name).stat().st_size
        return found


def share(results):
    caught = sum(result["result"] == CAUGHT for result in results)
    survived = sum(result["result"] == SURVIVED for result in results)
    tried = caught + survived
    return f"{caught} of {tried}" + (f" ({100 * caught / tried:.1f} %)" if tried else "")


def summary(results):
    """A table of the folders: what became of their changes."""
    rows = [("folder", "tried", "caught", SURVIVED, EQUAL, SAME_CODE, REFUSED, "share")]
    folders = collections.defaultdict(list)
    for result in results:
        folders[folder(result["file"])].append(result)
    for name, part in [*sorted(folders.items()), ("all", results)]:
        kinds = collections.Counter(result["result"] for result in part)
        rows.append((name, len(part), *(kinds[kind] for kind in (CAUGHT, SURVIVED, EQUAL, SAME_CODE, REFUSED)),
                     share(part)))
    widths = [max(len(str(row[i])) for row in rows) for i in range(len(rows[0]))]
    return "\n".join("  ".join(str(cell).ljust(width) for cell, width in zip(row, widths)).rstrip() for row in rows)


def described(result):
    lines = [f"{result['result']:10} {result['file']}:{result['line']}",
             f"    - {result['before'].strip()}", f"    + {result['after'].strip()}"]
    return "\n".join(lines + ([f"    {result['by']}"] if result["by"] else []))


def main(arguments):
    parser = argparse.ArgumentParser(prog="dev mutate", description=__doc__.split("\n")[0])
    parser.add_argument("work", type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--file", action="append", metavar="GLOB", help="sources to break (src/*)")
    parser.add_argument("--count", type=int, default=40, help="how many changes (%(default)s)")
    parser.add_argument("--seed", type=int, default=1, help="which ones (%(default)s)")
    parser.add_argument("--survivors", action="store_true", help="only what survived the last run, of these sources")
    parser.add_argument("--list", action="store_true", help="show the changes and do nothing")
    options = parser.parse_args(arguments)
    patterns = options.file or ["src/*"]

    equivalent = read_equivalent()
    everything = all_changes(ROOT, ["src/*"])
    outdated = stale(equivalent, everything)
    possible = [change for change in everything if any(fnmatch.fnmatch(change.file, p) for p in patterns)]
    record = options.work / "results.json"
    if options.survivors:
        if not record.exists():
            sys.exit("mutate: there was no run before")
        survived = {(r["file"], r["before"].strip(), r["after"].strip(), r["above"])
                    for r in json.loads(record.read_text()) if r["result"] == SURVIVED}
        chosen = [change for change in possible if keys(change)[1] in survived]
    else:
        chosen = sample(possible, options.count, options.seed)
    if options.list:
        for change in chosen:
            print(f"{change.file}:{change.line}\n    - {change.before.strip()}\n    + {change.after.strip()}")
        return 0
    if not chosen:
        sys.exit("mutate: nothing to change")

    copy = Copy(options.work.resolve())
    copy.prepare(sorted({name for names in PROGRAMS.values() for name in names.split()}))
    results = []
    for number, change in enumerate(chosen, start=1):
        begun = time.monotonic()
        if any(key in equivalent for key in keys(change)):
            kind, by = EQUAL, ""
        else:
            kind, by = copy.try_change(change)
        results.append({"file": change.file, "line": change.line, "before": change.before, "after": change.after,
                        "above": change.above, "result": kind, "by": by, "seconds": round(time.monotonic() - begun, 1)})
        print(f"[{number}/{len(chosen)}, {results[-1]['seconds']} s] {described(results[-1])}", flush=True)
        record.write_text(json.dumps(results, indent=1))

    print("\n" + summary(results))
    for place in outdated:
        print(f"{place}: no source has this any longer")
    return 1 if outdated or any(result["result"] == SURVIVED for result in results) else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
