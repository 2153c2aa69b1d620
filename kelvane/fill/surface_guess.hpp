// A guess at the surface that a border loop was cut out of.
#pragma once

#include "kelvane/fill/patch_builder.hpp"

namespace Mesh_M::fill {

/// Bulges a membrane over a nearly flat loop, along the loop's normal, by the mean curvature that
/// the raggedness of the loop tells of: where the loop bends inwards and outwards, its points lie
/// on the surface at different distances from the middle. Does nothing where the loop does not tell
/// enough.
void bulgePatch(Patch& patch);

} // namespace Mesh_M::fill
