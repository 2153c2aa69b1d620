#include "kelvane/kernel/adjacency.hpp"
#include "kelvane/kernel/block_store.hpp"

namespace Mesh_R {

template class BlockStore<_face>;

namespace {

// An edge that has lost its last face leaves the lists of its ends.
void delete_if_bare(_edge* edge) {
    if (edge->faceCount > 0 || edge->status == status_deleted) {
        return;
    }
    edge->status = status_deleted;
    for (_vert* vertex : {edge->start, edge->end}) {
        if (vertex != nullptr) {
            remove_entry(vertex->edges, vertex->edgeCount, edge);
        }
    }
}

} // namespace

Face::~Face() {
    release();
}

_face* Face::insert_face(_vert* a, _vert* b, _vert* c, _edge* ab, _edge* ac, _edge* bc,
                         MemS::Point3v<float>& normal) {
    _face* face = append();
    face->verts[0] = a;
    face->verts[1] = b;
    face->verts[2] = c;
    face->edges[0] = ab;
    face->edges[1] = ac;
    face->edges[2] = bc;
    face->normal = normal;
    ++liveCount;
    return face;
}

void Face::dele_face(_face* face) {
    if (face == nullptr || face->status == status_deleted) {
        return;
    }
    face->status = status_deleted;
    --liveCount;
    for (_edge* edge : face->edges) {
        if (edge != nullptr) {
            remove_entry(edge->faces, edge->faceCount, face);
        }
    }
    for (_vert* vertex : face->verts) {
        if (vertex != nullptr) {
            remove_entry(vertex->faces, vertex->faceCount, face);
        }
    }
    for (_edge* edge : face->edges) {
        if (edge != nullptr) {
            delete_if_bare(edge);
        }
    }
    for (_vert* vertex : face->verts) {
        if (vertex != nullptr && vertex->faceCount == 0) {
            vertex->status = status_deleted;
        }
    }
}

} // namespace Mesh_R
