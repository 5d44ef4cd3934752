"""Runs the h5py snippet of docs/file-format.md against the finite-element example's database
and checks what it reads against what fem_writer.cpp wrote, so the document cannot drift from
the files the library writes.

    file_format_test.py FILE_FORMAT_MD FEM_VEL CSET_FORMS_VEL

CSET_FORMS_VEL is written by tests/tools/cset_forms_sample.cpp: a CSet of every encoding."""
import contextlib
import io
import re
import sys


def snippet(markdown):
    """The python block that follows the "read-drawer" marker."""
    found = re.search(r"<!-- snippet: read-drawer -->\s*```python\n(.*?)```", markdown, re.S)
    if not found:
        sys.exit("docs/file-format.md has no read-drawer snippet")
    return found.group(1)


def main():
    markdown_path, fem, forms = sys.argv[1:4]
    with open(markdown_path) as f:
        code = snippet(f.read())
    printed = io.StringIO()
    namespace = {"path": fem}
    with contextlib.redirect_stdout(printed):
        exec(compile(code, "file-format.md snippet", "exec"), namespace)

    failures = []
    # fem_writer.cpp: step s (from 0) has load (s + 1) / 4 and node n the displacement
    # (load * 0.001 * x, -load * 0.02 * x * x / 16, 0) with x = n % 5.
    load = 2 / 4
    lines = printed.getvalue().splitlines()
    if len(lines) != 20:
        failures.append(f"{len(lines)} lines printed, 20 expected")
    import h5py
    import numpy as np
    members = namespace["cset_members"]
    with h5py.File(fem, "r") as f:
        _, values = namespace["read_drawer"](f, 8, 2)
        for n, line in enumerate(lines):
            want = np.array([load * 0.001 * (n % 5), -load * 0.02 * (n % 5) ** 2 / 16.0, 0.0])
            if not np.array_equal(values[0, n], want) or not line.startswith(f"step 1 node {n}: "):
                failures.append(f"line {n}: {line!r}, expected values {want}")
    # The example's CSets (the full set, the strided edges, a step), then one of every
    # encoding; a permutation's index word has no ascending bit, its twin's has.
    ascending = 0x80000000
    checks = [(fem, 0, 1 | ascending, list(range(20))), (fem, 0, 2 | ascending, [0, 5, 10, 15]),
              (fem, 0, 3 | ascending, [4, 9, 14, 19]), (fem, 3, 4 | ascending, [2]),
              (forms, 0, 0 | ascending, []), (forms, 0, 2, [7, 2, 5]),
              (forms, 0, 3 | ascending, [2, 5, 7]),
              (forms, 0, 4 | ascending, [0, 1, 2, 6, 7, 8, 9]), (forms, 0, 5 | ascending, [1, 4, 9]),
              (forms, 0, 6 | ascending, [0, 1, 4, 5])]
    for path, collection, index, want in checks:
        with h5py.File(path, "r") as f:
            got = [int(m) for m in members(f, collection, index)]
        if got != want:
            failures.append(f"{path} CSet {collection}/{index & 0x7FFFFFFF}: {got} != {want}")
    for failure in failures:
        print(failure)
    print(f"file-format snippet: {len(lines)} values and {len(checks)} CSets read by hand; "
          f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
