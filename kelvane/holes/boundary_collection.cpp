// From the regions around the cuts to the per-hole lists.
#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <algorithm>

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

// Markers whose cuts run together leave one hole, which belongs to the first of them. A region
// without a hole has joined the one that holds the most of its live vertices, if that is at least
// half of them: a few may come from two markers that merely touch.
void RepairMarkers::note_joined_holes() {
    std::map<const _vert*, int> hole_at;
    for (std::size_t hole = 0; hole < holeBorders.size(); ++hole) {
        for (const _vert* v : holeBorders[hole]) {
            hole_at.emplace(v, static_cast<int>(hole));
        }
    }
    std::vector<int> shared(holeBorders.size());
    for (RegionNote& region : notes.regions) {
        if (region.hole >= 0 || region.ring.empty() || hole_at.empty()) {
            continue;
        }
        std::fill(shared.begin(), shared.end(), 0);
        int live = 0;
        for (const _vert* v : region.ring) {
            if (v->status != Mesh_R::status_deleted) {
                ++live;
                const auto found = hole_at.find(v);
                if (found != hole_at.end()) {
                    ++shared[found->second];
                }
            }
        }
        const auto most = std::max_element(shared.begin(), shared.end());
        if (live > 0 && 2 * *most >= live) {
            region.joined_hole = static_cast<int>(most - shared.begin());
        }
    }
}

} // namespace KVN
