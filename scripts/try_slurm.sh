#!/usr/bin/env bash
# Tries batches under Slurm: 40 scans in 8 array tasks on a cluster of one node, of which one task is
# killed in the middle and requeued; the outputs must be those of a local run, byte for byte.
# Installs Slurm if it is missing; needs root.
#
#     scripts/try_slurm.sh [KELVANE]           the command; default: build/test's
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
kelvane=$(realpath "${1:-"$root/build/test/apps/kelvane/kelvane"}")
# shellcheck source=scripts/packages.sh
source "$root/scripts/packages.sh"
install_missing_packages slurm-wlm munge

scratch=$(mktemp -d)
chmod 755 "$scratch" # the socket of munge must be within reach of all
cluster=$scratch/cluster
trap '"$root/scripts/one_node_slurm.sh" stop "$cluster"; rm -rf "$scratch"' EXIT
PATH=$(dirname "$kelvane"):$PATH
cd "$scratch"

echo "== 5 scans, 40 jobs"
for seed in 1 2 3 4 5; do kelvane demo "scans/$seed" --seed "$seed" >/dev/null; done
list() { # list FOLDER: jobs with outputs in that folder
    local i methods=(fast high)
    mkdir -p "$1"
    echo "scan,markers,output,method,marker-size"
    for i in {0..39}; do
        echo "scans/$((i % 5 + 1))/scan.ply,scans/$((i % 5 + 1))/markers.csv,$1/$i.ply,${methods[i % 2]},0.$((5 + i / 10))"
    done
}
list local >local.csv
list array >array.csv

echo "== local run"
kelvane batch local.csv --quiet
sha256sum local/*.ply | sort | uniq -w 64 | wc -l | sed 's/$/ different files/'

echo "== array of 8 tasks"
"$root/scripts/one_node_slurm.sh" start "$cluster"
export SLURM_CONF=$cluster/slurm.conf
job=$(sbatch --parsable --array=0-7 --output="$scratch/task-%a.log" --open-mode=append \
    "$root/examples/slurm/kelvane_array.sh" array.csv)
until [ -e array/3.ply ]; do sleep 0.02; done # the first of the five jobs of task 3
scancel --signal=KILL --full "${job}_3"
for _ in {1..100}; do
    state=$(scontrol show job "${job}_3" -o | grep -o 'JobState=[A-Z]*')
    [[ $state == *RUNNING || $state == *COMPLETING ]] || break
    sleep 0.1
done
unfinished=$(find array -name '.kelvane-*' | wc -l)
echo "task 3 killed: $state, $(find array -name '*.ply' | wc -l) of 40 outputs, $unfinished unfinished"
kelvane batch array.csv --merge --quiet 2>&1 | tail -n 1 || true

scontrol requeue "${job}_3"
while [ -n "$(squeue -h -j "$job")" ]; do
    # Slurm holds a requeued task for two minutes, from when it sees fit.
    scontrol update JobId="${job}_3" StartTime=now 2>/dev/null || true
    sleep 0.5
done
cat task-3.log

echo "== compared"
kelvane batch array.csv --merge
for i in {0..39}; do cmp "local/$i.ply" "array/$i.ply"; done
[ "$(find array -type f | wc -l)" -eq 40 ] || { echo "files are left over" >&2; exit 1; }
echo "40 of 40 outputs are the same, byte for byte"
