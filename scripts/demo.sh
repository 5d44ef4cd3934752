#!/usr/bin/env bash
# Installs what is missing, builds the library and its examples, and runs the demo.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DVEL_BUILD_TESTS=OFF >/dev/null
cmake --build build/release -j "$(nproc)"
mkdir -p build/demo
cd build/demo
../release/examples/vel_demo
