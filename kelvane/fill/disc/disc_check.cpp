#include "kelvane/fill/disc/disc_mesh.hpp"
#include "kelvane/fill/disc/patch_builder.hpp"

#include <algorithm>

namespace Mesh_M::fill {
namespace {

/// Height below which a triangle counts as degenerate, relative to the extent of the patch.
constexpr double least_height = 1e-13;

/// Whether the triangle that begins with half-edge h has an area. On a border edge without length
/// no triangle can have one, and it is let pass.
bool has_area(const DiscMesh& mesh, int h, double least) {
    double longest = 0.0;
    for (int side = h; side < h + 3; ++side) {
        const double length =
            (mesh.points[mesh.target(side)] - mesh.points[mesh.origin(side)]).norm();
        if (length <= least && mesh.twin(side) == DiscMesh::none) {
            return true;
        }
        longest = std::max(longest, length);
    }
    const Point& corner = mesh.points[mesh.origin(h)];
    const Point normal =
        (mesh.points[mesh.target(h)] - corner).cross(mesh.points[mesh.apex(h)] - corner);
    return normal.norm() > least * longest;
}

} // namespace

bool is_sound_patch(const Patch& patch) {
    const auto is_finite = [](const Point& point) { return point.allFinite(); };
    DiscMesh mesh;
    if (!std::all_of(patch.points.begin(), patch.points.end(), is_finite) || !mesh.assign(patch)) {
        return false;
    }
    const double least = least_height * bounding_box(patch.points).extent();
    for (int h = 0; h < mesh.half_edge_count(); ++h) {
        const bool forbidden = mesh.borderCount() > 3 && mesh.is_chord(h);
        if (forbidden || (h % 3 == 0 && !has_area(mesh, h, least))) {
            return false;
        }
    }
    return true;
}

} // namespace Mesh_M::fill
