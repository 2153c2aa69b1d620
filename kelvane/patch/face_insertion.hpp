// What the two ways of inserting a patch share: making one face by hand, and the working normals.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

#include <vector>

namespace KVN::insertion {

/// The edges of a triangle, in the order that a face holds them: (a, b), (a, c), (b, c).
struct TriangleEdges {
    Mesh_R::_edge* ab;
    Mesh_R::_edge* ac;
    Mesh_R::_edge* bc;
};

/// Makes the edge of the pair and enters it at both ends.
Mesh_R::_edge* make_edge(Mesh_M::Mesh& mesh, Mesh_R::_vert* a, Mesh_R::_vert* b);

/// The three edges of the triangle: each is looked up and, where it is missing, made before the
/// next.
TriangleEdges find_or_make_edges(Mesh_M::Mesh& mesh, Mesh_R::_vert* const (&corners)[3]);

/// The same, but all three are looked up before the first is made. The two differ where a triangle
/// names a vertex twice.
TriangleEdges find_then_make_edges(Mesh_M::Mesh& mesh, Mesh_R::_vert* const (&corners)[3]);

/// True if edge `ab` already carries a face over the same three vertices.
bool face_exists(Mesh_M::Mesh& mesh, Mesh_R::_edge* ab, Mesh_R::_vert* const (&corners)[3]);

/// True if all three corners are vertices that can take one more face and two more edges.
bool has_room(Mesh_R::_vert* const (&corners)[3]);

/// Makes the face and enters it everywhere.
void add_face(Mesh_M::Mesh& mesh, Mesh_R::_vert* const (&corners)[3], const TriangleEdges& edges,
              MemS::Point3v<float>& normal);

/// Working normals of the patch's vertices, in slot order: the normalised mean of the faces'
/// normals. Null and deleted vertices are passed over; the first vertex without a face gets a zero
/// normal and ends the pass for all slots behind it.
void average_normals(const std::vector<Mesh_R::_vert*>& vertices);

} // namespace KVN::insertion
