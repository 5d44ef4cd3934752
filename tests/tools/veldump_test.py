"""veldump on the examples' databases: its output equals the checked-in expected output, a
drawer's values equal the writer's arrays, and damaged or foreign files exit 1 with a message.

    veldump_test.py VELDUMP WORK_DIR EXPECTED_DIR [--update]

WORK_DIR holds fem.vel, records.vel and beam.vel from the example writers, and cset-forms.vel
(tests/tools/cset_forms_sample.cpp).  --update rewrites
the expected files from the current output (review the difference before committing it)."""
import json
import os
import shutil
import subprocess
import sys

# Expected file -> veldump arguments before the file name, and the database.
CASES = {
    "fem.txt": ([], "fem.vel"),
    "fem-v.txt": (["-v"], "fem.vel"),
    "fem-v-d8-2.json": (["-v", "--json", "-d", "d8/2"], "fem.vel"),
    "fem-c0.txt": (["-d", "c0"], "fem.vel"),
    "records-v.txt": (["-v"], "records.vel"),
    "beam.txt": ([], "beam.vel"),
    "beam-results.json": (["--json", "-d", "results"], "beam.vel"),
    "cset-forms-v.txt": (["-v"], "cset-forms.vel"),
    "cset-forms-d0-3.txt": (["-d", "c0/3"], "cset-forms.vel"),
}


def run(veldump, args, path):
    return subprocess.run([veldump, *args, path], capture_output=True, text=True)


def check_expected(veldump, work, expected_dir, update):
    failures = []
    for name, (args, database) in CASES.items():
        result = run(veldump, args, os.path.join(work, database))
        if result.returncode != 0:
            failures.append(f"{name}: exit {result.returncode}: {result.stderr}")
            continue
        expected_path = os.path.join(expected_dir, name)
        if update:
            with open(expected_path, "w") as f:
                f.write(result.stdout)
            continue
        with open(expected_path) as f:
            expected = f.read()
        if result.stdout != expected:
            got = os.path.join(work, name)
            with open(got, "w") as f:
                f.write(result.stdout)
            failures.append(f"{name}: output differs: diff {expected_path} {got}")
    return failures


def check_displacement(veldump, work):
    """Every displacement drawer holds what fem_writer.cpp computed for its step."""
    failures = []
    fem = os.path.join(work, "fem.vel")
    for step in range(4):
        drawer = json.loads(run(veldump, ["-v", "--json", "-d", f"d8/{step + 1}"], fem).stdout)
        load = (step + 1.0) / 4
        for row in drawer["values"]:
            written_step, node = row["at"]
            x = float(node % 5)
            expected = [load * 0.001 * x, -load * 0.02 * x * x / 16.0, 0.0]
            if written_step != step or row["values"] != expected:
                failures.append(f"d8/{step + 1} at {row['at']}: {row['values']} != {expected}")
    return failures


def check_refusals(veldump, work):
    """A truncated file, a file with a drawer's dataset deleted, a foreign file, a missing one
    and an unknown object all exit 1 with a message."""
    import h5py
    failures = []
    fem = os.path.join(work, "fem.vel")
    truncated = os.path.join(work, "truncated.vel")
    shutil.copyfile(fem, truncated)
    with open(truncated, "r+b") as f:
        f.truncate(os.path.getsize(fem) // 2)
    damaged = os.path.join(work, "damaged.vel")
    shutil.copyfile(fem, damaged)
    with h5py.File(damaged, "r+") as f:
        del f["00000008/00000002/00000002"]
    foreign = os.path.join(work, "foreign.vel")
    with open(foreign, "wb") as f:
        f.write(b"\0" * 4096)
    cases = [([], truncated, "truncated.vel cannot be opened: "),
             ([], damaged, 'damaged.vel is refused: stored drawer /00000008/00000002 refused: '
                           'it has no dataset "00000002"'),
             ([], foreign, "is not a database file"),
             ([], os.path.join(work, "missing.vel"), "cannot be read"),
             (["-d", "c99"], fem, 'no object "c99"')]
    for args, path, message in cases:
        result = run(veldump, args, path)
        if result.returncode != 1 or message not in result.stderr or result.stdout:
            failures.append(f"{args} {path}: exit {result.returncode}, stderr {result.stderr!r}")
    return failures


def check_damaged_string(veldump, work):
    """A load case's name whose bytes are not UTF-8 prints escaped, and the JSON stays valid."""
    import h5py
    damaged = os.path.join(work, "string.vel")
    shutil.copyfile(os.path.join(work, "records.vel"), damaged)
    with h5py.File(damaged, "r+") as f:
        text = f["stringTable/text"]
        at = bytes(text[:]).index(b"dead load")
        text[at] = 0xFF
    result = run(veldump, ["-v", "--json"], damaged)
    try:
        strings = json.dumps(json.loads(result.stdout))
    except ValueError as error:
        return [f"the JSON of a damaged string does not parse: {error}"]
    expected = json.dumps("\u00ffead load")[1:-1]
    if result.returncode != 0 or expected not in strings:
        return [f"damaged string: exit {result.returncode}, {expected} not in the output"]
    return []


def main():
    veldump, work, expected_dir = sys.argv[1:4]
    update = "--update" in sys.argv[4:]
    failures = check_expected(veldump, work, expected_dir, update)
    failures += check_displacement(veldump, work)
    failures += check_refusals(veldump, work)
    failures += check_damaged_string(veldump, work)
    for failure in failures:
        print(failure)
    print(f"veldump: {len(CASES)} expected outputs, 4 drawers, 5 refusals and a damaged string checked; "
          f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
