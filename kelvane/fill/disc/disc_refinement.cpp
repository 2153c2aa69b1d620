// Bisection of long edges with Delaunay flips brings a coarse triangulation down to the sizes; the
// passes after it are those of M. Botsch, L. Kobbelt, "A remeshing approach to multiresolution
// modeling", SGP 2004.
#include "kelvane/fill/disc/disc_refinement.hpp"

#include <algorithm>
#include <cmath>
#include <queue>

namespace Mesh_M::fill {
namespace {

/// Bounds of an edge's length relative to the wished one, between which it is left alone. With
/// these the patch comes out about as dense as the mesh that the border was cut out of.
constexpr double long_ratio = 1.4;
constexpr double short_ratio = 0.8;

/// Height over a border edge or a longer side, relative to its length, that bisection keeps; and
/// the ratio of squared lengths up to which two sides, as of a needle, count as alike.
constexpr double least_height = 0.25;
constexpr double like_ratio = 1.2;

/// A collapse may turn a triangle by the angle of this cosine.
constexpr double least_turn_cosine = 0.2;

/// Height over longest edge at which a triangle counts as flat.
constexpr double flat_ratio = 1e-9;

/// More inner points than this per border point stand for sizes that went astray.
constexpr int points_per_border_point = 64;

/// An edge in the order in which edges are bisected.
struct LongEdge {
    double ratio;
    int h, origin, target;

    bool operator<(const LongEdge& other) const {
        return ratio != other.ratio ? ratio < other.ratio : h > other.h;
    }
};

} // namespace

bool PatchRefiner::may_bisect(int h) const {
    return mesh.twin(h) != DiscMesh::none && leaves_height(h) && leaves_height(mesh.twin(h));
}

/// Whether the middle of edge h keeps its distance from the sides of its triangle that are longer
/// than it and from a border edge. A border edge is never split, so that points put between it and
/// its apex, again and again, would only flatten the triangles on it, then those on them.
bool PatchRefiner::leaves_height(int h) const {
    const Point& start = mesh.points[mesh.origin(h)];
    const Point& end = mesh.points[mesh.target(h)];
    const Point& apex = mesh.points[mesh.apex(h)];
    const double squared = (end - start).squaredNorm();
    const double half = 0.5 * (end - start).cross(apex - start).norm(); // twice, on either side
    const auto is_kept = [&](int side, double squared_side) {
        return (squared_side <= like_ratio * squared && mesh.twin(side) != DiscMesh::none) ||
               half >= least_height * squared_side;
    };
    return is_kept(DiscMesh::next(h), (apex - end).squaredNorm()) &&
           is_kept(DiscMesh::previous(h), (apex - start).squaredNorm());
}

PatchRefiner::PatchRefiner(DiscMesh& mesh)
    : mesh(mesh),
      point_limit(mesh.points.size() + 256 +
                  points_per_border_point * static_cast<std::size_t>(mesh.borderCount())) {}

double PatchRefiner::ratio(int h) const {
    const int a = mesh.origin(h), b = mesh.target(h);
    return 2.0 * (mesh.points[a] - mesh.points[b]).norm() / (mesh.sizes[a] + mesh.sizes[b]);
}

/// Whether the triangle of h has next to no area.
bool PatchRefiner::is_flat(int h) const {
    const Point& corner = mesh.points[mesh.origin(h)];
    const Point along = mesh.points[mesh.target(h)] - corner;
    const Point across = mesh.points[mesh.apex(h)] - corner;
    return along.cross(across).norm() <=
           flat_ratio * std::max(along.squaredNorm(), across.squaredNorm());
}

int PatchRefiner::bisect(int h) {
    const int a = mesh.origin(h), b = mesh.target(h);
    return mesh.split(h, 0.5 * (mesh.points[a] + mesh.points[b]),
                      0.5 * (mesh.sizes[a] + mesh.sizes[b]));
}

/// Longest edges first, restoring the Delaunay property after each: every new point then lies well
/// away from all others, however thin the triangles were at the start.
void PatchRefiner::bisect_long_edges(SizeField& field) {
    EdgeFlipper flipper(mesh, false);
    for (int h = 0; h < mesh.half_edge_count(); ++h) {
        if (is_flat(h)) { // points put there would coincide or align; elsewhere the shape is kept
            flipper.suspect(h);
        }
    }
    flipper.run();
    std::priority_queue<LongEdge> open;
    const auto enter = [&](int h) {
        if (ratio(h) > long_ratio && may_bisect(h)) {
            open.push({ratio(h), h, mesh.origin(h), mesh.target(h)});
        }
    };
    for (int h = 0; h < mesh.half_edge_count(); ++h) {
        if (mesh.is_used(h) && h < mesh.twin(h)) {
            enter(h);
        }
    }
    while (!open.empty() && mesh.points.size() < point_limit) {
        const LongEdge edge = open.top();
        open.pop();
        if (mesh.origin(edge.h) != edge.origin || mesh.target(edge.h) != edge.target ||
            ratio(edge.h) < 0.999 * edge.ratio || !may_bisect(edge.h)) {
            continue;
        }
        const int point = bisect(edge.h);
        mesh.for_each_triangle(point, [&](int h) { flipper.suspect(DiscMesh::next(h)); });
        const std::vector<int>& flipped = flipper.run();
        field.add_point(point);
        std::for_each(flipped.begin(), flipped.end(), enter);
        mesh.for_each_triangle(point, [&](int h) {
            enter(h);
            enter(DiscMesh::next(h)); // may have been held back by a longer side
        });
    }
}

void PatchRefiner::split_long_edges() {
    const int end = mesh.half_edge_count();
    for (int h = 0; h < end && mesh.points.size() < point_limit; ++h) {
        if (mesh.is_used(h) && h < mesh.twin(h) && ratio(h) > long_ratio && may_bisect(h)) {
            bisect(h);
        }
    }
}

bool PatchRefiner::may_collapse(int h) const {
    const int v = mesh.origin(h), u = mesh.target(h);
    if (mesh.is_border(v)) {
        return false;
    }
    bool allowed = true;
    mesh.for_each_triangle(v, [&](int side) {
        if (!allowed) {
            return;
        }
        const int a = mesh.target(side), b = mesh.apex(side);
        if (a == u || b == u) {
            // One of the two triangles that go; the one on a border edge has to stay.
            allowed &= !(mesh.is_border(a) && mesh.is_border(b));
            return;
        }
        allowed &= !(mesh.is_border(u) && mesh.is_border(a));
        const Point &pv = mesh.points[v], &pu = mesh.points[u];
        const Point &pa = mesh.points[a], &pb = mesh.points[b];
        const Point before = (pa - pv).cross(pb - pv), after = (pa - pu).cross(pb - pu);
        allowed &= after.dot(before) > least_turn_cosine * after.norm() * before.norm();
        const double reach = 0.5 * (mesh.sizes[u] + mesh.sizes[a]) * long_ratio;
        allowed &= (pa - pu).norm() < reach;
    });
    return allowed;
}

void PatchRefiner::collapse_short_edges() {
    for (int h = 0; h < mesh.half_edge_count(); ++h) {
        if (mesh.is_used(h) && !mesh.is_border(mesh.origin(h)) && ratio(h) < short_ratio &&
            may_collapse(h)) {
            mesh.collapse(h);
        }
    }
}

void PatchRefiner::cut_chords() {
    if (mesh.borderCount() == 3) {
        return;
    }
    // A split may move both halves of another chord to new places, at the end.
    for (int h = 0; h < mesh.half_edge_count(); ++h) {
        if (mesh.is_used(h) && mesh.is_chord(h)) {
            bisect(h);
        }
    }
}

void PatchRefiner::flip_edges() {
    EdgeFlipper flipper(mesh, mesh.borderCount() > 3);
    flipper.run_on_all();
}

} // namespace Mesh_M::fill
