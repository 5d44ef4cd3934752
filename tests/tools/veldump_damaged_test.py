"""veldump -v on damaged copies of the examples' databases (the corpus of
scripts/make-damaged-corpus.py): each must print its content (exit 0) or be refused with a
message (exit 1), never crash, hang or trip a sanitizer.

    veldump_damaged_test.py VELDUMP CORPUS_DIR WORK_DIR [EVERY]

EVERY (default 1) takes every EVERY-th variant of the corpus."""
import concurrent.futures
import os
import subprocess
import sys


def apply_patch(patch, source):
    """The damaged file: see ApplyPatch in tests/views/VelDamagedFiles_test.cpp."""
    lines = patch.split(b"\n", 2)
    if lines[0] != b"VELPATCH 1":
        raise ValueError("not a patch")
    size = int(lines[1].split()[1])
    data = bytearray(source[:size]) + bytearray(max(0, size - len(source)))
    rest, at = lines[2], 0
    while at < len(rest):
        end = rest.index(b"\n", at)
        offset, length = map(int, rest[at:end].split())
        at = end + 1
        data[offset:offset + length] = rest[at:at + length]
        at += length + 1
    return bytes(data)


def main():
    veldump, corpus, work = sys.argv[1:4]
    every = int(sys.argv[4]) if len(sys.argv) > 4 else 1
    os.makedirs(work, exist_ok=True)
    with open(os.path.join(corpus, "manifest.tsv")) as f:
        variants = [line.split("\t")[:2] for line in f.read().splitlines()[1:]][::every]
    sources = {}
    for _, source in variants:
        if source not in sources:
            with open(os.path.join(corpus, source), "rb") as f:
                sources[source] = f.read()

    def check(variant):
        name, source = variant
        with open(os.path.join(corpus, "patches", name + ".patch"), "rb") as f:
            damaged = apply_patch(f.read(), sources[source])
        path = os.path.join(work, name + ".vel")
        with open(path, "wb") as f:
            f.write(damaged)
        try:
            result = subprocess.run([veldump, "-v", path], capture_output=True, timeout=300)
        except subprocess.TimeoutExpired:
            return f"{name}: no answer in 300 s"
        finally:
            os.remove(path)
        stderr = result.stderr.decode(errors="replace")
        if result.returncode == 1 and "veldump: " not in stderr:
            return f"{name}: refused without a message"
        if result.returncode not in (0, 1) or "Sanitizer" in stderr or "runtime error" in stderr:
            return f"{name}: exit {result.returncode}\n{stderr[-2000:]}"
        return None

    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        failures = [f for f in pool.map(check, variants) if f]
    for failure in failures:
        print(failure)
    print(f"veldump on {len(variants)} damaged files: {len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
