// The outline of an open surface.
#pragma once

#include "triangle_mesh.hpp"

#include <utility>
#include <vector>

namespace KVN::bench {

/// Edges with one face, by their ends.
using Outline = std::vector<std::pair<Vector3d, Vector3d>>;

Outline outline_of(const TriangleMesh& mesh);

/// Of a point from the nearest edge, mm; infinite if there is none. Looks at every edge.
double distance_to(const Outline& outline, const Vector3d& p);

} // namespace KVN::bench
