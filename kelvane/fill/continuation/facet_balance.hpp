// The last move of a patch on a height field: off the field, so that its flat triangles lie on it.
#pragma once

#include "kelvane/fill/continuation/height_field.hpp"
#include "kelvane/fill/continuation/plane_patch.hpp"

namespace Mesh_M::fill {

/// Moves the movable points along the frame's normal to where the triangles come nearest to the
/// field, in least squares over the patch. On a curved surface triangles whose corners lie on it
/// stand off it to one side: with edges h and curvature k by h²k/8 in the middle of an edge and
/// h²k/6 in their own. The border stays, and counts as lying on the field: what it deviates is
/// mostly noise, which the points inside are not to balance.
void balance_facets(const PlanePatch& plane, const HeightField& field, HoleScene& scene);

} // namespace Mesh_M::fill
