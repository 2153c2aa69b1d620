// A known surface, meshed like a scan, with a hole cut into it.
#pragma once

#include "kelvane/fill/hole_filling.hpp"

#include <Eigen/Core>

#include <array>
#include <functional>
#include <vector>

namespace cut_surface {

using Point = Eigen::Vector3d;
using Triangle = std::array<int, 3>;

struct Surface {
    std::function<Point(double, double)> at; ///< nearly isometric parameters; the hole is at 0, 0
    std::function<double(const Point&)> distance; ///< of a point from the surface
};

Surface sphere(double radius);
Surface torus(double ringRadius, double tubeRadius);
Surface cylinder(double radius);
Surface saddle(double radius);
/// z = 3 sin(2 pi x / 45) cos(2 pi y / 60) around a crest or between crests.
Surface waves(double x, double y);

struct CutOptions {
    double edge = 0.7;
    double radius = 4.0;
    double noise = 0.0; ///< standard deviation along the normal, in units of `edge`
    unsigned seed = 1;
    bool rim = false; ///< the mesh ends in a straight rim through the hole's centre
};

struct Cut {
    std::vector<Point> points;
    std::vector<int> border; ///< loop, the hole on its left; at a rim closed by a last edge
    std::vector<Triangle> surroundings; ///< three rings of triangles
    std::vector<double> borderVector;
    std::vector<double> surroundingVector;
};

Cut cut(const Surface& surface, const CutOptions& options);

/// Appends a triangle in the layout of the hole filler: its normal, then its corners.
void appendTriangle(const Point& a, const Point& b, const Point& c, std::vector<double>& soup);

/// A patch in doubles over `cut`, behind the surroundings: the input of a fairing.
std::vector<double> withPatch(const Cut& cut, const Mesh_M::MyOFFDataNew& patch);

/// What this library's main road makes of a patch: one solve of the discrete bi-Laplace equation
/// with cotangent weights, everything but the inner points fixed. In place.
void fairPlainly(const Cut& cut, Mesh_M::MyOFFDataNew& patch);

struct Deviation {
    double meanSquareRoot = 0.0;
    double greatest = 0.0;
};

/// Of the points from `first` on.
Deviation deviation(const std::vector<Mesh_M::MyPoint3>& points, std::size_t first,
                    const Surface& surface);

} // namespace cut_surface
