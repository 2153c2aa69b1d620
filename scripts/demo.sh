#!/usr/bin/env bash
# Builds the command, writes a synthetic scan with markers, repairs it, and measures the result against
# the undisturbed surface.
#
#     scripts/demo.sh [DIRECTORY]        default: demo/ in the repository
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
folder=${1:-"$root/demo"}
build=${KELVANE_BUILD_DIR:-"$root/build/demo"}
# shellcheck source=scripts/packages.sh
source "$root/scripts/packages.sh"

install_missing_packages
mapfile -t options < <(build_options)
[ -f "$build/CMakeCache.txt" ] && options=() # the generator of a build stays
mkdir -p "$build"
cmake -S "$root" -B "$build" "${options[@]}" -DCMAKE_BUILD_TYPE=Release \
    -DKELVANE_BUILD_TESTS=OFF -DKELVANE_BUILD_EXAMPLES=OFF >"$build/configure.log" 2>&1 ||
    { cat "$build/configure.log"; exit 1; }
cmake --build "$build" --target kelvane_command -j "$(build_jobs)"

kelvane="$build/apps/kelvane/kelvane"
echo
"$kelvane" demo "$folder"
echo
"$kelvane" repair "$folder/scan.ply" --markers "$folder/markers.csv" \
    --output "$folder/repaired.ply" --report "$folder/report.json"
echo
echo "Distance to the undisturbed surface under each marker, in mm; both carry the scanner's noise,"
echo "which has a standard deviation of 0.01 mm:"
"$kelvane" compare "$folder/repaired.ply" "$folder/truth.ply" --markers "$folder/markers.csv"
