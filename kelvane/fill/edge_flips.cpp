#include "kelvane/fill/edge_flips.hpp"

#include <cmath>

namespace Mesh_M::fill {
namespace {

/// Edges this near to the limit are left alone, so that rounding cannot flip to and fro.
constexpr double delaunayTolerance = 1e-10;

/// A flip may bend the surface to this cosine between its two triangles, or leave it at least as
/// flat as it was.
constexpr double bendLimit = 0.5;

double bendCosine(const Point& first, const Point& second) {
    const double lengths = std::sqrt(first.squaredNorm() * second.squaredNorm());
    return lengths > 0.0 ? first.dot(second) / lengths : -1.0;
}

} // namespace

void EdgeFlipper::suspectAll() {
    for (int h = mesh.halfEdgeCount() - 1; h >= 0; --h) {
        if (mesh.isUsed(h) && h < mesh.twin(h)) {
            suspects.push_back(h);
        }
    }
}

bool EdgeFlipper::shouldFlip(int h) const {
    const int other = mesh.twin(h);
    if (other == DiscMesh::none) {
        return false;
    }
    const int ic = mesh.apex(h), id = mesh.apex(other);
    if (avoidChords && mesh.isBorder(ic) && mesh.isBorder(id)) {
        return false;
    }
    const Point &a = mesh.points[mesh.origin(h)], &b = mesh.points[mesh.target(h)];
    const Point &c = mesh.points[ic], &d = mesh.points[id];
    const Point ca = a - c, cb = b - c, da = a - d, db = b - d;
    const Point normalC = ca.cross(cb), normalD = db.cross(da);
    // sin(gamma + delta) of the two opposite angles, times the four edge lengths.
    const double sine = normalC.norm() * da.dot(db) + normalD.norm() * ca.dot(cb);
    const double scale =
        (ca.squaredNorm() + cb.squaredNorm()) * (da.squaredNorm() + db.squaredNorm());
    if (sine >= -delaunayTolerance * scale) {
        return false;
    }
    const Point cd = d - c;
    const double bend = bendCosine(cd.cross(cb), ca.cross(cd));
    return bend > bendLimit || bend >= bendCosine(normalC, normalD);
}

const std::vector<int>& EdgeFlipper::run() {
    flipped.clear();
    // Out of the plane the criterion does not decrease any measure with every flip, so that a bound
    // on their number has to guarantee the end. Plane meshes stay far below it.
    std::size_t budget = 4 * static_cast<std::size_t>(mesh.halfEdgeCount()) + 64;
    while (!suspects.empty() && budget > 0) {
        const int h = suspects.back();
        suspects.pop_back();
        if (!mesh.isUsed(h) || !shouldFlip(h) || !mesh.flip(h)) {
            continue;
        }
        --budget;
        flipped.push_back(h);
        const int other = mesh.twin(h);
        for (const int side : {DiscMesh::next(h), DiscMesh::previous(h), DiscMesh::next(other),
                               DiscMesh::previous(other)}) {
            suspects.push_back(side);
        }
    }
    suspects.clear();
    return flipped;
}

} // namespace Mesh_M::fill
