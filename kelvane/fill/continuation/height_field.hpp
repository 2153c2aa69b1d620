// The surface around a hole as a height field over the plane of its border.
#pragma once

#include "kelvane/fill/continuation/height_model.hpp"
#include "kelvane/fill/continuation/neighbourhood_surface.hpp"
#include "kelvane/fill/continuation/plane_frame.hpp"
#include "kelvane/fill/continuation/residual_field.hpp"

namespace Mesh_M::fill {

/// Learnt once for any number of patches: a trend and its local correction, and as far as the trend
/// cannot be trusted, a plate in their stead.
class HeightField {
  public:
    /// Learns from the points of the scene's surroundings and border; its patch does not matter.
    explicit HeightField(const HoleScene& scene);

    /// False where the surroundings are no height field over the border's plane or could not be
    /// learnt from; the calls below are then undefined, but for trust().
    bool learnt() const { return learnt_; }

    /// The plane that heights are measured over.
    const Frame& frame() const { return frame_; }

    /// How far the field can be trusted, 0 to 1: how well it foretold the rows beside the hole.
    double trust() const { return trust_; }

    /// The height over a place of the plane.
    double operator()(const Place& place) const { return trend_(place) + correction_(place); }

    /// That of the trend alone: the same curvature, at a small part of the cost.
    double trend(const Place& place) const { return trend_(place); }

  private:
    Frame frame_;
    HeightModel trend_;
    ResidualField correction_;
    double trust_ = 1.0;
    bool learnt_ = false;
};

} // namespace Mesh_M::fill
