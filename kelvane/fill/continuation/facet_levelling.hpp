// The last small moves of a patch on a height field, which fit its flat triangles to the surface
// and to the border.
#pragma once

#include "kelvane/fill/continuation/height_field.hpp"
#include "kelvane/fill/continuation/plane_patch.hpp"

namespace Mesh_M::fill {

/// Lets the movable points next to the border follow part of what the border deviates from the
/// field beside them. That is mostly noise, but a seam between a noisy surface and a perfect patch
/// shows. All points are to lie on the field.
void lean_on_border(const PlanePatch& plane, const HeightField& field, HoleScene& scene);

/// Raises the movable points by what flat triangles lack on a curved surface: with all points on
/// it, all triangles of a dome lie below it. They come to lie about it with the least mean square
/// (a projection onto linear elements; the border stays), measured by the field's trend.
void level_facets(const PlanePatch& plane, const HeightField& field, HoleScene& scene);

} // namespace Mesh_M::fill
