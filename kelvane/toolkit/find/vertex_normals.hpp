// Normals of a scan's vertices, where a search needs them.
#pragma once

#include "kelvane/toolkit/scan/scan.hpp"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

inline Eigen::Vector3d position_of(const Scan& scan, std::int32_t v) {
    const float* p = &scan.positions[3 * static_cast<std::size_t>(v)];
    return {p[0], p[1], p[2]};
}

/// Sums of the faces' normals, weighted by area, per vertex; of any length. `wanted` has an entry
/// per vertex: where it is 0 the normal stays zero. Indices must be in range.
inline std::vector<Eigen::Vector3d> vertex_normals(const Scan& scan,
                                                   const std::vector<char>& wanted) {
    std::vector<Eigen::Vector3d> normals(scan.vertex_count(), Eigen::Vector3d::Zero());
    for (std::size_t t = 0; t < scan.triangles.size(); t += 3) {
        const std::int32_t* v = &scan.triangles[t];
        const auto is_wanted = [&](int k) { return wanted[static_cast<std::size_t>(v[k])] != 0; };
        if (!is_wanted(0) && !is_wanted(1) && !is_wanted(2)) {
            continue;
        }
        const Eigen::Vector3d a = position_of(scan, v[0]);
        const Eigen::Vector3d normal =
            (position_of(scan, v[1]) - a).cross(position_of(scan, v[2]) - a);
        for (int k = 0; k < 3 && normal.allFinite(); ++k) {
            if (is_wanted(k)) {
                normals[static_cast<std::size_t>(v[k])] += normal;
            }
        }
    }
    return normals;
}

} // namespace KVN::toolkit
