// Small words about records that all stages speak.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

namespace Mesh_R {

inline bool is_end(const _edge* e, const _vert* v) {
    return e->start == v || e->end == v;
}

/// The end that is not `v`; `start` where `v` is no end at all.
inline _vert* other_end(const _edge* e, const _vert* v) {
    return e->start == v ? e->end : e->start;
}

/// True if two edges share an end.
inline bool meet(const _edge* a, const _edge* b) {
    return is_end(b, a->start) || is_end(b, a->end);
}

/// A vertex at which several boundary runs meet.
inline bool is_pinch(const _vert* v) {
    return v->edgeCount - v->faceCount > 1;
}

/// Number of boundary edges at `v`.
inline int boundary_edge_count(const _vert* v) {
    int count = 0;
    for (int i = 0; i < v->edgeCount; ++i) {
        if (v->edges[i]->faceCount == 1) {
            ++count;
        }
    }
    return count;
}

/// Position of `v` among the face's corners, or `otherwise`.
inline int position_in(const _face* face, const _vert* v, int otherwise) {
    for (int i = 0; i < 3; ++i) {
        if (face->verts[i] == v) {
            return i;
        }
    }
    return otherwise;
}

} // namespace Mesh_R
