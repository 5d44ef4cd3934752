#!/usr/bin/env bash
# Installs what is missing, builds the library and its examples, and runs the demo.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
echo "building (log: build/release/build.log) ..."
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DVEL_BUILD_TESTS=OFF \
      -DPython3_EXECUTABLE=/usr/bin/python3 >/dev/null
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
# The plate model of the first part, stored and read back by name; then the same file from
# Python: its steps and fields, and the tip's displacement history as a PNG.
../release/examples/vel_fem_results plate.vel
PYTHONPATH=../release/python /usr/bin/python3 ../../examples/python/plot_history.py plate.vel
echo
echo "databases written to $(pwd): $(ls ./*.vel | xargs -n1 basename | tr '\n' ' ')"
echo "see what one holds:   build/release/veldump build/demo/plate.vel   (-v for values)"
echo "open $(pwd)/beam.vel.xmf in ParaView (File > Open, XDMF reader) to see the beam move"
