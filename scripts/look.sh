#!/usr/bin/env bash
# Repairs the demo's raised markers and looks at the page of it in headless Chromium: desktop and telephone, light and dark, a
# view turned by mouse and by fingers, no WebGL. Fails on an error on the console, a request that leaves the page, a drag that
# changes nothing. Without Chromium it says so and ends with 77, which ctest counts as skipped.
#
#     scripts/look.sh FOLDER_OF_THE_COMMAND [PICTURES]    the pictures are kept where a folder is named for them
#
# The picture in the README is made so:
#
#     scripts/look.sh build/dev/apps/kelvane build/look && cp build/look/stage.png docs/images/before-after.png
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
command=$1/kelvane
command -v chromium >/dev/null || { echo "skipped: chromium is not installed" >&2; exit 77; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

"$command" demo "$scratch" --bodies
"$command" repair "$scratch/scan.ply" --markers "$scratch/markers.csv" --output "$scratch/clean.ply" \
    --page "$scratch/repair.html" --quiet
timeout 300 /usr/bin/python3 "$root/scripts/look.py" "$scratch/repair.html" "${2:-"$scratch/pictures"}"
