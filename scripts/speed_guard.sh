#!/usr/bin/env bash
# Measures a base commit against the working tree: single holes and a whole run, each row in turn with
# both builds in a process of its own. Fails where a row's processor time has grown by more than 20 %
# or its peak memory by more than 10 %.
#
#     scripts/speed_guard.sh BASE_COMMIT [ROUNDS]
#
# Of ROUNDS (5) the least time and memory count: other work on the machine only ever adds.
set -euo pipefail
[ $# -ge 1 ] || { sed -n '2,8s/^# \{0,1\}//p' "$0"; exit 2; }
base=$1 rounds=${2:-5}
slower=1.20 larger=1.10

root=$(cd "$(dirname "$0")/.." && pwd)
scratch=$(mktemp -d)
cleanup() {
    git -C "$root" worktree remove --force "$scratch/source" 2>/dev/null || true
    rm -rf "$scratch"
}
trap cleanup EXIT

git -C "$root" worktree add --quiet --detach "$scratch/source" "$base"
build() { # NAME SOURCE
    cmake -S "$root/benchmarks/speed_rows" -B "$scratch/$1" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_CXX_COMPILER_LAUNCHER="$(command -v ccache || true)" -DKELVANE_SOURCE="$2"
    cmake --build "$scratch/$1" --target speed_rows --parallel 2
}
build base "$scratch/source" >"$scratch/log" 2>&1 && build head "$root" >"$scratch/log" 2>&1 ||
    { tail -30 "$scratch/log" >&2; exit 3; }

for row in $("$scratch/head/speed_rows" --benchmark_list_tests); do
    for _ in $(seq "$rounds"); do
        for build in base head; do
            "$scratch/$build/speed_rows" --benchmark_filter="^$row\$" --benchmark_min_time=0.1 \
                --benchmark_format=csv 2>/dev/null | tail -1 | sed "s|^|$build,$row,|"
        done
    done
done | awk -F, -v slower=$slower -v larger=$larger '
    # BUILD,ROW, then the columns of Google Benchmark: name, iterations, real, cpu, unit, five more, and
    # the counters in the order of their names
    {
        key = $1 SUBSEP $2
        if (!($2 in seen)) { seen[$2] = 1; rows[++count] = $2 }
        if (!(key in time) || $6 < time[key]) time[key] = $6
        if (!(key in peak) || $13 < peak[key]) peak[key] = $13
    }
    END {
        printf "%-20s %10s %10s %7s %10s %10s %7s\n", "row", "base ms", "head ms", "ratio", "base kB",
            "head kB", "ratio"
        for (i = 1; i <= count; ++i) {
            b = "base" SUBSEP rows[i]; h = "head" SUBSEP rows[i]
            if (!(time[b] > 0 && time[h] > 0 && peak[b] > 0 && peak[h] > 0)) {
                printf "%-20s NOT MEASURED\n", rows[i]; bad = 1; continue
            }
            fault = time[h] > slower * time[b] ? " SLOWER" : ""
            fault = fault (peak[h] > larger * peak[b] ? " LARGER" : "")
            if (fault != "") bad = 1
            printf "%-20s %10.3f %10.3f %7.2f %10d %10d %7.2f%s\n", rows[i], time[b], time[h],
                time[h] / time[b], peak[b], peak[h], peak[h] / peak[b], fault
        }
        exit bad || count == 0
    }'
