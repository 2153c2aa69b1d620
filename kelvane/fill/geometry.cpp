#include "kelvane/fill/geometry.hpp"

#include <cmath>

namespace Mesh_M::fill {

BorderPlane border_plane(const std::vector<Point>& loop) {
    const double count = static_cast<double>(loop.size());
    BorderPlane plane;
    plane.centre = Point::Zero();
    for (const Point& point : loop) {
        plane.centre += point / count;
    }
    double squares = 0.0;
    for (const Point& point : loop) {
        squares += (point - plane.centre).squaredNorm() / count;
    }
    const Point area = area_vector(loop);
    const double length = area.norm();
    plane.radius = std::sqrt(squares);
    plane.roundness = squares > 0.0 ? 0.5 * length / (M_PI * squares) : 0.0;
    plane.normal = length > 0.0 ? Point(area / length) : Point::UnitZ();
    plane.x = plane.normal.unitOrthogonal();
    plane.y = plane.normal.cross(plane.x);
    return plane;
}

} // namespace Mesh_M::fill
