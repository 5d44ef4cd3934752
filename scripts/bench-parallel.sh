#!/usr/bin/env bash
# Builds the parallel library (release) and measures the results layer against raw parallel
# HDF5 with 1, 2 and 4 ranks: 10^6 nodes x 3 doubles x 10 steps written and read collectively.
# Scratch files go to ${VEL_BENCH_DIR:-/tmp} and are removed.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh libhdf5-openmpi-dev openmpi-bin
cmake -S . -B build/bench-parallel -DCMAKE_BUILD_TYPE=Release -DVEL_PARALLEL=ON \
      -DVEL_BUILD_TESTS=OFF -DVEL_BUILD_EXAMPLES=OFF -DVEL_BUILD_BENCHMARKS=ON >/dev/null
cmake --build build/bench-parallel -j "$(nproc)" --target vel_bench_VelResultsParallel

export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
export OMPI_MCA_btl_vader_single_copy_mechanism=none
for np in 1 2 4; do
    mpirun --allow-run-as-root --oversubscribe -np $np \
        build/bench-parallel/bench/parallel/vel_bench_VelResultsParallel 1000000 10 "${ROUNDS:-5}" \
        "${VEL_BENCH_DIR:-/tmp}"
done
