// Evens out the inner points of a disc.
#pragma once

#include "kelvane/fill/disc/disc_mesh.hpp"

namespace Mesh_M::fill {

/// Moves every inner point once towards the weighted centre of its triangles, in which triangles
/// that are large for their wished size weigh more; moves take effect at once. Repeated, this evens
/// out the triangles and draws the points towards a membrane over the loop; with `keep_shape`
/// points slide within their tangent planes only. No triangle is folded over that was not so
/// before.
void relax_points(DiscMesh& mesh, bool keep_shape);

/// Moves each inner point at a flat triangle, such as long, coinciding or aligned border edges
/// leave, to where the flattest triangle around it is least flat. True if any point moved.
bool mend_flat_triangles(DiscMesh& mesh);

} // namespace Mesh_M::fill
