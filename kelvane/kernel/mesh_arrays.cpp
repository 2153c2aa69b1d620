#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/kernel/record_index.hpp"

namespace Mesh_M {

using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::status_deleted;

namespace {

// Copies the live vertices; returns the place of each store index among them, -1 for a deleted one.
std::vector<std::int32_t> copy_vertices(const Mesh& mesh, MeshArrays& arrays) {
    const std::int32_t total = mesh.vertices.total();
    std::vector<std::int32_t> place(static_cast<std::size_t>(total), -1);
    std::int32_t live = 0;
    for (std::int32_t i = 0; i < total; ++i) {
        if (mesh.vertices.at(i).status != status_deleted) {
            place[static_cast<std::size_t>(i)] = live++;
        }
    }
    arrays.positions.reserve(static_cast<std::size_t>(live) * 3);
    arrays.normals.reserve(static_cast<std::size_t>(live) * 3);
    arrays.stored_as.reserve(static_cast<std::size_t>(live));
    for (std::int32_t i = 0; i < total; ++i) {
        const _vert& v = mesh.vertices.at(i);
        if (v.status != status_deleted) {
            arrays.positions.insert(arrays.positions.end(), {v.pos.x, v.pos.y, v.pos.z});
            arrays.normals.insert(arrays.normals.end(), {v.normal.x, v.normal.y, v.normal.z});
            arrays.stored_as.push_back(i);
        }
    }
    return place;
}

} // namespace

MeshArrays to_arrays(const Mesh& mesh) {
    MeshArrays arrays;
    const std::vector<std::int32_t> place = copy_vertices(mesh, arrays);
    // Callers may have renumbered `index`, so vertices are told by their addresses.
    const Mesh_R::RecordIndex<_vert> vertices(mesh.vertices);
    arrays.triangles.reserve(static_cast<std::size_t>(mesh.faces.liveCount) * 3);
    const std::int32_t total = mesh.faces.total();
    for (std::int32_t i = 0; i < total; ++i) {
        const _face& face = mesh.faces.at(i);
        if (face.status == status_deleted) {
            continue;
        }
        for (const _vert* vertex : face.verts) {
            const std::int32_t stored = vertices.of(vertex);
            arrays.triangles.push_back(stored < 0 ? -1 : place[static_cast<std::size_t>(stored)]);
        }
    }
    return arrays;
}

} // namespace Mesh_M
