#!/usr/bin/env bash
# Repairs every marked scan with two builds of the command, by every method, and compares the results
# byte for byte.
#
#     scripts/same_bytes.sh COMMAND OTHER_COMMAND SCANS [OPTION...]
#
# SCANS holds a folder per scan with marked.ply and markers.csv; options go to both commands.
set -euo pipefail
[ $# -ge 3 ] || { sed -n '2,8s/^# \{0,1\}//p' "$0"; exit 2; }
one=$1 other=$2 scans=$3
shift 3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

compared=0 different=0
for folder in "$scans"/*/; do
    [ -f "$folder/marked.ply" ] || continue
    # The methods are those that the command itself names.
    for method in $("$one" repair --help | sed -n 's/.*--method[^{]*{\([^}]*\)}.*/\1/p' | tr , ' '); do
        for command in one other; do
            "${!command}" repair "$folder/marked.ply" --markers "$folder/markers.csv" \
                --output "$scratch/$command.ply" --method "$method" --quiet "$@" >/dev/null
        done
        compared=$((compared + 1))
        verdict=same
        cmp -s "$scratch/one.ply" "$scratch/other.ply" || { verdict=DIFFERENT; different=$((different + 1)); }
        printf '%-20s %-5s %s\n' "$(basename "$folder")" "$method" "$verdict"
    done
done
echo "$compared compared, $different different"
[ "$compared" -gt 0 ] && [ "$different" -eq 0 ]
