#include "kelvane/kernel/adjacency.hpp"
#include "kelvane/kernel/block_store.hpp"

namespace Mesh_R {

template class BlockStore<_edge>;

Edge::Edge() : lists(new ListPool) {}

Edge::~Edge() {
    release();
    delete lists;
}

_edge* Edge::insert_edge(_vert* start, _vert* end) {
    _edge* edge = append();
    edge->start = start;
    edge->end = end;
    return edge;
}

void Edge::insert_face(_face* face) {
    if (face != nullptr) {
        for (_edge* edge : face->edges) {
            insert_face(edge, face);
        }
    }
}

void Edge::insert_face(_edge* edge, _face* face) {
    if (edge != nullptr && face != nullptr) {
        append_entry(*lists, edge->faces, edge->faceCount, edge->face_capacity_log2,
                     first_edge_list_log2, face);
    }
}

_face* Edge::find_face(const _edge* edge, const _face* probe) const {
    return edge != nullptr && probe != nullptr ? face_at_edge(*edge, *probe) : nullptr;
}

} // namespace Mesh_R
