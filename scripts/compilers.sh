#!/usr/bin/env bash
# Builds the command with gcc and with clang and compares what they make of marked scans, byte for byte:
# scripts/compilers.sh [SCANS]. Without a folder of scans, of a scan of the command's own making.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
# shellcheck source=scripts/packages.sh
source scripts/packages.sh
install_missing_packages clang-14 libomp-14-dev

for compiler in g++-12 clang++-14; do
    build=build/compiler-$compiler
    mapfile -t generator < <(build_options)
    [ -f "$build/CMakeCache.txt" ] && generator=()
    cmake -S . -B "$build" "${generator[@]}" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON -DKELVANE_BUILD_TESTS=OFF -DKELVANE_BUILD_EXAMPLES=OFF >/dev/null
    cmake --build "$build" -j "$(build_jobs)" --target kelvane_command
done
one=build/compiler-g++-12/apps/kelvane/kelvane
other=build/compiler-clang++-14/apps/kelvane/kelvane
scans=${1:-}
if [ -z "$scans" ]; then
    scans=$(mktemp -d)
    trap 'rm -rf "$scans"' EXIT
    for seed in 1 2 3; do
        "$one" demo "$scans/seed-$seed" --seed "$seed" --ragged-rim >/dev/null
        mv "$scans/seed-$seed/scan.ply" "$scans/seed-$seed/marked.ply"
    done
fi
scripts/same_bytes.sh "$one" "$other" "$scans"
