#include "kelvane/patch/face_insertion.hpp"

#include <cmath>

namespace KVN::insertion {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

_edge* make_edge(Mesh_M::Mesh& mesh, _vert* a, _vert* b) {
    _edge* edge = mesh.edges.insert_edge(a, b);
    mesh.vertices.insert_edge(edge);
    return edge;
}

TriangleEdges find_or_make_edges(Mesh_M::Mesh& mesh, _vert* const (&corners)[3]) {
    const auto find_or_make = [&mesh](_vert* a, _vert* b) {
        _edge* edge = mesh.vertices.find_edge(a, b);
        return edge != nullptr ? edge : make_edge(mesh, a, b);
    };
    return {find_or_make(corners[0], corners[1]), find_or_make(corners[0], corners[2]),
            find_or_make(corners[1], corners[2])};
}

TriangleEdges find_then_make_edges(Mesh_M::Mesh& mesh, _vert* const (&corners)[3]) {
    TriangleEdges edges = {mesh.vertices.find_edge(corners[0], corners[1]),
                           mesh.vertices.find_edge(corners[0], corners[2]),
                           mesh.vertices.find_edge(corners[1], corners[2])};
    if (edges.ab == nullptr) {
        edges.ab = make_edge(mesh, corners[0], corners[1]);
    }
    if (edges.ac == nullptr) {
        edges.ac = make_edge(mesh, corners[0], corners[2]);
    }
    if (edges.bc == nullptr) {
        edges.bc = make_edge(mesh, corners[1], corners[2]);
    }
    return edges;
}

bool face_exists(Mesh_M::Mesh& mesh, _edge* ab, _vert* const (&corners)[3]) {
    _face probe;
    for (int i = 0; i < 3; ++i) {
        probe.verts[i] = corners[i];
    }
    return mesh.edges.find_face(ab, &probe) != nullptr;
}

bool has_room(_vert* const (&corners)[3]) {
    for (const _vert* v : corners) {
        if (v == nullptr || v->faceCount >= Mesh_R::max_list_count ||
            v->edgeCount >= Mesh_R::max_list_count - 1) {
            return false;
        }
    }
    return true;
}

void add_face(Mesh_M::Mesh& mesh, _vert* const (&corners)[3], const TriangleEdges& edges,
              MemS::Point3v<float>& normal) {
    _face* face = mesh.faces.insert_face(corners[0], corners[1], corners[2], edges.ab, edges.ac,
                                         edges.bc, normal);
    mesh.vertices.insert_face(face);
    mesh.edges.insert_face(face);
}

void average_normals(const std::vector<_vert*>& vertices) {
    for (_vert* v : vertices) {
        if (v == nullptr || v->status == Mesh_R::status_deleted) {
            continue;
        }
        MemS::Point3v<float> n;
        v->normal = n;
        if (v->faceCount <= 0) {
            return;
        }
        for (int i = 0; i < v->faceCount; ++i) {
            n.x += v->faces[i]->normal.x;
            n.y += v->faces[i]->normal.y;
            n.z += v->faces[i]->normal.z;
        }
        const double count = v->faceCount;
        n.x = static_cast<float>(n.x / count);
        n.y = static_cast<float>(n.y / count);
        n.z = static_cast<float>(n.z / count);
        const double x = n.x, y = n.y, z = n.z;
        const double length = std::sqrt(x * x + y * y + z * z);
        if (length == 0.0) {
            v->normal = v->faces[0]->normal;
        } else {
            v->normal =
                MemS::Point3v<float>(static_cast<float>(x / length), static_cast<float>(y / length),
                                     static_cast<float>(z / length));
        }
    }
}

} // namespace KVN::insertion
