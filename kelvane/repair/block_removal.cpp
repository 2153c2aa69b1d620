// Cutting whole spherical blocks out of the mesh.
#include "kelvane/repair/repair_markers.hpp"

namespace KVN {

Mesh* RepairMarkers::deleteblocks() {
    constexpr std::uint8_t marked = 2; // on a vertex: in a block; on a face: to be deleted
    if (!ready()) {
        return nullptr;
    }
    for (int block = 0; block < blockSphereCount; ++block) {
        const float* sphere = blockSpheres + 4 * static_cast<std::ptrdiff_t>(block);
        for (const int index : vertices_within(sphere[0], sphere[1], sphere[2], sphere[3])) {
            _vert& v = mesh->vertices.at(index);
            v.flags |= marked;
            for (int i = 0; i < v.faceCount; ++i) {
                v.faces[i]->flags |= marked;
            }
        }
    }
    if (blockSphereCount > 0) {
        delete_marked_faces();
    }
    return mesh;
}

} // namespace KVN
