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
    note_swallowed_regions();
}

// A cut that lies within that of another marker, as that of a duplicate does, has no live vertex
// around it. It has joined the hole of the marker that took the faces there.
void RepairMarkers::note_swallowed_regions() {
    std::map<const _vert*, std::vector<int>> cut_by;
    const int regions = static_cast<int>(notes.regions.size());
    const auto hole_of = [this](int r) {
        const RegionNote& region = notes.regions[r];
        return region.hole >= 0 ? region.hole : region.joined_hole;
    };
    std::vector<int> swallowed;
    for (int r = 0; r < regions; ++r) {
        const RegionNote& region = notes.regions[r];
        const auto is_live = [](const _vert* v) { return v->status != Mesh_R::status_deleted; };
        if (region.nearest != nullptr && hole_of(r) < 0 &&
            std::none_of(region.ring.begin(), region.ring.end(), is_live)) {
            swallowed.push_back(r);
        }
    }
    if (swallowed.empty()) {
        return;
    }
    for (int r = 0; r < regions; ++r) {
        for (const _face* face : notes.regions[r].faces) {
            for (const _vert* v : face->verts) {
                cut_by[v].push_back(r);
            }
        }
    }
    // One may lie in another that lies in a third.
    for (bool changed = true; changed;) {
        changed = false;
        for (const int r : swallowed) {
            RegionNote& region = notes.regions[r];
            std::vector<const _vert*> within(region.ring.begin(), region.ring.end());
            within.push_back(region.nearest);
            for (std::size_t i = 0; i < within.size() && region.joined_hole < 0; ++i) {
                for (const int owner : cut_by[within[i]]) {
                    if (owner != r && hole_of(owner) >= 0) {
                        region.joined_hole = hole_of(owner);
                        changed = true;
                        break;
                    }
                }
            }
        }
    }
}

} // namespace KVN
