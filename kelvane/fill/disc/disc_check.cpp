#include "kelvane/fill/disc/patch_builder.hpp"

#include <algorithm>

namespace Mesh_M::fill {
namespace {

/// Height below which a triangle counts as degenerate, relative to the extent of the patch.
constexpr double least_height = 1e-13;

bool is_border_edge(const Patch& patch, int a, int b) {
    return a < patch.borderCount && b == (a + 1) % patch.borderCount;
}

bool has_chord(const Patch& patch, const Triangle& t) {
    for (int i = 0; i < 3; ++i) {
        const int a = t[i], b = t[(i + 1) % 3];
        if (a < patch.borderCount && b < patch.borderCount && !is_border_edge(patch, a, b)) {
            return true;
        }
    }
    return false;
}

/// Whether the triangle has an area. On a border edge without length no triangle can have one, and
/// it is let pass.
bool has_area(const Patch& patch, const Triangle& t, double least) {
    double longest = 0.0;
    for (int i = 0; i < 3; ++i) {
        const int a = t[i], b = t[(i + 1) % 3];
        const double length = (patch.points[b] - patch.points[a]).norm();
        if (length <= least && is_border_edge(patch, a, b)) {
            return true;
        }
        longest = std::max(longest, length);
    }
    const Point& corner = patch.points[t[0]];
    const Point normal = (patch.points[t[1]] - corner).cross(patch.points[t[2]] - corner);
    return normal.norm() > least * longest;
}

} // namespace

bool is_sound_patch(const Patch& patch) {
    if (!std::all_of(patch.points.begin(), patch.points.end(),
                     [](const Point& point) { return point.allFinite(); })) {
        return false;
    }
    const double least = least_height * bounding_box(patch.points).extent();
    return std::all_of(patch.triangles.begin(), patch.triangles.end(), [&](const Triangle& t) {
        return has_area(patch, t, least) && !(patch.borderCount > 3 && has_chord(patch, t));
    });
}

} // namespace Mesh_M::fill
