// The border of a marker that sits on the open rim of the scan: an open chain.
#include "kelvane/holes/edge_direction.hpp"
#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/kernel/record_words.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <algorithm>
#include <cmath>

namespace KVN {

using namespace Mesh_R;

namespace {

// Tolerances of an open chain. All are as they have always been.

// Edges of a walk, as a share of the region's vertices, and what must be left of them once lobes
// have been cut out. Lower, and the rim of a scrap beside the marker is taken; higher, and markers
// of which little is on the scan are lost.
constexpr double walk_share = 0.7;
constexpr double remainder_share = 0.5;
// Vertices of a chain, as a share of the region's, with which it needs no arc test: it follows
// nearly all of the cut. Markers cut by the rim through their middle have about this share.
constexpr double chain_share = 0.8;
// Vertices; a chain of so few says nothing by its arc.
constexpr std::size_t short_chain = 5;
// Radians that a chain must span around the marker's centre, 150 degrees. Smaller, and a marker
// that only touches the rim gets a chord across the scan's outline.
constexpr double least_arc = 2.6179938779914944;
// Radians by which the way over the chain's middle must be longer than the straight angle for the
// arc to count as more than half a turn; below, it is the noise of the border.
constexpr double long_way_excess = 0.5;
constexpr double full_circle = 6.283185307179586;
// Edges; the longest walk, if longer than this, gets the final say: so much rim around one marker
// means that the seeds stood inside of its stretch.
constexpr std::size_t long_walk = 100;

// The angle at `c` between the directions to `p` and `q`, 0 to pi: differences in single precision,
// the rest in double.
double angle_at(const MemS::Point3v<float>& p, const MemS::Point3v<float>& c,
                const MemS::Point3v<float>& q) {
    const double ux = p.x - c.x, uy = p.y - c.y, uz = p.z - c.z;
    const double wx = q.x - c.x, wy = q.y - c.y, wz = q.z - c.z;
    const double cx = uy * wz - uz * wy;
    const double cy = uz * wx - ux * wz;
    const double cz = ux * wy - uy * wx;
    return std::atan2(std::sqrt(cx * cx + cy * cy + cz * cz), ux * wx + uy * wy + uz * wz);
}

// The angle that the chain spans around the centre, the long way counted as such.
double spanned_angle(const std::vector<_vert*>& chain, const MemS::Point3v<float>& centre) {
    const MemS::Point3v<float>& first = chain.front()->pos;
    const MemS::Point3v<float>& last = chain.back()->pos;
    const MemS::Point3v<float>& middle = chain[(chain.size() - 1) / 2]->pos;
    const double a = angle_at(first, centre, last);
    const double s = angle_at(first, centre, middle) + angle_at(middle, centre, last);
    return s > a && s - a > long_way_excess ? full_circle - a : a;
}

Verdict judge_chain(const std::vector<_vert*>& chain, int n, const MemS::Point3v<float>& centre) {
    const auto size = static_cast<double>(chain.size());
    if (chain.empty()) {
        return {Refusal::no_region_vertex};
    }
    if (size >= chain_share * n) {
        return {};
    }
    if (chain.size() <= short_chain) {
        return {Refusal::chain_size, size, static_cast<double>(short_chain)};
    }
    const double arc = spanned_angle(chain, centre);
    if (!(least_arc > arc)) {
        return {};
    }
    constexpr double degrees = 360.0 / full_circle;
    return {Refusal::arc, arc * degrees, least_arc * degrees};
}

// Whether a walk has edges enough for the region's n vertices.
Verdict judge_share(std::size_t edges, double share, int n, Refusal when_few) {
    const auto count = static_cast<double>(edges);
    if (edges >= 3 && !(share * n > count)) {
        return {};
    }
    return {when_few, count, std::max(3.0, share * n)};
}

// The vertices at which the boundary leaves the marked ring, each marked as a seed; a vertex whose
// boundary edges both leave it stands here twice.
std::vector<_vert*> collect_seeds(const std::vector<_vert*>& region) {
    std::vector<_vert*> seeds;
    for (_vert* v : region) {
        if (v->status == Mesh_R::status_deleted || boundary_edge_count(v) != 2) {
            continue;
        }
        for (int i = 0; i < v->edgeCount; ++i) {
            const _edge* e = v->edges[i];
            if (e->faceCount == 1 && (e->start->flags & e->end->flags & on_ring) == 0) {
                seeds.push_back(v);
            }
        }
    }
    for (_vert* v : seeds) {
        set_mark(v, is_seed);
    }
    return seeds;
}

// What is carried from one seed to the next, within one region.
struct SeedState {
    _edge* edge = nullptr; // last region edge found at a seed
    int position = -1;     // of the seed and of the edge's other end, in the edge's face
    int other_position = -1;
    int last_seed = -1; // places in the last chain built
    int last_region = -1;
};

// True if a walk from `seed` along its region edge runs against the face's winding: the end of the
// marker's stretch at which an anticlockwise walk comes in.
bool enters_here(const _vert* seed, SeedState& state) {
    for (int i = 0; i < seed->edgeCount; ++i) {
        _edge* e = seed->edges[i];
        if (e->faceCount == 1 && (e->start->flags & e->end->flags & in_region) != 0) {
            state.edge = e;
            break;
        }
    }
    if (state.edge == nullptr) {
        return false;
    }
    const _face* face = state.edge->faces[0];
    state.position = position_in(face, seed, state.position);
    state.other_position = position_in(face, other_end(state.edge, seed), state.other_position);
    return state.position != -1 && state.other_position != -1 &&
           (state.other_position + 1) % 3 == state.position;
}

// Lists the vertices along `edges` up to the last region vertex (or, without one, the last seed),
// and frees the edges beyond it: they are the scan's rim. Empty where there is neither.
void build_chain(const std::vector<_edge*>& edges, SeedState& state, std::vector<_vert*>& border) {
    border.clear();
    const int m = static_cast<int>(edges.size());
    border.reserve(m);
    _vert* s = edges[0]->start;
    if (m > 1 && is_end(edges[1], s)) {
        s = edges[0]->end;
    }
    for (int k = 0; k < m; ++k) {
        if ((s->flags & is_seed) != 0) {
            state.last_seed = k;
        }
        if ((s->flags & in_region) != 0) {
            state.last_region = k;
        }
        border.push_back(s);
        s = other_end(edges[k], s);
    }
    const int cut = state.last_region > 0 ? state.last_region : state.last_seed;
    if (cut <= 0) {
        border.clear();
        return;
    }
    // Both places outlive the list that they were found in, so the cut may lie beyond a shorter
    // one.
    for (int k = cut; k < m; ++k) {
        edges[k]->status = Mesh_R::status_normal;
    }
    border.resize(std::min(cut + 1, m));
}

void free_edges(const std::vector<_edge*>& edges) {
    for (_edge* e : edges) {
        e->status = Mesh_R::status_normal;
    }
}

} // namespace

void RepairMarkers::unclosedhole(std::vector<_vert*>& region, std::vector<_vert*>& border) {
    if (region.empty() || currentMarker >= static_cast<int>(markers.size())) {
        return;
    }
    const int n = static_cast<int>(region.size());
    const Marker& marker = markers[currentMarker];
    const MemS::Point3v<float> centre(marker.x, marker.y, marker.z);
    SeedState state;
    std::vector<_edge*> walk;
    std::vector<_edge*> best;
    std::vector<_edge*> scratch;
    std::vector<std::vector<_edge*>> loops;
    const auto judge = [&]() -> Verdict {
        const Verdict enough = judge_share(walk.size(), walk_share, n, Refusal::walk_share);
        if (!enough.accepted()) {
            return enough;
        }
        check_hole_split(scratch, walk, loops);
        const Verdict left =
            judge_share(loops[0].size(), remainder_share, n, Refusal::remainder_share);
        if (!left.accepted()) {
            return left;
        }
        const Verdict direction = judge_direction(loops[0]);
        if (!direction.accepted()) {
            return direction;
        }
        build_chain(loops[0], state, border);
        return judge_chain(border, n, centre);
    };

    const std::vector<_vert*> seeds = collect_seeds(region);
    if (seeds.empty()) {
        notes.trace.add({Refusal::no_seed}, {}, true);
    }
    for (_vert* seed : seeds) {
        if (!enters_here(seed, state)) {
            notes.trace.add({Refusal::other_end}, {}, true);
            continue;
        }
        walk.clear();
        gethole(seed, walk, n);
        if (walk.size() > best.size()) {
            best = walk;
        }
        const Verdict verdict = judge();
        notes.trace.add(verdict, walk, true);
        if (verdict.accepted()) {
            break;
        }
        border.clear();
        free_edges(walk);
    }
    if (best.size() <= long_walk) {
        if (border.empty()) {
            const auto edges = static_cast<double>(best.size());
            notes.trace.add({Refusal::long_walk, edges, static_cast<double>(long_walk)}, {}, true);
        }
        return;
    }
    // The longest walk, as it was before any lobe was cut out and in its own direction, gets the
    // final say, even over a chain accepted above.
    build_chain(best, state, border);
    const Verdict final_say = judge_chain(border, n, centre);
    notes.trace.add(final_say, best, true);
    if (!final_say.accepted()) {
        if (!border.empty()) {
            free_edges(best);
        }
        border.clear();
    }
}

} // namespace KVN
