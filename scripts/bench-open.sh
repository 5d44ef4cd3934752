#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks in release mode and runs the open-and-read
# benchmark: opens of one step in fresh processes on files of 10 to 10,000 steps, whole-file
# reads and writes, and the cost of steps written one by one, each against raw HDF5 doing the
# same work in the same run; prints one table of ratios.  It writes about 5 GB in the working
# directory (build/bench/open) and removes it.  Arguments go to the program:
#   bash scripts/bench-open.sh [--repetitions=5] [--largest=10000]
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake -S . -B build/bench -DCMAKE_BUILD_TYPE=Release -DVEL_BUILD_TESTS=OFF \
      -DVEL_BUILD_BENCHMARKS=ON >/dev/null
cmake --build build/bench -j "$(nproc)" --target vel_bench_VelOpenRead
mkdir -p build/bench/open
cd build/bench/open
../bench/vel_bench_VelOpenRead "$@"
