#include "kelvane/toolkit/scan/scan_mesh.hpp"

#include "kelvane/toolkit/errors.hpp"

#include <utility>

namespace KVN::toolkit {

Mesh_M::BuildReport build_from(const Scan& scan, Mesh_M::Mesh& mesh) {
    if (scan.positions.size() % 3 != 0 || scan.triangles.size() % 3 != 0) {
        throw InputError("the scan's arrays do not hold three values per vertex and per face");
    }
    return Mesh_M::build_mesh(mesh, scan.positions.data(), scan.vertex_count(),
                              scan.triangles.data(), scan.face_count());
}

Scan scan_of(const Mesh_M::Mesh& mesh) {
    Mesh_M::MeshArrays arrays = Mesh_M::to_arrays(mesh);
    Scan scan;
    scan.positions = std::move(arrays.positions);
    scan.triangles = std::move(arrays.triangles);
    return scan;
}

} // namespace KVN::toolkit
