// Inner points for a nearly flat, roundish loop of even edges: rings that follow the border inward.
#pragma once

#include "kelvane/fill/geometry.hpp"

#include <vector>

namespace Mesh_M::fill {

/// A triangulated disc with the edge length wished at each of its points.
struct SizedPatch {
    Patch patch;
    std::vector<double> sizes;
};

/// Lays rings of points over the loop of `layout.patch`, which has its border points and sizes and
/// nothing else so far, and sews them together strip by strip. The rings keep the border's local
/// density in the first rows and grow coarser from there. Takes time in proportion to the points.
///
/// The result is a disc combinatorially; triangles still want flips and evening out, and where the
/// loop bends inward they may overlap. False, with `layout` unchanged, for a loop that rings do not
/// suit: few points, edges of very different length, far from flat, or narrow somewhere.
bool lay_rings(const BorderPlane& plane, SizedPatch& layout);

/// Whether lay_rings would begin with this loop of at least 3 finite points.
bool suits_rings(const std::vector<Point>& border);

} // namespace Mesh_M::fill
