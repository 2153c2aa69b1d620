// Cutting whole spherical blocks out of the mesh.
#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/repair/repair_markers.hpp"

namespace KVN {

Mesh* RepairMarkers::deleteblocks() {
    if (!ready()) {
        return nullptr;
    }
    for (int block = 0; block < blockSphereCount; ++block) {
        const float* sphere = blockSpheres + 4 * static_cast<std::ptrdiff_t>(block);
        for (const int index : vertices_within(sphere[0], sphere[1], sphere[2], sphere[3])) {
            _vert& v = mesh->vertices.at(index);
            Mesh_R::set_mark(&v, Mesh_R::on_ring);
            for (int i = 0; i < v.faceCount; ++i) {
                Mesh_R::set_mark(v.faces[i], Mesh_R::to_delete);
            }
        }
    }
    if (blockSphereCount > 0) {
        delete_marked_faces();
    }
    return mesh;
}

} // namespace KVN
