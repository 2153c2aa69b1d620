#include "kelvane/kernel/normals.hpp"

#include "kelvane/kernel/mesh_build.hpp"

namespace Mesh_M {

MemS::Point3v<float> face_normal(const MemS::Point3v<float>& p0, const MemS::Point3v<float>& p1,
                                 const MemS::Point3v<float>& p2) {
    const MemS::Point3v<float> a(p0.x - p1.x, p0.y - p1.y, p0.z - p1.z);
    const MemS::Point3v<float> b(p1.x - p2.x, p1.y - p2.y, p1.z - p2.z);
    const MemS::Point3v<float> cross(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z,
                                     a.x * b.y - a.y * b.x);
    const double cross_length = Mesh_R::length(cross);
    // A length that is not a number fails the comparison as well.
    if (!(cross_length > 1e-16)) {
        return {0.0f, 0.0f, 1.0f};
    }
    const double scale = 1.0 / cross_length;
    return {static_cast<float>(cross.x * scale), static_cast<float>(cross.y * scale),
            static_cast<float>(cross.z * scale)};
}

} // namespace Mesh_M
