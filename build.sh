#!/usr/bin/env bash
# Sets up a Debian 12 machine for the Velmora LT tool and builds it, then runs it or its tests.
#   ./build.sh run    install what is missing, build, start the tool
#   ./build.sh test   install what is missing, build, run every test
#   ./build.sh bench  install what is missing, build, run the benchmarks
#   ./build.sh sanitize  install what is missing, build with AddressSanitizer and UndefinedBehaviorSanitizer
#                        into build-sanitize/, run every test there (CI runs it after the tests)
#   ./build.sh fuzz [SECONDS]  install what is missing (and clang), build the libFuzzer targets into
#                        build-fuzz/, run each over its corpus and crash reproducers: a smoke of a fixed
#                        number of runs, or, given SECONDS, a longer run of that many seconds per target
# Only Debian packages are installed (as root, or through sudo); nothing else is downloaded.
set -euo pipefail
cd "$(dirname "$0")"

# dpkg-dev, desktop-file-utils, appstream and groff-base: the Debian package test (dpkg-shlibdeps, the desktop
# entry and metainfo checks, the man pages). ccache: quicker rebuilds.
packages=(cmake make g++ qt6-base-dev fonts-liberation2 dpkg-dev desktop-file-utils appstream groff-base ccache)

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

# ccache makes rebuilds in a fresh clone or a second build folder quick: paths below the clone are taken as
# relative and the build folder is left out of what it compares, so clones in other folders share the cache
# (their debug information then names the folder of the build that filled the cache).
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=true
compiler_launcher() {
    command -v ccache >/dev/null && echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
}

build() {
    local folder=${1:-build}
    shift || true
    cmake -S . -B "$folder" -DCMAKE_BUILD_TYPE=RelWithDebInfo $(compiler_launcher) "$@" >/dev/null
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
fuzz)
    packages+=(clang)
    install_missing
    # CMake reads the compiler only when it first configures a folder; build-fuzz is clang's alone.
    CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo $(compiler_launcher) \
        -DVELMORA_FUZZ=ON >/dev/null
    cmake --build build-fuzz -j"$(nproc)" --target velmora_fuzz
    # The smoke is repeatable (one seed, a fixed number of runs, capped at a few seconds a target); a longer
    # run keeps what it finds in build-fuzz/corpus/ and its crash inputs in build-fuzz/crashes/ (a fixed
    # crash's input goes to fuzz/regressions/<target>/, which every run replays).
    if [ -n "${2:-}" ]; then
        limits=(-max_total_time="$2")
    else
        limits=(-runs=20000 -max_total_time=12 -seed=1)
    fi
    mkdir -p build-fuzz/crashes
    rm -rf build-fuzz/smoke
    for target in build-fuzz/fuzz/fuzz_*; do
        [ -f "$target" ] && [ -x "$target" ] || continue
        name=$(basename "$target")
        found="build-fuzz/corpus/$name"
        [ -n "${2:-}" ] || found="build-fuzz/smoke/$name"
        mkdir -p "$found"
        inputs=("$found" "fuzz/corpus/$name")
        [ -d "fuzz/regressions/$name" ] && inputs+=("fuzz/regressions/$name")
        log="build-fuzz/$name.log"
        if ! "$target" "${limits[@]}" -print_final_stats=1 -artifact_prefix="build-fuzz/crashes/$name-" \
            "${inputs[@]}" >"$log" 2>&1; then
            tail -n 40 "$log" >&2
            echo "$name failed: the input is in build-fuzz/crashes/, the whole log in $log" >&2
            exit 1
        fi
        echo "$name: $(grep -E '^Done [0-9]+ runs' "$log" | tail -n 1)"
    done
    ;;
*)
    echo "usage: $0 [run|test|bench|sanitize|fuzz [SECONDS]]" >&2
    exit 2
    ;;
esac
