// From the regions around the cuts to the per-hole lists.
#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/repair/repair_markers.hpp"

namespace KVN {

void RepairMarkers::BoundaryData() {
    const int regions = static_cast<int>(markRegions.size());
    holeBorders.reserve(regions);
    holeFaces.reserve(regions);
    holeFaceNormals.reserve(regions);
    holeBoundaryCount.reserve(regions);
    notes.regions.resize(regions);

    std::vector<_vert*> border;
    std::vector<MyPoint3> points;
    std::vector<MyFace> faces;
    std::vector<MyPoint3> normals;
    std::map<int, int> vertexMap;
    int boundaryCount = 0;
    for (int i = 0; i < regions; ++i) {
        currentMarker = i;
        border.clear();
        notes.regions[i].ring = markRegions[i]; // may be written over
        notes.trace.walks.clear();
        findmarkhole(markRegions[i], border);
        notes.regions[i].trace = notes.trace;
        if (border.size() < 3) {
            continue;
        }
        HoleNeighbor7(border, points, faces, normals, vertexMap, boundaryCount);
        holeBorders.push_back(border);
        holePoints.push_back(points);
        holeFaces.push_back(faces);
        holeFaceNormals.push_back(normals);
        holeBoundaryCount.push_back(boundaryCount);
        notes.regions[i].hole = static_cast<int>(holeBorders.size()) - 1;
        notes.holes.push_back({i, notes.border_is_chain, boundaryCount});
        // Kept borders move to the front. A second run counts the holes of the first as well and
        // has no entry for them.
        const std::size_t kept = holePoints.size();
        if (kept <= markRegions.size()) {
            markRegions[kept - 1] = border;
        }
    }
    note_joined_holes();
    // Only now: a walk may have to follow a neighbouring marker's ring.
    for (const std::vector<_vert*>& region : markRegions) {
        for (_vert* v : region) {
            Mesh_R::clear_mark(v, Mesh_R::on_ring);
        }
    }
}

} // namespace KVN
