#!/usr/bin/env bash
# Makes the pictures of cuts that are too small, right and too large in docs/marker-size-and-method.md, of one marker of the demo:
# scripts/size_pictures.sh FOLDER_OF_THE_COMMAND. Needs Chromium.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
command=$1/kelvane
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

"$command" demo "$scratch" >/dev/null
sed -n '1p;17p' "$scratch/markers.csv" >"$scratch/one.csv"
for size in small:0 right:1.5 large:6; do
    "$command" repair "$scratch/scan.ply" --markers "$scratch/one.csv" --output "$scratch/clean.ply" \
        --marker-size "${size#*:}" --page "$scratch/${size%:*}.html" --quiet
    rm -rf "$scratch/pictures"
    # Says that there is no other place to go to, with one marker.
    /usr/bin/python3 "$root/scripts/look.py" "$scratch/${size%:*}.html" "$scratch/pictures" >/dev/null 2>&1 || true
    cp "$scratch/pictures/stage.png" "$root/docs/images/size-${size%:*}.png"
done
