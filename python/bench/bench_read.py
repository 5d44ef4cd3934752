"""One step of 10^6 nodes x 3 doubles read into NumPy, against the C++ read of the same drawer
into a caller buffer, in the same run; and the peak memory of a read.

    PYTHONPATH=build/rel/python python3 python/bench/bench_read.py build/rel/python

The reference program (vel_python_bench_reference, built beside the module) and Python take
turns, each read timed alone; each side's median over the rounds is compared.  The ratio
C++ time / Python time is 1 when Python adds nothing.  Two pairs are measured: a new buffer
per read (read(step), a new array; C++ a new allocation) and one buffer reused (read(step,
out=buffer); C++ the same buffer).  The scratch file (about 100 MB) goes to a temporary
folder and is removed.
"""

import argparse
import statistics
import subprocess
import sys
import tempfile
import time
import tracemalloc
from pathlib import Path

import numpy as np

import vel

NODES = 1_000_000
STEPS = 4
STEP = 2


def write_file(path):
    rng = np.random.default_rng(1)
    with vel.create(path) as out:
        out.add_nodes(rng.random((NODES, 3)))
        u = out.add_nodal_field("displacement", ["x", "y", "z"], "m")
        for step in range(STEPS):
            u.write(out.add_step(float(step)), rng.random((NODES, 3)))
            out.checkpoint()


def cpp_times(reference, path, repeats, mode):
    out = subprocess.run([str(reference), str(path), "displacement", str(STEP), str(repeats), mode],
                         check=True, capture_output=True, text=True).stdout
    return [float(line.split()[0]) for line in out.splitlines()]


def python_times(path, repeats, reuse):
    times = []
    with vel.open(path) as f:
        u = f.field("displacement")
        buffer = np.empty((NODES, 3)) if reuse else None
        for _ in range(repeats):
            start = time.perf_counter()
            values = u.read(STEP, out=buffer) if reuse else u.read(STEP)
            times.append(time.perf_counter() - start)
            del values
    return times


def peak_of_one_read(path):
    """Bytes NumPy allocated at the peak of one read(step), and the growth of the process's
    resident memory over the read, in a fresh process that has read only one node's history
    before (so the high-water mark is the read's); it counts what the library allocates too."""
    with vel.open(path) as f:
        u = f.field("displacement")
        u.read(0)  # opens the drawer machinery once
        tracemalloc.start()
        values = u.read(STEP)
        _, peak = tracemalloc.get_traced_memory()
        tracemalloc.stop()
        assert values.nbytes == NODES * 3 * 8
    # VmHWM, not ru_maxrss: Linux hands a parent's ru_maxrss on to the child it runs.
    script = (
        "import sys, vel\n"
        "def hwm():\n"
        "    for line in open('/proc/self/status'):\n"
        "        if line.startswith('VmHWM:'): return int(line.split()[1]) * 1024\n"
        "f = vel.open(sys.argv[1]); u = f.field('displacement'); u.history(0)\n"
        "before = hwm()\n"
        f"v = u.read({STEP})\n"
        "print(hwm() - before)\n")
    rss = int(subprocess.run([sys.executable, "-c", script, str(path)], check=True,
                             capture_output=True, text=True).stdout)
    return peak, rss


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build_python", type=Path, help="the build's python folder")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--repeats", type=int, default=10)
    args = parser.parse_args()
    reference = args.build_python / "vel_python_bench_reference"
    with tempfile.TemporaryDirectory() as scratch:
        path = Path(scratch) / "bench.vel"
        write_file(path)
        print(f"one step of {NODES} nodes x 3 doubles ({NODES * 24 / 1e6:.0f} MB), "
              f"{args.rounds} rounds x {args.repeats} reads per side")
        for label, mode, reuse in (("new buffer per read", "fresh", False),
                                   ("buffer reused", "reused", True)):
            cpp, py = [], []
            for _ in range(args.rounds):
                cpp += cpp_times(reference, path, args.repeats, mode)
                py += python_times(path, args.repeats, reuse)
            c, p = statistics.median(cpp), statistics.median(py)
            print(f"  {label:20s} C++ {c * 1e3:7.2f} ms   Python {p * 1e3:7.2f} ms   "
                  f"ratio C++/Python {c / p:.3f}")
        peak, rss = peak_of_one_read(path)
        print(f"  peak NumPy allocation during read(step): {peak} bytes "
              f"(the array: {NODES * 24} bytes, beyond it: {peak - NODES * 24} bytes)")
        print(f"  resident memory growth of a fresh process over read(step): {rss} bytes "
              f"(beyond the array: {rss - NODES * 24} bytes)")


if __name__ == "__main__":
    main()
