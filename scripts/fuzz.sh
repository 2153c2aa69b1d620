#!/usr/bin/env bash
# Builds every fuzz program with clang and runs each for some seconds: scripts/fuzz.sh SECONDS [NAME...]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
# shellcheck source=scripts/packages.sh
source scripts/packages.sh
seconds=${1:?seconds per program}
shift

install_missing_packages clang-14 libclang-rt-14-dev libomp-14-dev
mapfile -t options < <(build_options)
[ -f build/fuzz/CMakeCache.txt ] && options=()
cmake -S . --preset fuzz "${options[@]}" >/dev/null
cmake --build build/fuzz -j "$(build_jobs)" --target fuzzers
programs=("$@")
[ ${#programs[@]} -gt 0 ] || mapfile -t programs < <(cd build/fuzz/fuzz && ls fuzz_* | sort)
for program in "${programs[@]}"; do
    mkdir -p "build/fuzz/corpus/$program"
    echo "-- $program"
    log=build/fuzz/$program.log
    "build/fuzz/fuzz/$program" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 \
        -print_final_stats=1 -artifact_prefix=build/fuzz/ "build/fuzz/corpus/$program" \
        >"$log" 2>&1 || { tail -n 40 "$log"; exit 1; }
    grep '^stat::number_of_executed_units' "$log"
done
