// From the regions around the cuts to the per-hole lists.
#include "kelvane/holes/boundary.hpp"
#include "kelvane/repair/repair_markers.hpp"

namespace KVN {

void RepairMarkers::BoundaryData() {
    const int regions = static_cast<int>(markRegions.size());
    holeBorders.reserve(regions);
    holeFaces.reserve(regions);
    holeFaceNormals.reserve(regions);
    holeBoundaryCount.reserve(regions);

    std::vector<_vert*> border;
    std::vector<MyPoint3> points;
    std::vector<MyFace> faces;
    std::vector<MyPoint3> normals;
    std::map<int, int> vertexMap;
    int boundaryCount = 0;
    std::vector<int> without_hole;
    std::vector<std::vector<_vert*>> their_vertices; // markRegions may be written over
    for (int i = 0; i < regions; ++i) {
        currentMarker = i;
        border.clear();
        findmarkhole(markRegions[i], border);
        if (border.size() < 3) {
            without_hole.push_back(i);
            their_vertices.push_back(markRegions[i]);
            continue;
        }
        HoleNeighbor7(border, points, faces, normals, vertexMap, boundaryCount);
        holeBorders.push_back(border);
        holePoints.push_back(points);
        holeFaces.push_back(faces);
        holeFaceNormals.push_back(normals);
        holeBoundaryCount.push_back(boundaryCount);
        holeMarkers.push_back(i);
        holeIsChain.push_back(
            mesh->vertices.find_edge(border.back(), border.front()) == nullptr ? 1 : 0);
        // Kept borders move to the front. A second run counts the holes of the first as well and
        // has no entry for them.
        const std::size_t kept = holePoints.size();
        if (kept <= markRegions.size()) {
            markRegions[kept - 1] = border;
        }
    }
    note_shared_holes(without_hole, their_vertices);
    // Only now: a walk may have to follow a neighbouring marker's ring.
    for (const std::vector<_vert*>& region : markRegions) {
        for (_vert* v : region) {
            v->flags &= static_cast<std::uint8_t>(~boundary::on_ring);
        }
    }
}

// For the report: overlapping markers leave one hole, which belongs to the first of them. A region
// has joined the hole on whose border one of its vertices lies.
void RepairMarkers::note_shared_holes(const std::vector<int>& without_hole,
                                      const std::vector<std::vector<_vert*>>& their_vertices) {
    sharedHoles.assign(markRegions.size(), -1);
    if (without_hole.empty()) {
        return;
    }
    std::map<const _vert*, int> on_border;
    for (std::size_t hole = 0; hole < holeBorders.size(); ++hole) {
        for (const _vert* v : holeBorders[hole]) {
            on_border.emplace(v, static_cast<int>(hole));
        }
    }
    for (std::size_t k = 0; k < without_hole.size(); ++k) {
        for (const _vert* v : their_vertices[k]) {
            const auto found = on_border.find(v);
            if (found != on_border.end()) {
                sharedHoles[without_hole[k]] = found->second;
                break;
            }
        }
    }
}

} // namespace KVN
