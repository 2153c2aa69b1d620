#!/usr/bin/env bash
# The shared library shows the members of one class and nothing else: exported_symbols.sh LIBRARY
set -euo pipefail
symbols=$(nm -DC --defined-only "$1" | cut -d' ' -f3-)
count=$(grep -c '^KVN::RepairMarkers::' <<<"$symbols") || { echo "exports nothing"; exit 1; }
if others=$(grep -v '^KVN::RepairMarkers::' <<<"$symbols"); then
    printf 'exported besides KVN::RepairMarkers:\n%s\n' "$others"
    exit 1
fi
for member in setResolution DeleteMarkRegion DeleMK MarkerRepairprocessing deleteblocks BoundaryData \
    findmarkhole gethole nextedge check_hole_anticlock check_hole_split unclosedhole HoleNeighbor7 \
    HoleBoundaryAverLength insertpatch_new insertpatch_7 getVertexIndex setPointIndex \
    Repair_High_Resolution Repair_Low_Resolution rebuildmesh Dataconvert 'RepairMarkers' \
    '~RepairMarkers' 'operator='; do
    grep -qF "KVN::RepairMarkers::$member(" <<<"$symbols" || { echo "missing: $member"; exit 1; }
done
echo "$count symbols, all of KVN::RepairMarkers"
