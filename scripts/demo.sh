#!/usr/bin/env bash
# Installs what is missing, builds the library and its examples, and runs the demo.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
echo "building (log: build/release/build.log) ..."
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DVEL_BUILD_TESTS=OFF >/dev/null
mkdir -p build/release
if ! cmake --build build/release -j "$(nproc)" >build/release/build.log 2>&1; then
    tail -n 40 build/release/build.log
    exit 1
fi
mkdir -p build/demo
cd build/demo
../release/examples/vel_demo
# The results layer: a beam's displacement by name, read back by name, described for ParaView.
../release/examples/vel_results_writer beam.vel
../release/examples/vel_results_reader beam.vel
../release/vel-xdmf beam.vel
echo
echo "databases written to $(pwd): $(ls ./*.vel | xargs -n1 basename | tr '\n' ' ')"
echo "see what one holds:   build/release/veldump build/demo/beam.vel   (-v for values)"
echo "open $(pwd)/beam.vel.xmf in ParaView (File > Open, XDMF reader) to see the beam move"
