#!/usr/bin/env bash
# Runs the test suite under the sanitizers and a whole demo run under valgrind. No finding is suppressed.
#
#     scripts/sanitizers.sh                          all three, about half an hour on two cores
#     scripts/sanitizers.sh address|thread|valgrind  one of them
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
# shellcheck source=scripts/packages.sh
source scripts/packages.sh
jobs=$(build_jobs)

build() { # build PRESET
    local generator=()
    [ -f "build/$1/CMakeCache.txt" ] || mapfile -t generator < <(build_options)
    cmake -S . --preset "$1" "${generator[@]}" >/dev/null
    cmake --build "build/$1" -j "$jobs"
}

address() {
    echo "== address and undefined-behaviour sanitizers (gcc), the mesh checked after every stage"
    install_missing_packages libgtest-dev
    build asan-ubsan
    (cd build/asan-ubsan && ctest --output-on-failure -j "$jobs")
}

# Archer tells the sanitizer what OpenMP's own locks and barriers order. Libraries that were not
# compiled for the sanitizer show it half of what they do; what this code does with them is seen.
thread() {
    echo "== thread sanitizer (clang)"
    install_missing_packages libgtest-dev clang-14 libclang-rt-14-dev libomp-14-dev
    build thread
    local archer
    archer=/usr/lib/llvm-14/lib/libarcher.so
    [ -f "$archer" ] || { echo "$archer is missing" >&2; return 1; }
    (cd build/thread && OMP_TOOL_LIBRARIES=$archer OMP_NUM_THREADS=4 \
        TSAN_OPTIONS="ignore_noninstrumented_modules=1 halt_on_error=1" \
        ctest --output-on-failure -j "$jobs" -E '^exported_symbols$')
}

# OpenMP keeps its pool of threads to the end of the process, which is no leak.
valgrind_demo() {
    echo "== valgrind over a demo run"
    install_missing_packages valgrind
    build release
    local folder
    folder=$(mktemp -d)
    trap 'rm -rf "$folder"' RETURN
    build/release/apps/kelvane/kelvane demo "$folder" >/dev/null
    for method in fast high low; do
        valgrind --quiet --error-exitcode=9 --leak-check=full --errors-for-leak-kinds=definite \
            build/release/apps/kelvane/kelvane repair "$folder/scan.ply" --markers "$folder/markers.csv" \
            --output "$folder/repaired.ply" --method "$method" --threads 2 >/dev/null
        echo "$method: no finding"
    done
}

case ${1:-all} in
address) address ;;
thread) thread ;;
valgrind) valgrind_demo ;;
all)
    address
    thread
    valgrind_demo
    ;;
*)
    echo "address, thread or valgrind?" >&2
    exit 2
    ;;
esac
