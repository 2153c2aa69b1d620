// Which of the boundaries that a marker's region touches is the marker's hole.
#include "kelvane/holes/edge_direction.hpp"
#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/kernel/record_words.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <algorithm>
#include <cmath>

namespace KVN {

using namespace Mesh_R;

namespace {

// Tolerances of the search for a loop. All are as they have always been.

// Share of a loop's edges, more than which must touch a ring vertex of any marker. Lower, and the
// outline of a small scan or a hole of the scan's own beside the marker is taken for the marker's;
// higher, and holes that run a little beyond the cut are lost. Compared as a single-precision
// quotient.
constexpr double ring_share = 0.8;
// With which half of the cut's circumference is reckoned. A loop shorter around than that is small
// if it is also short of edges (below).
constexpr double about_pi = 3.14;
// Share of the region's vertices, fewer edges than which make a short loop small. Lower, and specks
// that the cut leaves are taken for the hole; higher, and finely cut holes are refused.
constexpr double edge_share = 0.5;
constexpr std::size_t usual_walk = 2000; // edges; reserved so that normal holes do not regrow

// A list is small where it is both shorter around than the marker and has less than half as many
// edges as the region has vertices.
struct SizeTest {
    double marker_size;
    int region_vertices;

    static double perimeter(const std::vector<_edge*>& edges) {
        double sum = 0.0;
        for (const _edge* e : edges) {
            const double dx = static_cast<double>(e->start->pos.x) - e->end->pos.x;
            const double dy = static_cast<double>(e->start->pos.y) - e->end->pos.y;
            const double dz = static_cast<double>(e->start->pos.z) - e->end->pos.z;
            sum += std::sqrt(dx * dx + dy * dy + dz * dz);
        }
        return sum;
    }

    Verdict judge(const std::vector<_edge*>& edges, Refusal when_small) const {
        const double around = perimeter(edges);
        if (marker_size > around &&
            edge_share * region_vertices > static_cast<double>(edges.size())) {
            return {when_small, around, marker_size};
        }
        return {};
    }
};

void free_walk(std::vector<_edge*>& edges) {
    for (_edge* e : edges) {
        e->status = status_normal;
    }
    edges.clear();
}

// A boundary that the region merely touches is not the marker's: a loop has to run mostly along the
// marked rings.
Verdict judge_ring(const std::vector<_edge*>& loop) {
    const auto touching = std::count_if(loop.begin(), loop.end(), [](const _edge* e) {
        return ((e->start->flags | e->end->flags) & on_ring) != 0;
    });
    const float share = static_cast<float>(touching) / static_cast<float>(loop.size());
    if (static_cast<double>(share) > ring_share) {
        return {};
    }
    return {Refusal::off_ring, static_cast<double>(share), ring_share};
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
    region.erase(std::remove_if(region.begin(), region.end(),
                                [](const _vert* v) { return v->status == status_deleted; }),
                 region.end());
    if (region.empty() || currentMarker >= static_cast<int>(markers.size())) {
        notes.trace.add({Refusal::dead_region}, {}, false);
        return;
    }
    for (_vert* v : region) {
        set_mark(v, in_region);
    }
    std::vector<_edge*> edges;
    edges.reserve(usual_walk);
    std::vector<std::vector<_edge*>> loops;
    const _edge* walk_start = nullptr;
    const bool candidate = find_candidate(region, edges, loops, walk_start);
    // The split leaves one loop. Failing this test is no reason to try further walks.
    const Verdict on_the_ring = candidate ? judge_ring(loops[0]) : Verdict{Refusal::no_free_edge};
    if (candidate) {
        notes.trace.add(on_the_ring, edges, false);
    }
    notes.border_is_chain = !on_the_ring.accepted();
    if (on_the_ring.accepted()) {
        list_vertices(loops[0], walk_start, border);
    } else {
        free_walk(edges);
        border.clear();
        unclosedhole(region, border);
    }
    for (_vert* v : region) {
        clear_mark(v, in_region);
    }
}

// Walks from the region's vertices until a walk is closed, large enough and runs the right way;
// `edges` then holds it, and `loops` what is left of it without lobes.
bool RepairMarkers::find_candidate(const std::vector<_vert*>& region, std::vector<_edge*>& edges,
                                   std::vector<std::vector<_edge*>>& loops,
                                   const _edge*& walk_start) {
    const int n = static_cast<int>(region.size());
    const double radius = markers[currentMarker].radius;
    const SizeTest size_test{(radius + markerSize) * about_pi * 0.5, n};
    std::vector<_edge*> scratch;
    const auto judge = [&]() -> Verdict {
        if (edges.size() < 3) {
            const auto count = static_cast<double>(edges.size());
            return {edges.empty() ? Refusal::no_free_edge : Refusal::too_short, count, 3.0};
        }
        walk_start = edges.front();
        if (!meet(edges.front(), edges.back())) {
            const auto away = static_cast<double>(notes.walk_away);
            return {away > 0 ? Refusal::patience_spent : Refusal::walk_open, away, away};
        }
        if (const Verdict size = size_test.judge(edges, Refusal::too_small); !size.accepted()) {
            return size;
        }
        check_hole_split(scratch, edges, loops);
        if (loops[0].size() < 3) {
            return {Refusal::too_short_split, static_cast<double>(loops[0].size()), 3.0};
        }
        const Verdict size = size_test.judge(loops[0], Refusal::too_small_split);
        return size.accepted() ? judge_direction(loops[0]) : size;
    };
    for (_vert* v : region) {
        if (v->status == status_deleted) {
            continue;
        }
        gethole(v, edges, n);
        const Verdict verdict = judge();
        if (verdict.accepted()) {
            return true;
        }
        notes.trace.add(verdict, edges, false);
        free_walk(edges);
    }
    return false;
}

} // namespace KVN
