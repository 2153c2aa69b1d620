// Which of the boundaries that a marker's region touches is the marker's hole.
#include "kelvane/holes/boundary.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <algorithm>
#include <cmath>

namespace KVN {

using namespace boundary;

namespace {

// A list is small where it is both shorter around than the marker and has less than half as many
// edges as the region has vertices.
struct SizeTest {
    double marker_size;
    int region_vertices;

    bool small(const std::vector<_edge*>& edges) const {
        double perimeter = 0.0;
        for (const _edge* e : edges) {
            const double dx = static_cast<double>(e->start->pos.x) - e->end->pos.x;
            const double dy = static_cast<double>(e->start->pos.y) - e->end->pos.y;
            const double dz = static_cast<double>(e->start->pos.z) - e->end->pos.z;
            perimeter += std::sqrt(dx * dx + dy * dy + dz * dz);
        }
        return marker_size > perimeter && 0.5 * region_vertices > static_cast<double>(edges.size());
    }
};

void free_walk(std::vector<_edge*>& edges) {
    for (_edge* e : edges) {
        e->status = Mesh_R::status_normal;
    }
    edges.clear();
}

// The first loop that runs mostly along the marked rings, or null: a boundary that the region
// merely touches is not the marker's.
const std::vector<_edge*>* loop_on_ring(const std::vector<std::vector<_edge*>>& loops) {
    constexpr double ring_share = 0.8;
    for (const std::vector<_edge*>& loop : loops) {
        if (loop.size() < 3) {
            continue;
        }
        const auto touching = std::count_if(loop.begin(), loop.end(), [](const _edge* e) {
            return ((e->start->flags | e->end->flags) & on_ring) != 0;
        });
        const float share = static_cast<float>(touching) / static_cast<float>(loop.size());
        if (static_cast<double>(share) > ring_share) {
            return &loop;
        }
    }
    return nullptr;
}

// The vertices of a closed loop in walking order, beginning where the walk began.
void list_vertices(const std::vector<_edge*>& loop, const _edge* walk_start,
                   std::vector<_vert*>& border) {
    _vert* s = walk_start->start;
    if (is_end(loop[1], s)) {
        s = loop[0]->end;
    }
    border.clear();
    border.reserve(loop.size());
    for (const _edge* e : loop) {
        border.push_back(s);
        s = other_end(e, s);
    }
}

} // namespace

void RepairMarkers::findmarkhole(std::vector<_vert*>& region, std::vector<_vert*>& border) {
    constexpr std::size_t usual_walk = 2000; // edges; reserved so that normal holes do not regrow
    region.erase(std::remove_if(region.begin(), region.end(),
                                [](const _vert* v) { return v->status == Mesh_R::status_deleted; }),
                 region.end());
    if (region.empty() || currentMarker >= static_cast<int>(markers.size())) {
        return;
    }
    const int n = static_cast<int>(region.size());
    const double radius = markers[currentMarker].radius;
    // Half of the circumference, with the constant as it has always been.
    const SizeTest size_test{(radius + markerSize) * 3.14 * 0.5, n};
    std::vector<_edge*> edges;
    edges.reserve(usual_walk);
    std::vector<_edge*> scratch;
    std::vector<std::vector<_edge*>> loops;
    const _edge* walk_start = nullptr;

    for (_vert* v : region) {
        v->flags |= in_region;
    }
    // The first walk that is closed, large enough and runs the right way ends the search.
    const auto is_candidate = [&] {
        if (edges.size() < 3) {
            return false;
        }
        walk_start = edges.front();
        if (!meet(edges.front(), edges.back()) || size_test.small(edges)) {
            return false;
        }
        check_hole_split(scratch, edges, loops);
        return loops[0].size() >= 3 && !size_test.small(loops[0]) && check_hole_anticlock(loops[0]);
    };
    bool candidate = false;
    for (std::size_t i = 0; i < region.size() && !candidate; ++i) {
        if (region[i]->status == Mesh_R::status_deleted) {
            continue;
        }
        gethole(region[i], edges, n);
        candidate = is_candidate();
        if (!candidate) {
            free_walk(edges);
        }
    }
    const std::vector<_edge*>* loop = candidate ? loop_on_ring(loops) : nullptr;
    notes.border_is_chain = loop == nullptr;
    if (loop != nullptr) {
        list_vertices(*loop, walk_start, border);
    } else {
        free_walk(edges);
        border.clear();
        unclosedhole(region, border);
    }
    for (_vert* v : region) {
        v->flags &= static_cast<std::uint8_t>(~in_region);
    }
}

} // namespace KVN
