#!/usr/bin/env bash
# Runs the command where the system fails it, and looks at what it leaves: one line that says why, the
# right exit status, the old output to the byte, and no temporary file.
#
#     scripts/faults.sh [--short] [COMMAND]       COMMAND: build/release/apps/kelvane/kelvane
#
# --short is the share of the test run, some 20 seconds. Cases that want a small file system of their
# own or another user are left out, and counted so, where this user may not have them.
set -uo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
short=no
[ "${1:-}" = --short ] && { short=yes; shift; }
command=$(realpath "${1:-$root/build/release/apps/kelvane/kelvane}") || exit 2
scratch=$(mktemp -d)
trap 'umount "$scratch/small" 2>/dev/null; rm -rf "$scratch"' EXIT
cd "$scratch" || exit 2

cases=0 failed=0 left_out=0 refused=0 finished=0 ended=0
fail() { failed=$((failed + 1)); echo "FAILED $*: status $status, '$(head -c 300 err)'"; }
left_out() { left_out=$((left_out + 1)); echo "left out: $*"; }

# The state before each case: an old output whose bytes are known, in a folder of its own.
fresh() { rm -rf out; mkdir out; cp old out/scan.ply; }
is_old() { cmp -s out/scan.ply old; }
is_whole() { cmp -s out/scan.ply "good-$method.ply"; }
is_clean() { [ "$(find "${1:-out}" -mindepth 1 | wc -l)" -eq "${2:-1}" ]; }
has_one_line() { [ "$(grep -c '^kelvane: ' err)" -eq 1 ] && [ "$(wc -l <err)" -eq 1 ]; }

# repair [OPTION...]: the run that all cases disturb; `run_in` may put another program in front.
run_in=()
repair() {
    cases=$((cases + 1))
    "${run_in[@]}" "$command" repair scan.ply --markers markers.csv --method "$method" --output \
        "${output:-out/scan.ply}" --quiet "$@" >stdout 2>err
    status=$?
}

# at_output SIGNAL: a run in the background that is met as soon as its temporary file stands.
at_output() {
    cases=$((cases + 1))
    "$command" repair scan.ply --markers markers.csv --method "$method" --output out/scan.ply --quiet \
        >stdout 2>err &
    until compgen -G 'out/.kelvane-*' >/dev/null || ! kill -0 $! 2>/dev/null; do :; done
    sleep "${2:-0}"
    kill -s "$1" $! 2>/dev/null
    wait $! 2>/dev/null
    status=$?
}

# expect STATUS NAME [WORDS]: refused with that status, one line with these words, nothing touched.
expect() {
    if [ "$status" -eq "$1" ] && has_one_line && grep -q "${3:-}" err && is_old && is_clean; then
        refused=$((refused + 1))
    else
        fail "$2"
    fi
}

# expect_either NAME: repaired in full, or refused with status 3.
expect_either() {
    if [ "$status" -eq 0 ] && is_whole && is_clean; then
        finished=$((finished + 1))
    else
        expect 3 "$1"
    fi
}

# expect_end NAME: ended by a signal, before the new output was put in place or just after, or finished.
expect_end() {
    if is_clean && { [ "$status" -eq 0 ] && is_whole; }; then
        finished=$((finished + 1))
    elif [ "$status" -gt 128 ] && { is_old || is_whole; } && is_clean && [ "$(wc -l <err)" -le 1 ]; then
        ended=$((ended + 1)) # before its handlers stand, it says nothing
    else
        fail "$1"
    fi
}

full_disk() {
    fresh
    ln -s /dev/full full.ply
    output=full.ply repair
    expect 3 "device that is full" "full.ply: cannot be written: No space"
    [ -c /dev/full ] || fail "the device is gone"
    rm full.ply
    mkdir -p small
    if mount -t tmpfs -o size=1m none small 2>/dev/null; then
        head -c 1000000 /dev/zero >small/other
        cp old small/scan.ply
        output=small/scan.ply repair
        if [ "$status" -eq 3 ] && cmp -s small/scan.ply old && is_clean small 2 &&
            has_one_line; then
            refused=$((refused + 1))
        else
            fail "disk that is full"
        fi
        umount small
    else
        left_out "a small file system"
    fi
}

folders() {
    fresh
    output=missing/scan.ply repair
    expect 3 "folder that is not there" "missing/scan.ply: cannot be written: No such file"
    if [ "$(id -u)" -ne 0 ]; then
        chmod a-w out
        repair
        chmod u+w out
        expect 3 "folder that is read-only" "Permission denied"
    elif mount --bind out out 2>/dev/null && mount -o remount,ro,bind out 2>/dev/null; then
        repair
        expect 3 "folder that is read-only" "Read-only"
        umount out
    else
        umount out 2>/dev/null
        left_out "a folder that is read-only"
    fi
    # A folder that goes while the run is under way.
    fresh
    for delay in $delays; do
        mkdir -p gone
        (sleep "$delay"; rm -rf gone) &
        output=gone/scan.ply repair
        wait $!
        if [ "$status" -eq 0 ]; then
            finished=$((finished + 1))
        elif [ "$status" -eq 3 ] && has_one_line; then
            refused=$((refused + 1))
        else
            fail "folder gone after $delay s"
        fi
    done
    rm -rf gone
}

pipes() {
    fresh
    mkfifo pipe.ply
    cat scan.ply >pipe.ply &
    cases=$((cases + 1))
    "$command" repair pipe.ply --markers <(cat markers.csv) --output out/scan.ply --method "$method" \
        --quiet 2>err
    status=$?
    if [ "$status" -eq 0 ] && is_whole && [ -p pipe.ply ]; then finished=$((finished + 1)); else fail pipe; fi
    wait
    rm pipe.ply
}

# Nobody listens, or the stream is closed: the file is written all the same.
streams() {
    for how in '2>&-' '>&-' '>&- 2>&-' '<&- >&- 2>&-' '2> >(true)' '> >(true)' '2>/dev/full' '>/dev/full'; do
        fresh
        cases=$((cases + 1))
        eval "'$command' repair scan.ply --markers markers.csv --method $method --output out/scan.ply" \
            "1>/dev/null 2>err $how"
        status=$?
        if { [ "$status" -eq 0 ] || [ "$status" -eq 3 ]; } && is_whole && is_clean; then
            finished=$((finished + 1))
        else
            fail "stream $how"
        fi
    done
}

# Signals at growing delays meet every stage; the small steps at the end meet the output.
signals() {
    for name in TERM INT HUP; do
        for delay in $delays; do
            fresh
            run_in=(timeout --preserve-status -s "$name" "$delay")
            repair
            run_in=()
            expect_end "$name after $delay s"
        done
    done
    for name in TERM HUP; do
        for _ in $rounds; do
            fresh
            at_output "$name"
            expect_end "$name at the output"
        done
    done
}

# What a killed process leaves goes with the next run.
kills() {
    local left=0
    for delay in $delays; do
        fresh
        run_in=(timeout -s KILL "$delay")
        repair 2>/dev/null
        run_in=()
        if is_old || is_whole; then ended=$((ended + 1)); else fail "KILL after $delay s"; fi
    done
    for _ in $rounds; do
        fresh
        at_output KILL
        if is_old || is_whole; then ended=$((ended + 1)); else fail "KILL at the output"; fi
        is_clean || left=$((left + 1))
        repair
        if [ "$status" -eq 0 ] && is_whole && is_clean; then
            finished=$((finished + 1))
        else
            fail "run after one that was killed"
        fi
    done
    fresh
    echo half >out/.kelvane-99999999-0
    repair
    if [ "$status" -eq 0 ] && is_whole && is_clean; then finished=$((finished + 1)); else fail leftovers; fi
    echo "killed runs that left a file: $left"
}

memory() {
    for limit in $limits; do
        fresh
        # shellcheck disable=SC2016
        run_in=(bash -c 'ulimit -v "$0"; exec "$@"' "$limit")
        repair
        run_in=()
        # Below what the loader wants, the command does not begin.
        if [ "$status" -eq 127 ] && is_old && is_clean; then
            refused=$((refused + 1))
        else
            expect_either "$limit kB of memory"
        fi
    done
}

threads() {
    fresh
    repair --threads 100000
    expect_either "100000 threads"
    fresh
    run_in=(env OMP_NUM_THREADS=100000)
    repair
    expect_either "100000 threads by the environment"
    if [ "$(id -u)" -eq 0 ] && command -v setpriv >/dev/null; then
        fresh
        chmod 755 . && chown 61234 out out/scan.ply
        touch stdout err
        run_in=(setpriv --reuid 61234 --clear-groups bash -c 'ulimit -u 1; exec "$@"' -)
        OMP_NUM_THREADS=2 repair --threads 2
        run_in=()
        expect_either "no second thread"
    fi
    run_in=()
}

# The input loses its end between two reads.
shortened() {
    cp scan.ply whole.ply
    for delay in $delays; do
        fresh
        cp whole.ply scan.ply
        (sleep "$delay"; truncate -s 60% scan.ply 2>/dev/null || truncate -s 200000 scan.ply) &
        repair
        wait $!
        if [ "$status" -eq 0 ] && is_whole && is_clean; then
            finished=$((finished + 1))
        else
            expect 2 "shortened after $delay s" "scan.ply: "
        fi
    done
    cp whole.ply scan.ply
}

echo old >old
"$command" demo . --seed 5 >/dev/null || exit 2
fresh
methods="fast high low"
for method in $methods; do
    repair
    cp out/scan.ply "good-$method.ply"
    [ "$status" -eq 0 ] || fail "the undisturbed run"
done
cases=0
# Delays over the time of a run and its start, in seconds; limits from where the loader ends, in kB.
method=fast
started=$(date +%s%N)
fresh
repair
took=$(($(date +%s%N) - started))
cases=0
if [ $short = yes ]; then
    methods=fast steps=4 rounds=1
    limits="5000 26000 34000 42000 100000"
else
    steps=24 rounds=$(seq 10)
    limits="$(seq 4000 4000 24000) $(seq 24000 1000 70000) $(seq 75000 5000 300000)"
fi
delays=$(awk -v took=$took -v steps=$steps 'BEGIN { for (i = 1; i <= steps; ++i) printf "%.4f ", 1.1e-9 * took * i / steps }')
for method in $methods; do
    for group in full_disk folders pipes streams signals kills memory threads shortened; do
        $group
    done
done
echo "$cases faults: $refused refused, $ended ended by a signal, $finished finished, $left_out left out, $failed failed"
[ $failed -eq 0 ]
