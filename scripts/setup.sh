#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need, when missing, and
# any further packages named as arguments.
set -euo pipefail

packages=(build-essential cmake pkg-config libhdf5-dev libexpat1-dev googletest libgtest-dev
          libgmock-dev libbenchmark-dev hdf5-tools hdf5-filter-plugin python3-h5py python3-meshio
          pybind11-dev python3-dev python3-numpy python3-pytest python3-matplotlib python3-scipy
          "$@")

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if ((${#missing[@]})); then
    echo "installing: ${missing[*]}"
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
