#include "kelvane/kernel/mesh_check.hpp"

#include "kelvane/kernel/record_index.hpp"

#include <algorithm>
#include <string>
#include <vector>

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::status_deleted;
using Mesh_R::status_normal;

namespace {

std::string number(std::int64_t value) {
    return std::to_string(value);
}

bool has_vertex(const _face& face, const _vert* v) {
    return face.verts[0] == v || face.verts[1] == v || face.verts[2] == v;
}

bool has_edge(const _face& face, const _edge* e) {
    return face.edges[0] == e || face.edges[1] == e || face.edges[2] == e;
}

bool joins(const _edge& edge, const _vert* a, const _vert* b) {
    return (edge.start == a && edge.end == b) || (edge.start == b && edge.end == a);
}

template <class Entry>
bool listed(Entry* const* list, std::int16_t count, const Entry* entry) {
    for (std::int16_t i = 0; i < count; ++i) {
        if (list[i] == entry) {
            return true;
        }
    }
    return false;
}

bool sort_and_find_repeat(std::vector<std::int64_t>& keys) {
    std::sort(keys.begin(), keys.end());
    return std::adjacent_find(keys.begin(), keys.end()) != keys.end();
}

/// The walk over the three stores. Each check returns false once a fault is noted.
class Checker {
  public:
    Checker(const Mesh& mesh_, Marks marks_)
        : mesh(mesh_), marks(marks_), vertices(mesh_.vertices), edges(mesh_.edges),
          faces(mesh_.faces) {}

    // Every entry of a list is found to be right and single, so a record can be missing from a list
    // only if the lists are shorter in sum than they should be. Which one it is takes a search that
    // would be slow around vertices of thousands of faces; it is made only then.
    MeshCheck run() {
        if (walk(mesh.faces, &Checker::check_face) && walk(mesh.edges, &Checker::check_edge) &&
            walk(mesh.vertices, &Checker::check_vertex)) {
            const bool complete = faces_at_edges == 3 * result.live_faces &&
                                  faces_at_vertices == 3 * result.live_faces &&
                                  edges_at_vertices == 2 * result.live_edges;
            if (!complete) {
                walk(mesh.faces, &Checker::check_face_is_listed) &&
                    walk(mesh.edges, &Checker::check_edge_is_listed);
            } else if (result.live_faces != mesh.faces.liveCount) {
                fail("liveCount is " + number(mesh.faces.liveCount) + " but " +
                     number(result.live_faces) + " faces are live");
            }
        }
        return std::move(result);
    }

  private:
    template <class Store, class Record>
    bool walk(const Store& store, bool (Checker::*check)(const Record&)) {
        for (std::int32_t i = 0; i < store.total(); ++i) {
            if (!(this->*check)(store.at(i))) {
                return false;
            }
        }
        return true;
    }

    bool fail(std::string fault) {
        result.fault = std::move(fault);
        return false;
    }

    std::string name(const _vert* v) const { return "vertex " + number(vertices.of(v)); }
    std::string name(const _edge* e) const { return "edge " + number(edges.of(e)); }
    std::string name(const _face* f) const { return "face " + number(faces.of(f)); }

    template <class Record>
    bool check_status(const Record& record) {
        const bool marked =
            record.status == Mesh_R::status_walked || record.status == Mesh_R::status_cut;
        return record.status == status_normal || (marked && marks == Marks::of_a_run) ||
               fail(name(&record) + " has status " + number(record.status));
    }

    bool check_face(const _face& face) {
        if (face.status == status_deleted) {
            return true;
        }
        ++result.live_faces;
        for (const _vert* v : face.verts) {
            if (vertices.of(v) < 0) {
                return fail(name(&face) + " has a vertex outside the store");
            }
        }
        for (const _edge* e : face.edges) {
            if (edges.of(e) < 0) {
                return fail(name(&face) + " has an edge outside the store");
            }
        }
        return check_status(face) && check_face_corners(face) && check_face_sides(face);
    }

    bool check_face_corners(const _face& face) {
        const _vert* const* v = face.verts;
        if (v[0] == v[1] || v[0] == v[2] || v[1] == v[2]) {
            return fail(name(&face) + " has a vertex twice");
        }
        for (const _vert* vertex : face.verts) {
            if (vertex->status == status_deleted) {
                return fail(name(&face) + " has the deleted " + name(vertex));
            }
        }
        return true;
    }

    // An edge flip keeps slots, so the sides may stand in any order.
    bool check_face_sides(const _face& face) {
        for (int side = 0; side < 3; ++side) {
            const _vert* a = face.verts[side];
            const _vert* b = face.verts[(side + 1) % 3];
            if (std::none_of(face.edges, face.edges + 3,
                             [&](const _edge* e) { return joins(*e, a, b); })) {
                return fail(name(&face) + " has no edge between " + name(a) + " and " + name(b));
            }
        }
        for (const _edge* edge : face.edges) {
            if (edge->status == status_deleted) {
                return fail(name(&face) + " has the deleted " + name(edge));
            }
        }
        return true;
    }

    bool check_edge(const _edge& edge) {
        if (edge.status == status_deleted) {
            return edge.faceCount == 0 || fail("the deleted " + name(&edge) + " has faces");
        }
        ++result.live_edges;
        faces_at_edges += edge.faceCount;
        result.boundary_edges += edge.faceCount == 1;
        result.non_manifold_edges += edge.faceCount > 2;
        if (!check_status(edge)) {
            return false;
        }
        if (edge.faceCount <= 0) {
            return fail(name(&edge) + " has no face");
        }
        if (edge.start == edge.end) {
            return fail(name(&edge) + " has the same vertex at both ends");
        }
        for (const _vert* v : {edge.start, edge.end}) {
            if (vertices.of(v) < 0) {
                return fail(name(&edge) + " has an end outside the store");
            }
            if (v->status == status_deleted) {
                return fail(name(&edge) + " has the deleted " + name(v));
            }
        }
        return check_faces_of_edge(edge);
    }

    // Faces with the same vertices share the vertex opposite the edge, so those must be different.
    bool check_faces_of_edge(const _edge& edge) {
        keys.clear();
        for (std::int16_t k = 0; k < edge.faceCount; ++k) {
            const _face* face = edge.faces[k];
            if (faces.of(face) < 0) {
                return fail(name(&edge) + " lists a face outside the store");
            }
            if (face->status == status_deleted || !has_edge(*face, &edge)) {
                return fail(name(&edge) + " lists " + name(face) +
                            ", which is deleted or elsewhere");
            }
            for (const _vert* v : face->verts) {
                if (v != edge.start && v != edge.end) {
                    keys.push_back(vertices.of(v));
                }
            }
        }
        return !sort_and_find_repeat(keys) ||
               fail(name(&edge) + " has two faces over the same vertices");
    }

    bool check_vertex(const _vert& vertex) {
        if (vertex.status == status_deleted) {
            return (vertex.faceCount == 0 && vertex.edgeCount == 0) ||
                   fail("the deleted " + name(&vertex) + " has edges or faces");
        }
        ++result.live_vertices;
        faces_at_vertices += vertex.faceCount;
        edges_at_vertices += vertex.edgeCount;
        result.pinch_vertices += vertex.edgeCount - vertex.faceCount > 1;
        if (!check_status(vertex)) {
            return false;
        }
        if (vertex.edgeCount < 0 || vertex.faceCount < 0) {
            return fail(name(&vertex) + " has a negative count");
        }
        return check_edges_of_vertex(vertex) && check_faces_of_vertex(vertex);
    }

    bool check_edges_of_vertex(const _vert& vertex) {
        keys.clear();
        for (std::int16_t k = 0; k < vertex.edgeCount; ++k) {
            const _edge* edge = vertex.edges[k];
            if (edges.of(edge) < 0) {
                return fail(name(&vertex) + " lists an edge outside the store");
            }
            if (edge->status == status_deleted ||
                (edge->start != &vertex && edge->end != &vertex)) {
                return fail(name(&vertex) + " lists " + name(edge) +
                            ", which is deleted or elsewhere");
            }
            keys.push_back(vertices.of(edge->start == &vertex ? edge->end : edge->start));
        }
        return !sort_and_find_repeat(keys) ||
               fail(name(&vertex) + " has two edges to the same vertex");
    }

    bool check_faces_of_vertex(const _vert& vertex) {
        keys.clear();
        for (std::int16_t k = 0; k < vertex.faceCount; ++k) {
            const _face* face = vertex.faces[k];
            if (faces.of(face) < 0) {
                return fail(name(&vertex) + " lists a face outside the store");
            }
            if (face->status == status_deleted || !has_vertex(*face, &vertex)) {
                return fail(name(&vertex) + " lists " + name(face) +
                            ", which is deleted or elsewhere");
            }
            keys.push_back(faces.of(face));
        }
        return !sort_and_find_repeat(keys) || fail(name(&vertex) + " lists a face twice");
    }

    bool check_face_is_listed(const _face& face) {
        for (int k = 0; face.status != status_deleted && k < 3; ++k) {
            const _vert* vertex = face.verts[k];
            if (!listed(vertex->faces, vertex->faceCount, &face)) {
                return fail(name(&face) + " is not in the list of " + name(vertex));
            }
            const _edge* edge = face.edges[k];
            if (!listed(edge->faces, edge->faceCount, &face)) {
                return fail(name(&face) + " is not in the list of " + name(edge));
            }
        }
        return true;
    }

    bool check_edge_is_listed(const _edge& edge) {
        for (const _vert* vertex : {edge.start, edge.end}) {
            if (edge.status != status_deleted && !listed(vertex->edges, vertex->edgeCount, &edge)) {
                return fail(name(&edge) + " is not in the list of " + name(vertex));
            }
        }
        return true;
    }

    const Mesh& mesh;
    Marks marks;
    Mesh_R::RecordIndex<_vert> vertices;
    Mesh_R::RecordIndex<_edge> edges;
    Mesh_R::RecordIndex<_face> faces;
    std::vector<std::int64_t> keys;
    std::int64_t faces_at_edges = 0; ///< sums of the counts of live records
    std::int64_t faces_at_vertices = 0;
    std::int64_t edges_at_vertices = 0;
    MeshCheck result;
};

} // namespace

MeshCheck check_mesh(const Mesh& mesh, Marks marks) {
    return Checker(mesh, marks).run();
}

} // namespace Mesh_M
