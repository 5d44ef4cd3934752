#!/usr/bin/env bash
# Installs what is missing, builds the crash trials in release mode and runs them: a checkpointing
# writer killed with SIGKILL at random moments (two kills in three just inside a checkpoint), each
# file reopened and every checkpointed value checked.  bash scripts/crash-trials.sh [trials] [seed]
set -euo pipefail
cd "$(dirname "$0")/.."
trials=${1:-200}
seed=${2:-1}

bash scripts/setup.sh
cmake -S . -B build/crash-release -DCMAKE_BUILD_TYPE=Release -DVEL_BUILD_TESTS=ON >/dev/null
cmake --build build/crash-release -j "$(nproc)" --target vel_crash_trials
mkdir -p build/crash-release/run
cd build/crash-release/run
time ../tests/vel_crash_trials "$trials" "$seed"
