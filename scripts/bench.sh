#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks in release mode and runs them; each benchmark
# measures the library against its reference in the same run.  Arguments go to every program.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake -S . -B build/bench -DCMAKE_BUILD_TYPE=Release -DVEL_BUILD_TESTS=OFF \
      -DVEL_BUILD_BENCHMARKS=ON >/dev/null
cmake --build build/bench -j "$(nproc)"
mkdir -p build/bench/run
cd build/bench/run
for program in ../bench/vel_bench_*; do
    echo "== $(basename "$program")"
    "$program" "$@"
done
