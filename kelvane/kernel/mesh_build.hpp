// Whole meshes in and out of the kernel as compact arrays.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Mesh_M {

/// What a bulk build did with the triangles that it was given; the five counts add up to all.
struct BuildReport {
    std::int64_t inserted = 0;     ///< faces that the mesh took
    std::int64_t out_of_range = 0; ///< an index below 0 or not below the number of positions
    std::int64_t degenerate = 0;   ///< the same index twice
    std::int64_t duplicate = 0;    ///< a face over the same three vertices exists already
    std::int64_t overfull = 0; ///< an edge or vertex already has as many records as its count holds

    std::int64_t refused() const {
        return out_of_range + degenerate + duplicate + overfull;
    } ///< all that it did not take
};

/// Fills the empty mesh `mesh` from `vertex_count` positions (x, y, z each, 3 floats per vertex)
/// and `triangle_count` index triples, in order, and computes all face normals and then all vertex
/// normals. Vertex i of the store is position i. Stores and lists come out as if every vertex had
/// been inserted with `insert_vert` and then every triangle, in order, with `Mesh::insert_face`;
/// only much faster. A vertex that no face uses stays in the mesh, alive, with a zero normal.
///
/// Throws std::invalid_argument if the mesh is not empty, std::length_error if there are more
/// vertices, edges or faces than a store can count, std::bad_alloc; the mesh is then empty.
KELVANE_EXPORT BuildReport build_mesh(Mesh& mesh, const float* positions, std::size_t vertex_count,
                                      const std::int32_t* triangles, std::size_t triangle_count);

/// A mesh as plain arrays.
struct MeshArrays {
    std::vector<float> positions;        ///< x, y, z per vertex
    std::vector<float> normals;          ///< x, y, z per vertex
    std::vector<std::int32_t> triangles; ///< three indices per face, in store order
    std::vector<std::int32_t> stored_as; ///< store index of each vertex
};

/// The live vertices in store order, bit for bit, and the live faces in store order. Vertices that
/// the mesh was built from so come first and in their order, later ones after them.
KELVANE_EXPORT MeshArrays to_arrays(const Mesh& mesh);

/// The unit normal of (p0 - p1) x (p1 - p2): differences and products in single precision, length
/// and division in double. (0, 0, 1) where the cross product is not longer than 1e-16.
KELVANE_EXPORT MemS::Point3v<float> face_normal(const MemS::Point3v<float>& p0,
                                                const MemS::Point3v<float>& p1,
                                                const MemS::Point3v<float>& p2);

} // namespace Mesh_M
