#!/usr/bin/env python3
"""Mutation check: puts each fault of scripts/mutations.txt into the sources, one at a time,
rebuilds only the test programs of the fault's areas, runs them with a timeout and prints the
score per area and the faults no test noticed.  For everyday use, not for CI.

    python3 scripts/mutate.py                 # every fault
    python3 scripts/mutate.py --area views    # the faults of one area (repeatable)
    python3 scripts/mutate.py --match order   # faults whose description contains a text
    python3 scripts/mutate.py --full          # every area's program, rebuilt and run on each fault

Run it with the interpreter itself (/usr/bin/python3), not through a wrapper script that would
take an interrupting signal in its place.  The sources are always put back: each fault's original text is saved in the build folder with a
journal before the file is touched, restored in a `finally` (signals included), and a journal left
by a killed run is replayed before anything else happens.  A restored file gets a fresh time stamp
so that the next build compiles the original again.
"""
import argparse
import atexit
import os
import re
import signal
import subprocess
import sys
import tempfile
import time
from itertools import zip_longest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
AREAS = ["platform", "core", "cache", "hdf", "context", "transfer", "types", "views", "results"]


class Fault:
    def __init__(self, number, area, description):
        self.number, self.area, self.description = number, area, description
        self.file, self.tests, self.old, self.new = None, [], [], []
        self.equivalent = None

    @property
    def programs(self):
        return self.tests or [self.area]


def parse_faults(path):
    """Blocks of '@ area: description', 'file: path', optional 'tests: area area', then the
    exact text to find ('- ' lines) and its replacement ('+ ' lines, '+' alone is an empty line).
    'equivalent: reason' marks a fault that changes no behaviour a test could observe: it is run
    all the same, but a survivor of that kind is listed apart and left out of the score."""
    faults = []
    for lineno, line in enumerate(path.read_text().splitlines(), 1):
        if line.startswith("@ "):
            area, _, description = line[2:].partition(":")
            faults.append(Fault(len(faults) + 1, area.strip(), description.strip()))
        elif not line.strip() or line.startswith("#"):
            continue
        elif not faults:
            sys.exit(f"{path}:{lineno}: text before the first fault")
        elif line.startswith("file: "):
            faults[-1].file = line[6:].strip()
        elif line.startswith("equivalent: "):
            faults[-1].equivalent = line[12:].strip()
        elif line.startswith("tests: "):
            faults[-1].tests = line[7:].split()
        elif line.startswith("-"):
            faults[-1].old.append(line[2:])
        elif line.startswith("+"):
            faults[-1].new.append(line[2:])
        else:
            sys.exit(f"{path}:{lineno}: unexpected line: {line}")
    for fault in faults:
        if fault.area not in AREAS or not fault.file or not fault.old:
            sys.exit(f"fault {fault.number} ({fault.description}): needs an area, a file and text")
        for area in fault.programs:
            if area not in AREAS:
                sys.exit(f"fault {fault.number}: unknown test area {area}")
    return faults


class Sources:
    """Applies one fault at a time and guarantees the original comes back."""

    def __init__(self, build):
        self.journal = build / "mutate-journal"
        self.saved = build / "mutate-original"

    def recover(self):
        if self.journal.exists():
            target = ROOT / self.journal.read_text().strip()
            target.write_bytes(self.saved.read_bytes())
            self.journal.unlink()
            print(f"restored {target} left mutated by an interrupted run")

    def apply(self, fault):
        path = ROOT / fault.file
        text = path.read_text()
        old, new = "\n".join(fault.old), "\n".join(fault.new)
        if text.count(old) != 1:
            return f"text found {text.count(old)} times in {fault.file}"
        self.saved.write_text(text)
        self.journal.write_text(fault.file)
        path.write_text(text.replace(old, new))
        return None

    def restore(self):
        if not self.journal.exists():
            return
        target = ROOT / self.journal.read_text().strip()
        target.write_bytes(self.saved.read_bytes())
        self.journal.unlink()


def run(command, timeout, cwd=None, env=None):
    """(exit code or 'timeout', seconds); the whole process group is stopped on a timeout."""
    start = time.time()
    with subprocess.Popen(command, cwd=cwd, env=env, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL, start_new_session=True) as process:
        try:
            code = process.wait(timeout=timeout)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            code = "timeout"
    return code, time.time() - start


def build(build_dir, areas, jobs):
    targets = []
    for area in areas:
        targets += ["--target", f"vel_{area}_tests"]
    code, _ = run(["cmake", "--build", str(build_dir), "-j", str(jobs)] + targets, None)
    return code == 0


def test_areas(build_dir, areas, timeout):
    """The first area whose program fails (or times out), or None when all pass."""
    env = dict(os.environ, VEL_TEST_SOURCE_DIR=str(ROOT))
    for area in areas:
        program = build_dir / "tests" / f"vel_{area}_tests"
        with tempfile.TemporaryDirectory(prefix="vel-mutate-") as scratch:
            code, _ = run([str(program), "--gtest_brief=1"], timeout, cwd=scratch, env=env)
        if code != 0:
            return f"{area} ({'timeout' if code == 'timeout' else 'failed'})"
    return None


def configure(build_dir):
    if (build_dir / "CMakeCache.txt").exists():
        return
    env = dict(os.environ)
    env.setdefault("CMAKE_CXX_COMPILER_LAUNCHER", "ccache")
    subprocess.run(["cmake", "-S", str(ROOT), "-B", str(build_dir), "-DCMAKE_BUILD_TYPE=Release",
                    "-DVEL_BUILD_TESTS=ON", "-DVEL_BUILD_PYTHON=OFF", "-DVEL_BUILD_EXAMPLES=OFF"],
                   check=True, env=env, stdout=subprocess.DEVNULL)


def select(faults, args):
    chosen = [f for f in faults if not args.area or f.area in args.area]
    if args.match:
        chosen = [f for f in chosen if re.search(args.match, f.description, re.I)]
    if args.number:
        chosen = [f for f in chosen if f.number in args.number]
    if args.spread:
        by_area = [[f for f in chosen if f.area == a] for a in AREAS]
        chosen = [f for round_ in zip_longest(*by_area) for f in round_ if f]
    return chosen


def report(results, log):
    print("\narea        faults  killed  score")
    for area in AREAS:
        mine = [r for r in results if r[0].area == area and r[1] in ("killed", "survived")]
        if mine:
            killed = sum(1 for r in mine if r[1] == "killed")
            print(f"{area:10s} {len(mine):7d} {killed:7d} {100.0 * killed / len(mine):5.1f}%")
    counted = [r for r in results if r[1] in ("killed", "survived")]
    killed = sum(1 for r in counted if r[1] == "killed")
    if counted:
        print(f"{'all':10s} {len(counted):7d} {killed:7d} {100.0 * killed / len(counted):5.1f}%")
    for status in ("survived", "equivalent", "not applied", "no build"):
        listed = [r for r in results if r[1] == status]
        if listed:
            print(f"\n{status}:")
            for fault, _, detail in listed:
                print(f"  #{fault.number} [{fault.area}] {fault.file}: {fault.description}"
                      + (f" ({detail})" if detail else ""))
    print(f"\nlog: {log}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build", default=str(ROOT / "build" / "mutate"))
    parser.add_argument("--faults", default=str(ROOT / "scripts" / "mutations.txt"))
    parser.add_argument("--area", action="append", choices=AREAS)
    parser.add_argument("--match")
    parser.add_argument("--number", type=int, action="append", help="fault number (repeatable)")
    parser.add_argument("--timeout", type=float, default=60,
                        help="seconds per test program (a release build runs each in under 15)")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--spread", action="store_true",
                        help="take the areas in turn, so that a partial run samples every area")
    parser.add_argument("--full", action="store_true",
                        help="run every area's program on a fault its own areas miss")
    args = parser.parse_args()

    build_dir = Path(args.build).resolve()
    build_dir.mkdir(parents=True, exist_ok=True)
    sources = Sources(build_dir)
    sources.recover()
    atexit.register(sources.restore)
    faults = select(parse_faults(Path(args.faults)), args)
    configure(build_dir)

    def stop(signum, _frame):
        # The source comes back here and now, whatever the interrupted code was doing.
        sources.restore()
        raise KeyboardInterrupt(f"signal {signum}")

    for signum in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(signum, stop)

    needed = AREAS if args.full else sorted({a for f in faults for a in f.programs}, key=AREAS.index)
    print(f"building the unchanged test programs: {' '.join(needed)}", flush=True)
    if not build(build_dir, needed, args.jobs) or test_areas(build_dir, needed, args.timeout):
        sys.exit("the unchanged sources must build and pass first")

    log = build_dir / "mutate-results.txt"
    results = []
    try:
        with log.open("w") as out:
            for fault in faults:
                start = time.time()
                try:
                    problem = sources.apply(fault)
                    if problem:
                        status, detail = "not applied", problem
                    elif not build(build_dir, needed if args.full else fault.programs, args.jobs):
                        status, detail = "no build", ""
                    else:
                        areas = fault.programs
                        if args.full:
                            areas = areas + [a for a in AREAS if a not in areas]
                        caught = test_areas(build_dir, areas, args.timeout)
                        status, detail = ("killed", caught) if caught else ("survived", "")
                        if status == "survived" and fault.equivalent:
                            status, detail = "equivalent", fault.equivalent
                finally:
                    sources.restore()
                results.append((fault, status, detail))
                line = (f"#{fault.number:<4d} {status:11s} {time.time() - start:6.1f}s "
                        f"[{fault.area}] {fault.description}" + (f" <- {detail}" if detail else ""))
                print(line, flush=True)
                out.write(line + "\n")
                out.flush()
    finally:
        sources.restore()
        build(build_dir, needed, args.jobs)
    report(results, log)


if __name__ == "__main__":
    main()
