// Walking the boundary of the mesh: which edge comes next, a whole walk, and its sense of
// direction.
#include "kelvane/holes/edge_direction.hpp"
#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/kernel/record_words.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <algorithm>

namespace KVN {

using namespace Mesh_R;

namespace {

// Tolerances of a walk. All are as they have always been; results on real scans depend on them.

// Edges that the start is moved on at most, away from a pinch vertex. More would leave short
// boundaries without a start; none would begin walks inside of lobes.
constexpr int most_skipped = 3;
// A walk gives up after so many edges away from any marker: a share of the region's vertices, but
// never fewer than the least. Higher, and every marker beside the scan's rim walks far along it;
// lower, and a hole that a defect in the scan has widened is not walked around.
constexpr double patience_share = 0.3;
constexpr double least_patience = 20.0;
// Share of a loop's edges, more than which must run against their faces. A clean loop has all of
// them; the rest is left for edges with twisted faces. At one half, loops walked the wrong way
// round past many twisted faces would pass.
constexpr double against_share = 0.8;

// What a boundary edge must have on both ends to be taken in each of nextedge's passes.
constexpr std::uint8_t pass_marks[] = {in_region, on_ring, 0};

bool both_ends_have(const _edge* e, std::uint8_t bits) {
    return (e->start->flags & e->end->flags & bits) == bits;
}

bool free_boundary_edge(const _edge* e) {
    return e != nullptr && e->faceCount == 1 && e->status != Mesh_R::status_walked;
}

// The edge to start from at `v`: one of the region if there is one, else any free boundary edge.
_edge* start_edge(const _vert* v) {
    for (const std::uint8_t bits : {in_region, std::uint8_t{0}}) {
        for (int i = 0; i < v->edgeCount; ++i) {
            if (free_boundary_edge(v->edges[i]) && both_ends_have(v->edges[i], bits)) {
                return v->edges[i];
            }
        }
    }
    return nullptr;
}

// The vertex at which a walk along `e` against its face's winding arrives.
_vert* arrival_vertex(const _edge* e) {
    const _face* face = e->faces[0];
    const int i = position_in(face, e->start, 0);
    const int j = position_in(face, e->end, 0);
    return (i + 1) % 3 == j ? e->start : e->end;
}

void set_status(const std::vector<_edge*>& edges, std::uint16_t status) {
    for (_edge* e : edges) {
        e->status = status;
    }
}

} // namespace

_edge* RepairMarkers::nextedge(_edge* e, _vert* v) {
    if (e == nullptr || v == nullptr) {
        return nullptr;
    }
    const _vert* x = e->start == v ? e->start : e->end;
    for (const std::uint8_t bits : pass_marks) {
        for (int i = 0; i < x->edgeCount; ++i) {
            _edge* candidate = x->edges[i];
            if (free_boundary_edge(candidate) && candidate != e &&
                both_ends_have(candidate, bits)) {
                return candidate;
            }
        }
    }
    return nullptr;
}

void RepairMarkers::gethole(_vert* v, std::vector<_edge*>& out, int n) {
    if (v == nullptr) {
        return;
    }
    _edge* const first = start_edge(v);
    if (first == nullptr) {
        return;
    }
    _vert* ahead = arrival_vertex(first);
    const _vert* behind = other_end(first, ahead);

    // A walk should not begin on a pinch vertex: move the start on.
    _edge* current = first;
    if (is_pinch(behind)) {
        std::vector<_edge*> skipped;
        for (int i = 0; i < most_skipped; ++i) {
            current->status = Mesh_R::status_walked;
            skipped.push_back(current);
            current = nextedge(current, ahead);
            if (current == nullptr) {
                set_status(skipped, Mesh_R::status_normal);
                return;
            }
            const _vert* passed = ahead;
            ahead = other_end(current, ahead);
            if (!is_pinch(passed)) {
                break;
            }
        }
        set_status(skipped, Mesh_R::status_normal);
    }

    out.push_back(current);
    current->status = Mesh_R::status_walked;
    const int limit = static_cast<int>(std::max(patience_share * n, least_patience));
    int run = 0;
    notes.walk_away = 0;
    while (true) {
        const bool near_marker =
            ((current->start->flags | current->end->flags) & (in_region | on_ring)) != 0;
        run = near_marker ? 0 : run + 1;
        current = nextedge(current, ahead);
        if (current == nullptr || current == first || current->status == Mesh_R::status_walked) {
            return;
        }
        ahead = other_end(current, ahead);
        out.push_back(current);
        current->status = Mesh_R::status_walked;
        if (run >= limit) {
            notes.walk_away = run;
            return;
        }
    }
}

static int edges_against_faces(const std::vector<_edge*>& edges) {
    const int m = static_cast<int>(edges.size());
    int against = 0;
    int ia = -1;
    int ib = -1;
    for (int k = 0; k < m; ++k) {
        const _edge* e = edges[k];
        const _edge* previous = edges[k == 0 ? m - 1 : k - 1];
        const _vert* a = is_end(e, previous->start) ? previous->start : previous->end;
        const _vert* b = other_end(e, a);
        ia = position_in(e->faces[0], a, ia);
        ib = position_in(e->faces[0], b, ib);
        if ((ib + 1) % 3 == ia) {
            ++against;
        }
    }
    return against;
}

Verdict judge_direction(const std::vector<_edge*>& edges) {
    const int m = static_cast<int>(edges.size());
    const int against = edges_against_faces(edges);
    if (against > m * against_share) {
        return {};
    }
    return {Refusal::wrong_way, m > 0 ? static_cast<double>(against) / m : 0.0, against_share};
}

bool RepairMarkers::check_hole_anticlock(std::vector<_edge*>& edges) {
    return judge_direction(edges).accepted();
}

} // namespace KVN
