// What the disc and its continuation have in common: points, triangles, patches, and the plain
// measures of them. For use inside this library only; all functions are pure.
#pragma once

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace Mesh_M::fill {

using Point = Eigen::Vector3d;
using Triangle = std::array<int, 3>;

/// A triangulated disc. Indices 0 to borderCount - 1 are the border points in loop order, the rest
/// are inner points. Each border edge i -> i + 1 (and k - 1 -> 0) is traversed in this direction by
/// the one triangle on it.
struct Patch {
    std::vector<Point> points;
    std::vector<Triangle> triangles;
    int borderCount = 0;
};

/// A box along the axes.
struct Box {
    Point low;
    Point high;

    Point centre() const { return 0.5 * low + 0.5 * high; }
    /// Its longest side.
    double extent() const { return (high - low).maxCoeff(); }
    double diameter() const { return (high - low).norm(); }
};

/// The least box around at least one point.
inline Box bounding_box(const std::vector<Point>& points) {
    Box box{points.front(), points.front()};
    for (const Point& point : points) {
        box.low = box.low.cwiseMin(point);
        box.high = box.high.cwiseMax(point);
    }
    return box;
}

/// The upper one of the two middle values, if there are two. Takes at least one value.
inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The area vector of a loop of at least one point: twice the area times the normal of a flat loop,
/// and the same for every surface over the loop.
inline Point area_vector(const std::vector<Point>& loop) {
    Point sum = Point::Zero();
    for (std::size_t i = 0; i < loop.size(); ++i) {
        sum += (loop[i] - loop[0]).cross(loop[(i + 1) % loop.size()] - loop[0]);
    }
    return sum;
}

/// The mean plane of a loop, with coordinates in it.
struct BorderPlane {
    Point centre;           ///< mean of the loop's points
    Point x, y;             ///< unit vectors in the plane
    Point normal;           ///< x cross y; the loop goes round it counter-clockwise
    double radius = 0.0;    ///< root mean square distance of the points from the centre
    double roundness = 0.0; ///< area of the loop relative to that of a circle of this radius

    /// Place in the plane and height over it.
    Point to_plane(const Point& point) const {
        const Point offset = point - centre;
        return {offset.dot(x), offset.dot(y), offset.dot(normal)};
    }
    Point from_plane(const Point& place) const {
        return centre + place.x() * x + place.y() * y + place.z() * normal;
    }
};

/// The plane across the area vector of a loop. Of a loop without area the roundness is 0 and the
/// axes are any.
BorderPlane border_plane(const std::vector<Point>& loop);

} // namespace Mesh_M::fill
