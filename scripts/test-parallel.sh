#!/usr/bin/env bash
# Builds the library against parallel HDF5 (-DVEL_PARALLEL=ON, Debian's libhdf5-openmpi-dev) and
# runs the parallel tests under mpirun with 1, 2 and 4 ranks: the files written by every rank
# count are compared value for value with the one a single process writes, read back by 1 and 3
# ranks, and by the serial reader after a rank was killed between checkpoints; collective calls
# that differ are refused, and a rank that never makes one ends the job within the timeout.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh libhdf5-openmpi-dev openmpi-bin
cmake -S . -B build/parallel -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVEL_PARALLEL=ON -DVEL_WERROR=ON \
      -DVEL_BUILD_TESTS=ON -DVEL_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build/parallel -j "$(nproc)" --target vel_parallel_tests vel_parallel_results

# As root, and with more ranks than cores; containers often forbid cross-memory attach.
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
export OMPI_MCA_btl_vader_single_copy_mechanism=none
mpirun=(timeout 300 mpirun --allow-run-as-root --oversubscribe)
tests=build/parallel/tests/parallel/vel_parallel_tests
results=build/parallel/tests/parallel/vel_parallel_results
compare=(/usr/bin/python3 tests/parallel/compare_files.py)
work=$(mktemp -d /tmp/vel-parallel.XXXXXX)
trap 'rm -rf "$work"' EXIT
nodes=5003
steps=4

"$results" write-serial "$work/serial.vel" $nodes $steps
for np in 1 2 4; do
    echo "== $np ranks"
    "${mpirun[@]}" -np $np "$tests"
    "${mpirun[@]}" -np $np "$results" write "$work/ranks$np.vel" $nodes $steps
    "${compare[@]}" "$work/ranks$np.vel" "$work/serial.vel"
done
for np in 1 3; do
    "${mpirun[@]}" -np $np "$results" read "$work/ranks4.vel" $nodes $steps
done
"$results" check "$work/ranks4.vel" $nodes $steps

echo "== a rank killed in step $((steps - 1)), after the checkpoint of step $((steps - 2))"
if "${mpirun[@]}" -np 4 "$results" kill "$work/killed.vel" $nodes $steps >"$work/kill.log" 2>&1; then
    echo "the job with a killed rank ended well"; exit 1
fi
"$results" check "$work/killed.vel" $nodes $((steps - 1))
/usr/bin/python3 -c "import h5py, sys; h5py.File(sys.argv[1], 'r').visit(lambda name: None)" \
    "$work/killed.vel"

echo "== collective calls that differ between ranks"
"${mpirun[@]}" -np 4 "$results" differ "$work/differ.vel" 2>&1 | grep -v "^VelVALIDATE\|^Put Stop"

echo "== a rank that never makes a collective call"
if "${mpirun[@]}" -np 4 "$results" straggler "$work/straggler.vel" >"$work/straggler.log" 2>&1; then
    echo "the job with a missing collective call ended well"; exit 1
fi
grep -q "rank 0 of 4 waited 2 seconds in a commit of records" "$work/straggler.log" ||
    { cat "$work/straggler.log"; exit 1; }
echo "parallel tests: ok"
