// Places the inner points of a patch so that it continues the surface around the hole.
#pragma once

#include "kelvane/fill/continuation/height_placement.hpp"

namespace Mesh_M::fill {

/// Moves the movable points of a scene; everything else stays. `field` was learnt from the same
/// surroundings. A method whose result is not finite, strays from the patch it was given, or folds
/// a triangle over is refused and the next one taken. As far as the field is not to be trusted, it
/// is blended with a fairing; a draft is not. Returns a placement_result.
int continue_surface(const HeightField& field, Finish finish, HoleScene& scene);

} // namespace Mesh_M::fill
