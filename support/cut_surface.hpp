// A known surface, meshed like a scan, with a hole cut into it.
#pragma once

#include "support/truth_surface.hpp"

#include <array>
#include <vector>

namespace support {

using Triangle = std::array<int, 3>;

struct CutOptions {
    double edge = 0.7;
    double radius = 4.0;
    double noise = 0.0; ///< standard deviation along the normal, in units of `edge`
    unsigned seed = 1;
    bool rim = false; ///< the mesh ends in a straight rim through the hole's centre
};

struct Cut {
    std::vector<Vector3d> points;
    std::vector<int> border; ///< loop, the hole on its left; at a rim closed by a last edge
    std::vector<Triangle> surroundings; ///< three rings of triangles
};

/// A jittered triangle grid on the surface around its point closest to `centre`, without the
/// triangles within the radius. Distances are measured along the surface.
Cut cut_surface(const TruthSurface& surface, const Vector3d& centre, const CutOptions& options);

} // namespace support
