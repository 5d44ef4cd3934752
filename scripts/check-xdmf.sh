#!/usr/bin/env bash
# Checks vel-xdmf's output with the readers users open it with: ParaView's own XDMF reader
# (pvpython, headless) and meshio's time-series reader.  Installs both from Debian when missing
# (python3-paraview is kept out of the suite's set-up: it is large and conflicts with
# python3-vtk9), writes the sample results files with a build's vel_xdmf_sample, describes them
# with its vel-xdmf, and compares what each reader sees with the arrays written.
#   bash scripts/check-xdmf.sh [BUILD_DIR]      (default build/sanitize)
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/sanitize}"

bash scripts/setup.sh python3-paraview

folder="$(mktemp -d)"
trap 'rm -rf "$folder"' EXIT
"$build/tests/vel_xdmf_sample" "$folder"
for results in "$folder"/one-block.vel "$folder"/two-blocks.vel; do
    "$build/vel-xdmf" "$results"
done
# Debian's interpreter sees Debian's meshio and h5py, whatever python3 comes first on PATH.
/usr/bin/python3 tests/results/check_xdmf.py meshio "$folder"
pvpython tests/results/check_xdmf.py paraview "$folder"
