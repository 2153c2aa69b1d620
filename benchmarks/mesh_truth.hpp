// A truth given as a mesh.
#pragma once

#include "support/truth_surface.hpp"
#include "triangle_mesh.hpp"

#include <memory>

namespace KVN::bench {

using support::SurfacePoint;
using support::TruthSurface;

/// Exact distance to the triangles, normal of the triangle met.
std::unique_ptr<TruthSurface> mesh_truth(TriangleMesh mesh);

} // namespace KVN::bench
