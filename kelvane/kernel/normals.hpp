// Internal: the arithmetic of normals. Every rounding to single precision is behaviour.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

#include <cmath>

namespace Mesh_R {

/// Length in double precision.
inline double length(const MemS::Point3v<float>& v) {
    const double x = v.x;
    const double y = v.y;
    const double z = v.z;
    return std::sqrt(x * x + y * y + z * z);
}

/// The vertex normal from the single-precision sum of `count` face normals: the mean, narrowed,
/// then divided by its length and narrowed again; `first` where that length is exactly 0.
inline MemS::Point3v<float> mean_direction(const MemS::Point3v<float>& sum, int count,
                                           const MemS::Point3v<float>& first) {
    const double n = count;
    const MemS::Point3v<float> mean(static_cast<float>(sum.x / n), static_cast<float>(sum.y / n),
                                    static_cast<float>(sum.z / n));
    const double mean_length = length(mean);
    if (mean_length == 0.0) {
        return first;
    }
    return {static_cast<float>(mean.x / mean_length), static_cast<float>(mean.y / mean_length),
            static_cast<float>(mean.z / mean_length)};
}

} // namespace Mesh_R
