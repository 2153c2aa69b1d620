// The last small moves of a patch on a height field, which fit it to its border.
#pragma once

#include "kelvane/fill/continuation/height_field.hpp"
#include "kelvane/fill/continuation/plane_patch.hpp"

namespace Mesh_M::fill {

/// Lets the movable points next to the border follow part of what the border deviates from the
/// field beside them. That is mostly noise, but a seam between a noisy surface and a perfect patch
/// shows. All points are to lie on the field; over a border without noise they stay there.
void lean_on_border(const PlanePatch& plane, const HeightField& field, HoleScene& scene);

} // namespace Mesh_M::fill
