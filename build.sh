#!/usr/bin/env bash
# Sets up a Debian 12 machine for the Velmora LT tool and builds it, then runs it or its tests.
#   ./build.sh run    install what is missing, build, start the tool
#   ./build.sh test   install what is missing, build, run every test
#   ./build.sh bench  install what is missing, build, run the benchmarks
#   ./build.sh sanitize  install what is missing, build with AddressSanitizer and UndefinedBehaviorSanitizer
#                        into build-sanitize/, run every test there (CI runs it after the tests)
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

# ccache, when the machine has it, makes rebuilds in a fresh clone or a second build folder quick.
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
export CCACHE_BASEDIR="$PWD"

build() {
    local folder=${1:-build}
    shift || true
    cmake -S . -B "$folder" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" "$@" >/dev/null
    cmake --build "$folder" -j"$(nproc)"
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
sanitize)
    install_missing
    build build-sanitize -DVELMORA_SANITIZE=ON
    # Any report fails its test. Leaks of libraries' own one-time allocations are listed, each explained,
    # in tests/sanitizer/lsan.supp.
    export ASAN_OPTIONS=abort_on_error=0:detect_leaks=1:exitcode=23
    export LSAN_OPTIONS="suppressions=$PWD/tests/sanitizer/lsan.supp:print_suppressions=0"
    export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
    cd build-sanitize
    exec ctest --output-on-failure -j"$(nproc)"
    ;;
*)
    echo "usage: $0 [run|test|bench|sanitize]" >&2
    exit 2
    ;;
esac
