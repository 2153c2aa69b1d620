// Places a patch on a height field over the plane of its border.
#pragma once

#include "kelvane/fill/continuation/neighbourhood_surface.hpp"

namespace Mesh_M::fill {

/// Learns a height field from the points of the surroundings and the border, lifts the movable
/// points onto it and lets them slide on it until the triangles are even. The border is met
/// exactly: what the field leaves there fades away into the patch as far as neighbouring points
/// share it.
///
/// `roughness` is set to the probability that the surroundings are too rough to tell the surface in
/// the hole from them (0 to 1).
///
/// False, with the points in an undefined state, where the surroundings are no height field over
/// that plane, cannot be learnt from, or the patch has no unfolded image in the plane.
bool place_on_height_field(HoleScene& scene, double& roughness);

} // namespace Mesh_M::fill
