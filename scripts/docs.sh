#!/usr/bin/env bash
# Makes the reference of the public headers in build/docs/html; a member without a word is an error.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
# shellcheck source=scripts/packages.sh
source scripts/packages.sh
install_missing_packages doxygen

# The headers are those that an installation has.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mapfile -t generator < <(build_options)
[ -f build/docs/cmake/CMakeCache.txt ] && generator=()
cmake -S . -B build/docs/cmake "${generator[@]}" -DCMAKE_BUILD_TYPE=Release -DKELVANE_BUILD_TESTS=OFF \
    -DKELVANE_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build/docs/cmake -j "$(build_jobs)" --target kelvane toolkit
cmake --install build/docs/cmake --prefix "$scratch" --component dev >/dev/null
KELVANE_DOCS_OUTPUT=build/docs KELVANE_DOCS_ROOT="$scratch/include" \
    KELVANE_DOCS_INPUT="$scratch/include" doxygen docs/Doxyfile
echo "build/docs/html/index.html"
