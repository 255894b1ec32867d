#!/usr/bin/env bash
# Sets up a Debian 12 machine for the Velmora LT tool and builds it, then runs it or its tests.
#   ./build.sh run    install what is missing, build, start the tool
#   ./build.sh test   install what is missing, build, run every test
#   ./build.sh bench  install what is missing, build, run the benchmarks
# Only Debian packages are installed (as root, or through sudo); nothing else is downloaded.
set -euo pipefail
cd "$(dirname "$0")"

packages=(cmake make g++ qt6-base-dev fonts-liberation2)

install_missing() {
    local missing=()
    for package in "${packages[@]}"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    echo "Installing Debian packages: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

build() {
    cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    cmake --build build -j"$(nproc)"
}

case "${1:-run}" in
run)
    install_missing
    build
    exec build/velmora
    ;;
test)
    install_missing
    build
    cd build
    exec ctest --output-on-failure -j"$(nproc)"
    ;;
bench)
    install_missing
    build
    for bench in build/bench/bench_*; do
        "$bench"
    done
    ;;
*)
    echo "usage: $0 [run|test|bench]" >&2
    exit 2
    ;;
esac
