// Internal: the one way in which the kernel adds a face with all its adjacency, shared by
// Mesh::insert_face and the bulk build.
#pragma once

#include "kelvane/kernel/adjacency.hpp"
#include "kelvane/kernel/block_store.hpp"

namespace Mesh_M {

/// What became of a face that was to be added.
enum class Insertion {
    made,
    bad_vertex, ///< null, deleted or named twice
    duplicate,  ///< a face over the same vertices exists
    overfull,   ///< a 16-bit count is at its end
};

/// Adds faces to one mesh, and prepares it for many.
class MeshBuilder {
  public:
    explicit MeshBuilder(Mesh& target) : mesh(target) {}

    /// Adds the face (a, b, c): finds or makes its edges in the order (a, b), (a, c), (b, c), then
    /// makes the face and enters it everywhere. Any result but `made` leaves the mesh unchanged.
    /// Throws std::length_error, with the mesh unchanged, when a store is full.
    Insertion add_face(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                       const MemS::Point3v<float>& normal, Mesh_R::_face*& made);

    /// Makes room in the stores and pools for a mesh of that many vertices and triangles.
    void reserve(std::size_t vertex_count, std::size_t triangle_count, std::size_t list_entries);

    /// Appends a vertex whose lists have room for `valence` faces and edges from the start.
    Mesh_R::_vert* add_vertex(const float* position, std::int32_t valence);

  private:
    static bool full_edge(const Mesh_R::_edge* edge) {
        return edge != nullptr && edge->faceCount == Mesh_R::max_list_count;
    }

    // `e` and `f` are the new face's edges at the vertex, null where they have to be made.
    static bool full_vertex(const Mesh_R::_vert* vertex, const Mesh_R::_edge* e,
                            const Mesh_R::_edge* f) {
        const int new_edges = int{e == nullptr} + int{f == nullptr};
        return vertex->faceCount == Mesh_R::max_list_count ||
               vertex->edgeCount > Mesh_R::max_list_count - new_edges;
    }

    Mesh_R::_edge* make_edge(Mesh_R::_vert* start, Mesh_R::_vert* end);
    Mesh_R::_face* make_face(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                             Mesh_R::_edge* ab, Mesh_R::_edge* ac, Mesh_R::_edge* bc,
                             const MemS::Point3v<float>& normal);
    void append_to(Mesh_R::_vert* vertex, Mesh_R::_edge* edge);
    void append_to(Mesh_R::_vert* vertex, Mesh_R::_face* face);
    void append_to(Mesh_R::_edge* edge, Mesh_R::_face* face);

    Mesh& mesh;
};

inline void MeshBuilder::append_to(Mesh_R::_vert* vertex, Mesh_R::_edge* edge) {
    Mesh_R::append_entry(*mesh.vertices.lists, vertex->edges, vertex->edgeCount,
                         vertex->edge_capacity_log2, Mesh_R::first_vertex_list_log2, edge);
}

inline void MeshBuilder::append_to(Mesh_R::_vert* vertex, Mesh_R::_face* face) {
    Mesh_R::append_entry(*mesh.vertices.lists, vertex->faces, vertex->faceCount,
                         vertex->face_capacity_log2, Mesh_R::first_vertex_list_log2, face);
}

inline void MeshBuilder::append_to(Mesh_R::_edge* edge, Mesh_R::_face* face) {
    Mesh_R::append_entry(*mesh.edges.lists, edge->faces, edge->faceCount, edge->face_capacity_log2,
                         Mesh_R::first_edge_list_log2, face);
}

inline Mesh_R::_edge* MeshBuilder::make_edge(Mesh_R::_vert* start, Mesh_R::_vert* end) {
    Mesh_R::_edge* edge = mesh.edges.append();
    edge->start = start;
    edge->end = end;
    append_to(start, edge);
    append_to(end, edge);
    return edge;
}

inline Mesh_R::_face* MeshBuilder::make_face(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                                             Mesh_R::_edge* ab, Mesh_R::_edge* ac,
                                             Mesh_R::_edge* bc,
                                             const MemS::Point3v<float>& normal) {
    Mesh_R::_face* face = mesh.faces.append();
    face->verts[0] = a;
    face->verts[1] = b;
    face->verts[2] = c;
    face->edges[0] = ab;
    face->edges[1] = ac;
    face->edges[2] = bc;
    face->normal = normal;
    ++mesh.faces.liveCount;
    for (Mesh_R::_vert* vertex : face->verts) {
        append_to(vertex, face);
    }
    for (Mesh_R::_edge* edge : face->edges) {
        append_to(edge, face);
    }
    return face;
}

inline Insertion MeshBuilder::add_face(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                                       const MemS::Point3v<float>& normal, Mesh_R::_face*& made) {
    using Mesh_R::status_deleted;
    if (a == nullptr || b == nullptr || c == nullptr || a == b || a == c || b == c ||
        a->status == status_deleted || b->status == status_deleted || c->status == status_deleted) {
        return Insertion::bad_vertex;
    }
    Mesh_R::_edge* ab = Mesh_R::edge_between(a, b);
    Mesh_R::_edge* ac = Mesh_R::edge_between(a, c);
    Mesh_R::_edge* bc = Mesh_R::edge_between(b, c);
    if (ab != nullptr && ac != nullptr && bc != nullptr) {
        Mesh_R::_face probe;
        probe.verts[0] = a;
        probe.verts[1] = b;
        probe.verts[2] = c;
        if (Mesh_R::face_at_edge(*ab, probe) != nullptr) {
            return Insertion::duplicate;
        }
    }
    if (full_edge(ab) || full_edge(ac) || full_edge(bc) || full_vertex(a, ab, ac) ||
        full_vertex(b, ab, bc) || full_vertex(c, ac, bc)) {
        return Insertion::overfull;
    }
    // Blocks first: a store that cannot grow stops the face before anything is changed.
    mesh.edges.reserve_more(3);
    mesh.faces.reserve_more(1);
    ab = ab != nullptr ? ab : make_edge(a, b);
    ac = ac != nullptr ? ac : make_edge(a, c);
    bc = bc != nullptr ? bc : make_edge(b, c);
    made = make_face(a, b, c, ab, ac, bc, normal);
    return Insertion::made;
}

} // namespace Mesh_M
