// The last move of a patch on a height field: off the field, so that its flat triangles lie on it.
#pragma once

#include "kelvane/fill/continuation/height_field.hpp"
#include "kelvane/fill/continuation/plane_patch.hpp"

namespace Mesh_M::fill {

/// Moves the movable points along the frame's normal to where the triangles come nearest to the
/// field, in least squares over the patch. On a curved surface triangles whose corners lie on it
/// stand off it to one side, by up to a quarter of h²k/2 and more in their middles (edge h,
/// curvature k); so balanced they keep less than half of that. The border stays.
void balance_facets(const PlanePatch& plane, const HeightField& field, HoleScene& scene);

} // namespace Mesh_M::fill
