// The surface that a repair should have found.
#pragma once

#include "triangle_mesh.hpp"

#include <memory>

namespace KVN::bench {

/// A point on a surface and the unit normal there.
struct SurfacePoint {
    Vector3d point;
    Vector3d normal;
};

/// A surface that can be asked for its point closest to another one. Calls may run side by side.
class TruthSurface {
  public:
    virtual ~TruthSurface() = default;
    virtual SurfacePoint closest(const Vector3d& p) const = 0;
};

/// A truth given as a mesh: exact distance to its triangles, normal of the triangle met.
std::unique_ptr<TruthSurface> mesh_truth(TriangleMesh mesh);

} // namespace KVN::bench
