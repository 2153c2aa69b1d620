// Places a patch on a height field over the plane of its border.
#pragma once

#include "kelvane/fill/continuation/height_model.hpp"
#include "kelvane/fill/continuation/neighbourhood_surface.hpp"
#include "kelvane/fill/continuation/plane_frame.hpp"
#include "kelvane/fill/continuation/residual_field.hpp"

namespace Mesh_M::fill {

/// How much care the triangles of a placed patch get.
enum class Finish {
    draft, ///< lifted only, for a patch that is to be refined and placed again
    even   ///< slid on the surface until the triangles are even
};

/// The surface around a hole as a height field, learnt once for any number of patches: a trend and
/// its local correction.
class HeightField {
  public:
    /// Learns from the points of the scene's surroundings and border; its patch does not matter.
    explicit HeightField(const HoleScene& scene);

    /// Lifts the movable points onto the field. The border is met exactly: what the trend leaves
    /// there fades away into the patch as far as neighbouring points share it.
    ///
    /// False, with the points in an undefined state, where the surroundings are no height field
    /// over the border's plane, could not be learnt from, or the patch has no unfolded image there.
    bool place(HoleScene& scene, Finish finish) const;

    /// Probability that the surroundings are too rough to tell the surface in the hole from them.
    double roughness() const { return roughness_; }

    /// The height over a place of the plane.
    double operator()(const Place& place) const { return trend_(place) + correction_(place); }

  private:
    Frame frame_;
    HeightModel trend_;
    ResidualField correction_;
    double roughness_ = 0.0;
    bool learnt_ = false;
};

} // namespace Mesh_M::fill
