#!/usr/bin/env bash
# What a machine can see of the code: format, naming and lint, sanitizers, a minute of each fuzzer.
#
#     scripts/check.sh            all of it
#     scripts/check.sh --quick    format and lint of the sources that differ from the commit before;
#                                 all of them with KELVANE_LINT_ALL=1
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
# shellcheck source=scripts/packages.sh
source scripts/packages.sh
quick=no
[ "${1:-}" = --quick ] && quick=yes

install_missing_packages clang-format-14 clang-tidy-14 libgtest-dev
mapfile -t options < <(build_options)
jobs=$(build_jobs)

echo "== format"
git ls-files '*.cpp' '*.hpp' | xargs clang-format-14 --dry-run -Werror

echo "== lint"
generator=("${options[@]}")
[ -f build/tidy/CMakeCache.txt ] && generator=()
# Precompiled headers of one compiler are no use to another.
cmake -S . -B build/tidy "${generator[@]}" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
lint=(kelvane apps)
if [ $quick = yes ] && [ -z "${KELVANE_LINT_ALL:-}" ] && git rev-parse -q --verify HEAD~1 >/dev/null; then
    mapfile -t sources < <(git diff --name-only --diff-filter=d HEAD~1 -- "${lint[@]/%//*.cpp}")
else
    mapfile -t sources < <(git ls-files -- "${lint[@]/%//*.cpp}")
fi
printf '%s\n' "${sources[@]}" | xargs -r -n 1 -P "$jobs" clang-tidy-14 -p build/tidy --quiet 2>/dev/null
echo "${#sources[@]} sources without a finding"
[ $quick = yes ] && exit 0

echo "== address and undefined-behaviour sanitizers, every stage checked"
generator=("${options[@]}")
[ -f build/asan-ubsan/CMakeCache.txt ] && generator=()
cmake -S . --preset asan-ubsan "${generator[@]}" >/dev/null
cmake --build build/asan-ubsan -j "$jobs"
(cd build/asan-ubsan && ctest --output-on-failure -j "$jobs")

echo "== fuzzers, a minute each"
install_missing_packages clang-14 libclang-rt-14-dev
scripts/fuzz.sh 60
