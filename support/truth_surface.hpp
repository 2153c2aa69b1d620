// The surface that a repair should have found.
#pragma once

#include <Eigen/Core>

#include <cmath>
#include <cstddef>

namespace support {

using Eigen::Vector3d;

/// A point on a surface and the unit normal there.
struct SurfacePoint {
    Vector3d point;
    Vector3d normal;
};

/// A surface that can be asked for its point closest to another one. Calls may run side by side.
class TruthSurface {
  public:
    virtual ~TruthSurface() = default;
    virtual SurfacePoint closest(const Vector3d& p) const = 0;
};

/// How far points lie from a surface, in the unit of their coordinates.
struct Deviation {
    double root_mean_square = 0.0;
    double greatest = 0.0;
};

/// Of any list of points; none give zeros.
template <class Points>
Deviation deviation(const Points& points, const TruthSurface& surface) {
    Deviation result;
    std::size_t count = 0;
    for (const Vector3d& p : points) {
        const double d = (surface.closest(p).point - p).norm();
        result.root_mean_square += d * d;
        result.greatest = d > result.greatest ? d : result.greatest;
        ++count;
    }
    if (count > 0) {
        result.root_mean_square = std::sqrt(result.root_mean_square / static_cast<double>(count));
    }
    return result;
}

} // namespace support
