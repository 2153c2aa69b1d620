#!/usr/bin/env bash
# Repairs the scans of a job list as a job array. Each task takes its share by its own number:
#
#     sbatch --array=0-7 kelvane_array.sh jobs.csv
#
# A task that was lost begins where it was: scontrol requeue JOB_TASK. Resubmit the whole array rather
# than single numbers of it; what is complete is passed over. When all have ended:
#
#     kelvane batch jobs.csv --merge
#
#SBATCH --job-name=kelvane
#SBATCH --cpus-per-task=1
#SBATCH --requeue
set -euo pipefail
memory=()
if [ -n "${SLURM_MEM_PER_NODE:-}" ]; then
    memory=(--memory "${SLURM_MEM_PER_NODE}MB")
fi
# Not every cluster binds tasks to their processors, so the number is passed on.
exec kelvane batch "$1" --threads "${SLURM_CPUS_PER_TASK:-1}" "${memory[@]}"
