// A guess at the surface that a border loop was cut out of.
#pragma once

#include "kelvane/fill/disc/disc_mesh.hpp"

namespace Mesh_M::fill {

/// Lifts the inner points of a patch over a nearly flat, roundish loop onto a membrane with a
/// bulge. The membrane follows from the loop alone; the bulge is the mean curvature that the
/// raggedness of the loop tells of: where it bends in and out, its points lie on the surface at
/// different distances from the middle. The nearer the patch lies to the surface, the truer are the
/// lengths and angles that a later fairing works with. Other loops leave the patch as it is.
void guess_surface(DiscMesh& mesh, const BorderPlane& plane);

} // namespace Mesh_M::fill
