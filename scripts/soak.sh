#!/usr/bin/env bash
# Repairs hundreds of random scans, each with turned, scaled, mirrored and renumbered copies that must
# give the same repair, by every method: scripts/soak.sh [SCANS [FIRST_SEED]]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
# shellcheck source=scripts/packages.sh
source scripts/packages.sh
build=${KELVANE_BUILD_DIR:-build/release}

install_missing_packages libgtest-dev
generator=()
[ -f "$build/CMakeCache.txt" ] || mapfile -t generator < <(build_options)
cmake -S . -B "$build" "${generator[@]}" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j "$(build_jobs)" --target soak
"$build/tests/soak/soak" --scans "${1:-300}" --first-seed "${2:-1}"
