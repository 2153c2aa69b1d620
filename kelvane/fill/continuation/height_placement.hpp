// Places a patch on a height field.
#pragma once

#include "kelvane/fill/continuation/height_field.hpp"

namespace Mesh_M::fill {

/// How much care the triangles of a placed patch get.
enum class Finish {
    draft, ///< lifted only, for a patch that is to be refined and placed again
    even   ///< slid on the surface until the triangles are even, then levelled about it
};

/// Lifts the movable points onto the field. The border is met as it is: what the field leaves there
/// fades away into the patch as far as neighbouring points share it, the rest within one edge.
///
/// False, with the points in an undefined state, where the field is not learnt or the patch has no
/// unfolded image in its plane.
bool place_on_field(const HeightField& field, Finish finish, HoleScene& scene);

} // namespace Mesh_M::fill
