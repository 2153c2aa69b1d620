// Surfaces with a formula: parametrisation, normal, exact closest point.
#pragma once

#include "support/truth_surface.hpp"

#include <memory>

namespace support {

/// Parameter rectangle; a closed direction joins its end to its beginning.
struct Domain {
    double u0, u1, v0, v1;
    bool closed_u, closed_v;
};

class AnalyticSurface : public TruthSurface {
  public:
    virtual Domain domain() const = 0;
    virtual Vector3d point(double u, double v) const = 0;
    virtual Vector3d normal(double u, double v) const = 0;
    /// Lengths that decide how many vertices a mesh gets: of the row at v, and across all rows.
    virtual double length_u(double v) const = 0;
    virtual double length_v() const = 0;
};

std::shared_ptr<const AnalyticSurface> sphere_surface(double radius);
/// Around the z axis: `major` to the middle of the tube, `minor` the tube's radius.
std::shared_ptr<const AnalyticSurface> torus_surface(double major, double minor);
/// Open, around the z axis, from -height/2 to height/2; its truth goes on beyond the rims.
std::shared_ptr<const AnalyticSurface> cylinder_surface(double radius, double height);
/// z = (x^2 - y^2) / 60 over a rectangle around the origin; goes on beyond it.
std::shared_ptr<const AnalyticSurface> saddle_surface(double width, double depth);
/// z = 3 sin(2 pi x / 45) cos(2 pi y / 60) over a rectangle around the origin; goes on beyond it.
std::shared_ptr<const AnalyticSurface> wave_surface(double width, double depth);

} // namespace support
