#!/usr/bin/env bash
# Proves that the library installs anywhere: builds a release tree (build/package), then
#   1. installs it with `cmake --install --prefix` into a fresh folder, and
#   2. makes the libvel and libvel-dev Debian packages with `cpack -G DEB` and unpacks them into
#      a scratch root (dpkg-deb -x), as dpkg would place them under /usr,
# and against each of the two, builds and runs a one-file program with nothing but pkg-config,
# an outside CMake project that uses find_package(vel), and the installed veldump on the file
# the one-file program wrote.  Everything goes under build/package-check.
set -euo pipefail
cd "$(dirname "$0")/.."
source_dir=$(pwd)

bash scripts/setup.sh
build=build/package
work=$source_dir/build/package-check
rm -rf "$work"
mkdir -p "$work"

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DVEL_BUILD_TESTS=OFF \
      -DVEL_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" >/dev/null

cmake --install "$build" --prefix "$work/prefix" >/dev/null
(cd "$build" && cpack -G DEB >/dev/null)
for package in libvel libvel-dev; do
    deb=$(ls "$build"/"${package}"_*.deb)
    echo "$(basename "$deb"): $(dpkg-deb -f "$deb" Depends)"
    dpkg-deb -x "$deb" "$work/root"
done

# Builds and runs both consumers against the installed tree under $1.
check_tree() {
    local prefix=$1 name=$2 libdir
    libdir=$(dirname "$(find "$prefix" -name vel.pc)")/..
    local out=$work/$name
    mkdir -p "$out"
    # pkg-config finds only this tree's vel.pc; its paths come from where the file lies.
    PKG_CONFIG_PATH=$libdir/pkgconfig PKG_CONFIG_LIBDIR=$libdir/pkgconfig \
        g++ -std=c++17 -o "$out/one_file" tests/package/one_file.cpp \
        $(PKG_CONFIG_LIBDIR=$libdir/pkgconfig pkg-config --cflags --libs vel)
    LD_LIBRARY_PATH=$libdir "$out/one_file" "$out/one_file.vel"
    LD_LIBRARY_PATH=$libdir "$prefix/bin/veldump" -d c0 "$out/one_file.vel" | head -3

    cmake -S tests/package/consumer -B "$out/consumer" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$out/consumer" >/dev/null
    LD_LIBRARY_PATH=$libdir "$out/consumer/vel_consumer"
    echo "$name: pkg-config program, CMake project and veldump work"
}

check_tree "$work/prefix" prefix
check_tree "$work/root/usr" deb-root
