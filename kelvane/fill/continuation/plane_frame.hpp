// A plane under a hole, in which the surface around it is a height field.
#pragma once

#include "kelvane/fill/continuation/neighbourhood_surface.hpp"

namespace Mesh_M::fill {

using Place = Eigen::Vector2d;

/// An orthonormal frame: places in its plane, heights over it.
struct Frame {
    Point origin;
    Point x;
    Point y;
    Point normal;

    Place place(const Point& p) const { return {(p - origin).dot(x), (p - origin).dot(y)}; }
    double height(const Point& p) const { return (p - origin).dot(normal); }
    void turn(const Point& direction) {
        normal = direction;
        x = normal.unitOrthogonal();
        y = normal.cross(x);
    }
    Point lift(const Place& place, double height) const {
        return origin + place.x() * x + place.y() * y + height * normal;
    }
};

/// The mean plane of all surfaces over the border, which every closed height field over it has.
/// False for a border that encloses next to no area.
bool make_frame(const HoleScene& scene, Frame& frame);

/// Tilts the frame until the surface through the points `samples` is level over their middle, for
/// which the arcs of a height model are exact. A frame that no arcs can be laid over stays.
void level_frame(const HoleScene& scene, const std::vector<int>& samples, Frame& frame);

} // namespace Mesh_M::fill
