// Which hole a cut without one of its own has joined.
#include "kelvane/repair/repair_markers.hpp"

#include <algorithm>

namespace KVN {

namespace {

bool is_live(const _vert* v) {
    return v->status != Mesh_R::status_deleted;
}

int hole_of(const RegionNote& region) {
    return region.hole >= 0 ? region.hole : region.joined_hole;
}

// Per vertex, the regions that cut out faces there.
std::map<const _vert*, std::vector<int>> cuts_at(const std::vector<RegionNote>& regions) {
    std::map<const _vert*, std::vector<int>> cuts;
    for (std::size_t r = 0; r < regions.size(); ++r) {
        for (const _face* face : regions[r].faces) {
            for (const _vert* v : face->verts) {
                cuts[v].push_back(static_cast<int>(r));
            }
        }
    }
    return cuts;
}

// The hole of a region, other than `r` itself, that cut out faces at the vertices of region `r`; -1
// if none of them has a hole yet.
int hole_around(int r, const std::vector<RegionNote>& regions,
                const std::map<const _vert*, std::vector<int>>& cuts) {
    std::vector<const _vert*> within(regions[r].ring.begin(), regions[r].ring.end());
    within.push_back(regions[r].nearest);
    for (const _vert* v : within) {
        const auto owners = cuts.find(v);
        if (owners == cuts.end()) {
            continue;
        }
        for (const int owner : owners->second) {
            if (owner != r && hole_of(regions[owner]) >= 0) {
                return hole_of(regions[owner]);
            }
        }
    }
    return -1;
}

} // namespace

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
            if (is_live(v)) {
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
    std::vector<RegionNote>& regions = notes.regions;
    std::vector<int> swallowed;
    for (std::size_t r = 0; r < regions.size(); ++r) {
        if (regions[r].nearest != nullptr && hole_of(regions[r]) < 0 &&
            std::none_of(regions[r].ring.begin(), regions[r].ring.end(), is_live)) {
            swallowed.push_back(static_cast<int>(r));
        }
    }
    if (swallowed.empty()) {
        return;
    }
    const auto cuts = cuts_at(regions);
    for (bool changed = true; changed;) { // one may lie in another that lies in a third
        changed = false;
        for (const int r : swallowed) {
            if (regions[r].joined_hole < 0) {
                regions[r].joined_hole = hole_around(r, regions, cuts);
                changed = changed || regions[r].joined_hole >= 0;
            }
        }
    }
}

} // namespace KVN
