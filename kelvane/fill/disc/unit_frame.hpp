// Coordinates in which a patch is worked on.
#pragma once

#include "kelvane/fill/geometry.hpp"

#include <cmath>

namespace Mesh_M::fill {

/// The similarity between the caller's coordinates and those that the stages work in: the centre of
/// the border in the origin and an extent between 1/2 and 1, so that neither a far origin nor a
/// strange unit costs digits. A power of two scales without rounding.
class UnitFrame {
  public:
    explicit UnitFrame(const std::vector<Point>& border) {
        const Box box = bounding_box(border);
        centre = box.centre();
        extent = box.extent();
        int exponent = 0;
        std::frexp(extent, &exponent);
        unit = std::ldexp(1.0, exponent);
    }

    /// False for a border without extent, or so small or large that the squares of areas, which
    /// whoever works on the patch may need, are no numbers.
    bool is_usable() const { return extent > least_extent && extent < 1.0 / least_extent; }

    Point to_unit(const Point& point) const { return (point - centre) / unit; }
    double to_unit(double length) const { return length / unit; }
    Point from_unit(const Point& point) const { return point * unit + centre; }

  private:
    static constexpr double least_extent = 1e-75;

    Point centre;
    double extent = 0.0;
    double unit = 0.0;
};

} // namespace Mesh_M::fill
