// Bisection of long edges with Delaunay flips brings a coarse triangulation down to the sizes; the
// passes after it are those of M. Botsch, L. Kobbelt, "A remeshing approach to multiresolution
// modeling", SGP 2004.
#include "kelvane/fill/patch_refinement.hpp"

#include <algorithm>
#include <cmath>
#include <queue>

namespace Mesh_M::fill {
namespace {

/// Bounds of an edge's length relative to the wished one, between which it is left alone. With
/// these the patch comes out about as dense as the mesh that the border was cut out of.
constexpr double longRatio = 1.4;
constexpr double shortRatio = 0.8;

/// Height over a border edge or a longer side, relative to its length, that bisection keeps; and
/// the ratio of squared lengths up to which two sides, as of a needle, count as alike.
constexpr double leastHeight = 0.25;
constexpr double likeRatio = 1.2;

/// A collapse may turn a triangle by the angle of this cosine.
constexpr double leastTurnCosine = 0.2;

/// Height over longest edge at which a triangle counts as flat.
constexpr double flatRatio = 1e-9;

/// More inner points than this per border point stand for sizes that went astray.
constexpr int pointsPerBorderPoint = 64;

/// An edge in the order in which edges are bisected.
struct LongEdge {
    double ratio;
    int h, origin, target;

    bool operator<(const LongEdge& other) const {
        return ratio != other.ratio ? ratio < other.ratio : h > other.h;
    }
};

} // namespace

bool PatchRefiner::mayBisect(int h) const {
    return mesh.twin(h) != DiscMesh::none && leavesHeight(h) && leavesHeight(mesh.twin(h));
}

/// Whether the middle of edge h keeps its distance from the sides of its triangle that are longer
/// than it and from a border edge. A border edge is never split, so that points put between it and
/// its apex, again and again, would only flatten the triangles on it, then those on them.
bool PatchRefiner::leavesHeight(int h) const {
    const Point& start = mesh.points[mesh.origin(h)];
    const Point& end = mesh.points[mesh.target(h)];
    const Point& apex = mesh.points[mesh.apex(h)];
    const double squared = (end - start).squaredNorm();
    const double half = 0.5 * (end - start).cross(apex - start).norm(); // twice, on either side
    const auto isKept = [&](int side, double squaredSide) {
        return (squaredSide <= likeRatio * squared && mesh.twin(side) != DiscMesh::none) ||
               half >= leastHeight * squaredSide;
    };
    return isKept(DiscMesh::next(h), (apex - end).squaredNorm()) &&
           isKept(DiscMesh::previous(h), (apex - start).squaredNorm());
}

PatchRefiner::PatchRefiner(DiscMesh& mesh, SizeField& field)
    : mesh(mesh), field(field),
      pointLimit(mesh.points.size() + 256 +
                 pointsPerBorderPoint * static_cast<std::size_t>(mesh.borderCount())) {}

double PatchRefiner::ratio(int h) const {
    const int a = mesh.origin(h), b = mesh.target(h);
    return 2.0 * (mesh.points[a] - mesh.points[b]).norm() / (mesh.sizes[a] + mesh.sizes[b]);
}

/// Whether the triangle of h has next to no area.
bool PatchRefiner::isFlat(int h) const {
    const Point& corner = mesh.points[mesh.origin(h)];
    const Point along = mesh.points[mesh.target(h)] - corner;
    const Point across = mesh.points[mesh.apex(h)] - corner;
    return along.cross(across).norm() <=
           flatRatio * std::max(along.squaredNorm(), across.squaredNorm());
}

int PatchRefiner::bisect(int h) {
    const int a = mesh.origin(h), b = mesh.target(h);
    return mesh.split(h, 0.5 * (mesh.points[a] + mesh.points[b]),
                      0.5 * (mesh.sizes[a] + mesh.sizes[b]));
}

/// Longest edges first, restoring the Delaunay property after each: every new point then lies well
/// away from all others, however thin the triangles were at the start.
void PatchRefiner::bisectLongEdges() {
    EdgeFlipper flipper(mesh, false);
    for (int h = 0; h < mesh.halfEdgeCount(); ++h) {
        if (isFlat(h)) { // points put there would coincide or align; elsewhere the shape is kept
            flipper.suspect(h);
        }
    }
    flipper.run();
    std::priority_queue<LongEdge> open;
    const auto enter = [&](int h) {
        if (ratio(h) > longRatio && mayBisect(h)) {
            open.push({ratio(h), h, mesh.origin(h), mesh.target(h)});
        }
    };
    for (int h = 0; h < mesh.halfEdgeCount(); ++h) {
        if (mesh.isUsed(h) && h < mesh.twin(h)) {
            enter(h);
        }
    }
    while (!open.empty() && mesh.points.size() < pointLimit) {
        const LongEdge edge = open.top();
        open.pop();
        if (mesh.origin(edge.h) != edge.origin || mesh.target(edge.h) != edge.target ||
            ratio(edge.h) < 0.999 * edge.ratio || !mayBisect(edge.h)) {
            continue;
        }
        const int point = bisect(edge.h);
        mesh.forEachTriangle(point, [&](int h) { flipper.suspect(DiscMesh::next(h)); });
        const std::vector<int>& flipped = flipper.run();
        field.addPoint(point);
        std::for_each(flipped.begin(), flipped.end(), enter);
        mesh.forEachTriangle(point, [&](int h) {
            enter(h);
            enter(DiscMesh::next(h)); // may have been held back by a longer side
        });
    }
}

void PatchRefiner::splitLongEdges() {
    const int end = mesh.halfEdgeCount();
    for (int h = 0; h < end && mesh.points.size() < pointLimit; ++h) {
        if (mesh.isUsed(h) && h < mesh.twin(h) && ratio(h) > longRatio && mayBisect(h)) {
            field.addPoint(bisect(h));
        }
    }
}

bool PatchRefiner::mayCollapse(int h) const {
    const int v = mesh.origin(h), u = mesh.target(h);
    if (mesh.isBorder(v)) {
        return false;
    }
    bool allowed = true;
    mesh.forEachTriangle(v, [&](int side) {
        const int a = mesh.target(side), b = mesh.apex(side);
        if (a == u || b == u) {
            // One of the two triangles that go; the one on a border edge has to stay.
            allowed &= !(mesh.isBorder(a) && mesh.isBorder(b));
            return;
        }
        allowed &= !(mesh.isBorder(u) && mesh.isBorder(a));
        const Point &pv = mesh.points[v], &pu = mesh.points[u];
        const Point &pa = mesh.points[a], &pb = mesh.points[b];
        const Point before = (pa - pv).cross(pb - pv), after = (pa - pu).cross(pb - pu);
        allowed &= after.dot(before) > leastTurnCosine * after.norm() * before.norm();
        const double reach = 0.5 * (mesh.sizes[u] + mesh.sizes[a]) * longRatio;
        allowed &= (pa - pu).norm() < reach;
    });
    return allowed;
}

void PatchRefiner::collapseShortEdges() {
    for (int h = 0; h < mesh.halfEdgeCount(); ++h) {
        if (mesh.isUsed(h) && !mesh.isBorder(mesh.origin(h)) && ratio(h) < shortRatio &&
            mayCollapse(h)) {
            mesh.collapse(h);
        }
    }
}

void PatchRefiner::cutChords() {
    if (mesh.borderCount() == 3) {
        return;
    }
    // A split may move both halves of another chord to new places, at the end.
    for (int h = 0; h < mesh.halfEdgeCount(); ++h) {
        if (mesh.isUsed(h) && mesh.isChord(h)) {
            field.addPoint(bisect(h));
        }
    }
}

void PatchRefiner::flipEdges() {
    EdgeFlipper flipper(mesh, mesh.borderCount() > 3);
    flipper.suspectAll();
    flipper.run();
}

} // namespace Mesh_M::fill
