#include "kelvane/kernel/adjacency.hpp"
#include "kelvane/kernel/block_store.hpp"
#include "kelvane/kernel/normals.hpp"

namespace Mesh_R {

template class BlockStore<_vert>;

Vertex::Vertex() : lists(new ListPool) {}

Vertex::~Vertex() {
    release();
    delete lists;
}

_vert* Vertex::insert_vert(MemS::Point3v<float>& position) {
    const std::int32_t place = total();
    _vert* vertex = append();
    vertex->pos = position;
    vertex->index = place;
    return vertex;
}

_edge* Vertex::find_edge(const _vert* a, const _vert* b) const {
    return a != nullptr && b != nullptr ? edge_between(a, b) : nullptr;
}

void Vertex::insert_edge(_edge* edge) {
    if (edge != nullptr) {
        insert_edge(edge->start, edge);
        insert_edge(edge->end, edge);
    }
}

void Vertex::insert_edge(_vert* vertex, _edge* edge) {
    if (vertex != nullptr && edge != nullptr) {
        append_entry(*lists, vertex->edges, vertex->edgeCount, vertex->edge_capacity_log2,
                     first_vertex_list_log2, edge);
    }
}

void Vertex::insert_face(_face* face) {
    if (face != nullptr) {
        for (_vert* vertex : face->verts) {
            insert_face(vertex, face);
        }
    }
}

void Vertex::insert_face(_vert* vertex, _face* face) {
    if (vertex != nullptr && face != nullptr) {
        append_entry(*lists, vertex->faces, vertex->faceCount, vertex->face_capacity_log2,
                     first_vertex_list_log2, face);
    }
}

void Vertex::R_cal_vector() {
    for (std::int32_t block = 0; block <= fullBlocks; ++block) {
        const std::int32_t used = block < fullBlocks ? blockSize : lastCount;
        for (std::int32_t slot = 0; slot < used; ++slot) {
            R_cal_vector(blocks[block] + slot);
        }
    }
}

void Vertex::R_cal_vector(_vert* vertex) {
    if (vertex == nullptr || vertex->status == status_deleted || vertex->faceCount <= 0) {
        return;
    }
    MemS::Point3v<float> sum;
    for (std::int16_t i = 0; i < vertex->faceCount; ++i) {
        const MemS::Point3v<float>& normal = vertex->faces[i]->normal;
        sum.x += normal.x;
        sum.y += normal.y;
        sum.z += normal.z;
    }
    vertex->normal = mean_direction(sum, vertex->faceCount, vertex->faces[0]->normal);
}

} // namespace Mesh_R
