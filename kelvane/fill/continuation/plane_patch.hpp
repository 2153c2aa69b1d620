// The image of a patch in the plane under its hole.
#pragma once

#include "kelvane/fill/continuation/plane_frame.hpp"

#include <vector>

namespace Mesh_M::fill {

/// Keeps a reference to the scene, whose triangles must not change meanwhile.
class PlanePatch {
  public:
    PlanePatch(const HoleScene& scene, const Frame& frame);

    std::vector<Place> places; ///< of all points of the scene; may be moved freely

    /// The patch triangles at a point, as indices into the scene's patch.
    const std::vector<int>& around(std::size_t point) const { return around_[point]; }

    /// Twice the area of a triangle in the plane, negative if it is folded over.
    double signed_area(const Triangle& triangle) const;

    /// Whether no triangle with a movable point is folded over or degenerate.
    bool is_unfolded() const;

    /// Every movable point to the mean of its neighbours (Tutte 1963): never folded over a convex
    /// border, and seldom over another. False if the points do not hang together with fixed ones.
    bool embed();

  private:
    const HoleScene& scene_;
    std::vector<std::vector<int>> around_;
};

} // namespace Mesh_M::fill
