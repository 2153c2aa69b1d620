#include "outline.hpp"

#include "edge_table.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace KVN::bench {

Outline outline_of(const TriangleMesh& mesh) {
    Outline outline;
    EdgeTable(mesh).for_each([&](const EdgeUse* begin, const EdgeUse* end) {
        if (end - begin == 1) {
            outline.emplace_back(mesh.vertex(begin->low), mesh.vertex(begin->high));
        }
    });
    return outline;
}

double distance_to(const Outline& outline, const Vector3d& p) {
    double least = std::numeric_limits<double>::infinity();
    for (const auto& [a, b] : outline) {
        const Vector3d along = b - a;
        const double length2 = along.squaredNorm();
        const double t = length2 > 0 ? std::clamp((p - a).dot(along) / length2, 0.0, 1.0) : 0;
        least = std::min(least, (a + t * along - p).squaredNorm());
    }
    return std::sqrt(least);
}

} // namespace KVN::bench
