#include "mesh_truth.hpp"

#include "kelvane/toolkit/measure/surface_distance.hpp"

#include <Eigen/Geometry>

namespace KVN::bench {

namespace {

class MeshTruth : public TruthSurface {
  public:
    explicit MeshTruth(TriangleMesh m) : mesh(std::move(m)), surface(mesh) {}

    SurfacePoint closest(const Vector3d& p) const override {
        const toolkit::SurfacePoint met = surface.closest(p.x(), p.y(), p.z());
        if (met.triangle < 0) {
            return {p, Vector3d::Zero()};
        }
        const auto t = mesh.corners(met.triangle);
        return {Vector3d(met.position.data()), (t[1] - t[0]).cross(t[2] - t[0]).normalized()};
    }

  private:
    TriangleMesh mesh;
    toolkit::SurfaceDistance surface;
};

} // namespace

std::unique_ptr<TruthSurface> mesh_truth(TriangleMesh mesh) {
    return std::make_unique<MeshTruth>(std::move(mesh));
}

} // namespace KVN::bench
