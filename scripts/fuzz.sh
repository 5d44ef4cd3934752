#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (AddressSanitizer and UndefinedBehaviorSanitizer) and
# runs each for the given number of seconds (default 60), from seeds made by the examples and the
# schema texts under tools/fuzz/qarn-seeds.  The run goes on past a finding; every finding lands
# in build/fuzz/run/findings/<target>/, to be replayed with the target and the file's name.
# For everyday use, not for CI:  bash scripts/fuzz.sh 1800 VelOpenContext
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
only=${2:-}

bash scripts/setup.sh
if ! command -v clang++ >/dev/null || ! dpkg-query -W -f='${Status}' libclang-rt-14-dev 2>/dev/null |
        grep -q "install ok installed"; then
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends clang \
        libclang-rt-14-dev
fi

cmake -S . -B build/fuzz -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
      -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVEL_SANITIZE=ON -DVEL_BUILD_TESTS=OFF \
      -DVEL_BUILD_FUZZERS=ON >/dev/null
cmake --build build/fuzz -j "$(nproc)"

run=build/fuzz/run
mkdir -p "$run/seeds/VelOpenContext" "$run/seeds/VelQARNReader"
(cd "$run" && ../examples/vel_fem_writer seeds/VelOpenContext/fem.vel >/dev/null &&
    ../examples/vel_records_writer >/dev/null && cp records.vel seeds/VelOpenContext/)
cp tools/fuzz/qarn-seeds/* "$run/seeds/VelQARNReader/"

# HDF5 allocates sizes that a damaged file declares before it checks them, and handles a failed
# allocation; the sanitizer must hand it the failure rather than stop.
export ASAN_OPTIONS=detect_leaks=1:handle_segv=1:allocator_may_return_null=1
export LSAN_OPTIONS=suppressions=$PWD/tools/fuzz/lsan.supp
for target in VelOpenContext VelQARNReader; do
    [ -n "$only" ] && [ "$only" != "$target" ] && continue
    corpus="$run/corpus/$target"
    findings="$run/findings/$target"
    mkdir -p "$corpus" "$findings"
    echo "== $target for ${seconds}s"
    # A damaged object header can make HDF5 ask for a buffer of gigabytes before its read fails:
    # a refusal that costs memory, not a finding.
    (cd "$run" && "../tools/fuzz/vel_fuzz_$target" -max_total_time="$seconds" -close_fd_mask=3 \
        -malloc_limit_mb=8192 -rss_limit_mb=4096 -fork=1 -ignore_crashes=1 -ignore_ooms=1 \
        -artifact_prefix="findings/$target/" -print_final_stats=1 \
        "corpus/$target" "seeds/$target") 2>&1 | tee "$run/$target.log" |
        grep -E "^(stat::|#[0-9]+ +DONE|==[0-9]+==|SUMMARY|artifact)" || true
    # The last progress line of a forking run carries its totals: executions, findings, time.
    grep -E "^#[0-9]+" "$run/$target.log" | tail -n 1 || true
done
