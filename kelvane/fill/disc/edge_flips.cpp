#include "kelvane/fill/disc/edge_flips.hpp"

#include <cmath>

namespace Mesh_M::fill {
namespace {

/// Edges this near to the limit are left alone, so that rounding cannot flip to and fro.
constexpr double delaunay_tolerance = 1e-10;

/// A flip may bend the surface to this cosine between its two triangles, or leave it at least as
/// flat as it was.
constexpr double bend_limit = 0.5;

/// Out of the plane the criterion does not decrease any measure with every flip, so that a bound on
/// their number has to guarantee the end. Plane meshes stay far below it.
std::size_t flip_budget(const DiscMesh& mesh) {
    return 4 * static_cast<std::size_t>(mesh.half_edge_count()) + 64;
}

double bend_cosine(const Point& first, const Point& second) {
    const double lengths = std::sqrt(first.squaredNorm() * second.squaredNorm());
    return lengths > 0.0 ? first.dot(second) / lengths : -1.0;
}

} // namespace

bool EdgeFlipper::should_flip(int h) const {
    const int other = mesh.twin(h);
    if (other == DiscMesh::none) {
        return false;
    }
    const int ic = mesh.apex(h), id = mesh.apex(other);
    if (avoid_chords && mesh.is_border(ic) && mesh.is_border(id)) {
        return false;
    }
    const Point &a = mesh.points[mesh.origin(h)], &b = mesh.points[mesh.target(h)];
    const Point &c = mesh.points[ic], &d = mesh.points[id];
    const Point ca = a - c, cb = b - c, da = a - d, db = b - d;
    const double dot_c = ca.dot(cb), dot_d = da.dot(db);
    if (dot_c >= 0.0 && dot_d >= 0.0) { // no angle above 90 degrees: most edges
        return false;
    }
    const Point normal_c = ca.cross(cb), normal_d = db.cross(da);
    // sin(gamma + delta) of the two opposite angles, times the four edge lengths.
    const double sine = normal_c.norm() * dot_d + normal_d.norm() * dot_c;
    const double scale =
        (ca.squaredNorm() + cb.squaredNorm()) * (da.squaredNorm() + db.squaredNorm());
    if (sine >= -delaunay_tolerance * scale) {
        return false;
    }
    const Point cd = d - c;
    const double bend = bend_cosine(cd.cross(cb), ca.cross(cd));
    return bend > bend_limit || bend >= bend_cosine(normal_c, normal_d);
}

const std::vector<int>& EdgeFlipper::run() {
    flipped.clear();
    std::size_t budget = flip_budget(mesh);
    work_off(budget);
    return flipped;
}

void EdgeFlipper::run_on_all() {
    flipped.clear();
    std::size_t budget = flip_budget(mesh);
    for (int h = 0; h < mesh.half_edge_count(); ++h) {
        if (h < mesh.twin(h) && should_flip(h)) {
            suspects.push_back(h);
            work_off(budget);
        }
    }
}

void EdgeFlipper::work_off(std::size_t& budget) {
    while (!suspects.empty() && budget > 0) {
        const int h = suspects.back();
        suspects.pop_back();
        if (!mesh.is_used(h) || !should_flip(h) || !mesh.flip(h)) {
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
}

} // namespace Mesh_M::fill
