#!/usr/bin/env bash
# Installs what is missing, builds the library with AddressSanitizer and
# UndefinedBehaviorSanitizer, warnings as errors, and runs the whole test suite (the Python
# package's pytest suite among it, with Debian's interpreter).
#
# --quick: a release build (build/quick) and its test suite, for everyday work; no sanitizers
# and no XDMF check.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
if [ "${1:-}" = "--quick" ]; then
    cmake -S . -B build/quick -DCMAKE_BUILD_TYPE=Release -DVEL_BUILD_TESTS=ON \
          -DVEL_BUILD_PYTHON=ON -DPython3_EXECUTABLE=/usr/bin/python3 >/dev/null
    cmake --build build/quick -j "$(nproc)"
    ctest --test-dir build/quick --output-on-failure -j "$(nproc)"
    exit 0
fi
cmake -S . -B build/sanitize -DCMAKE_BUILD_TYPE=Debug -DVEL_SANITIZE=ON -DVEL_WERROR=ON \
      -DVEL_BUILD_TESTS=ON -DVEL_BUILD_PYTHON=ON -DPython3_EXECUTABLE=/usr/bin/python3 >/dev/null
cmake --build build/sanitize -j "$(nproc)"
ctest --test-dir build/sanitize --output-on-failure -j "$(nproc)"
bash scripts/check-xdmf.sh build/sanitize
