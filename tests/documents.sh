#!/usr/bin/env bash
# Runs every command that the documents show (blocks marked `sh`), page by page in an empty folder:
# documents.sh FOLDER_OF_THE_COMMAND PAGE... Their Python is run by documents.py.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# What stands for the machines that a page speaks of: an array's tasks one after the other, as Slurm
# numbers them, and GNU parallel on this machine in place of two others.
mkdir "$scratch/bin"
cat >"$scratch/bin/sbatch" <<'END'
#!/usr/bin/env bash
set -euo pipefail
series=${1#--array=}
export SLURM_ARRAY_TASK_MIN=${series%-*} SLURM_ARRAY_TASK_MAX=${series#*-} SLURM_ARRAY_TASK_STEP=1
export SLURM_MEM_PER_NODE=4000 SLURM_ARRAY_TASK_COUNT=$((SLURM_ARRAY_TASK_MAX - SLURM_ARRAY_TASK_MIN + 1))
for SLURM_ARRAY_TASK_ID in $(seq "$SLURM_ARRAY_TASK_MIN" "$SLURM_ARRAY_TASK_MAX"); do
    export SLURM_ARRAY_TASK_ID
    bash "${@:2}"
done
END
if parallel=$(command -v parallel); then
    cat >"$scratch/bin/parallel" <<END
#!/usr/bin/env bash
[ "\$1" = --sshlogin ] || exit 2
exec "$parallel" --will-cite --jobs 2 "\${@:3}"
END
else
    echo "skipped: GNU parallel is not installed"
    printf '#!/bin/sh\ncat >/dev/null\n' >"$scratch/bin/parallel"
fi
chmod +x "$scratch"/bin/*
PATH=$scratch/bin:$1:$PATH
shift
count=0
for page in "$@"; do
    name=$(basename "$page" .md)
    awk '/^```sh$/ {inside = 1; next} /^```/ {inside = 0} inside' "$page" >"$scratch/$name.sh"
    [ -s "$scratch/$name.sh" ] || continue
    mkdir "$scratch/$name"
    ln -s "$root/examples" "$scratch/$name/examples"
    (cd "$scratch/$name" && bash -euo pipefail "../$name.sh" >"../$name.log" 2>&1) || {
        echo "$page: a command failed" >&2
        cat "$scratch/$name.log" >&2
        exit 1
    }
    count=$((count + $(wc -l <"$scratch/$name.sh")))
done
[ "$count" -gt 0 ] || { echo "no command found" >&2; exit 1; }
echo "$count lines of commands ran"

# The tests that the guarantees name are there.
guarantees=$(printf '%s\n' "$@" | grep '/guarantees.md$')
grep -oE '`([A-Za-z]+/)?[A-Z][A-Za-z]+\.[A-Z][A-Za-z0-9]+`' "$guarantees" | tr -d '`' | sed 's|.*/||' | sort -u |
    while IFS=. read -r suite name; do
        grep -rqE "TEST(_P|_F)?\($suite, $name\)" "$root/tests" || { echo "no test $suite.$name" >&2; exit 1; }
    done
