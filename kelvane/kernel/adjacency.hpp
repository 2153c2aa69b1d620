// Internal: the edits of adjacency lists and the searches in them.
#pragma once

#include "kelvane/kernel/list_pool.hpp"
#include "kelvane/kernel/mesh_kernel.hpp"

#include <algorithm>

namespace Mesh_R {

// First room of a list, as a power of two: most vertices outgrow it once, most edges never do.
constexpr std::uint8_t first_vertex_list_log2 = 2;
constexpr std::uint8_t first_edge_list_log2 = 1;

/// Appends to a list. A list that grows takes its stale slots along. False, with nothing changed,
/// when the 16-bit count is at its end.
template <class Entry>
bool append_entry(ListPool& pool, Entry**& list, std::int16_t& count, std::uint8_t& capacity_log2,
                  std::uint8_t first_log2, Entry* entry) {
    if (count == max_list_count) {
        return false;
    }
    if (list == nullptr) {
        list = static_cast<Entry**>(pool.take(first_log2));
        capacity_log2 = first_log2;
    } else if (count == 1 << capacity_log2) {
        Entry** grown = static_cast<Entry**>(pool.take(capacity_log2 + 1u));
        std::copy(list, list + count, grown);
        pool.give_back(list, capacity_log2);
        list = grown;
        ++capacity_log2;
    }
    list[count++] = entry;
    return true;
}

/// Overwrites the first `entry` of a list by the last entry and lowers the count. The last slot
/// keeps its pointer.
template <class Entry>
void remove_entry(Entry** list, std::int16_t& count, const Entry* entry) {
    for (std::int16_t i = 0; i < count; ++i) {
        if (list[i] == entry) {
            list[i] = list[--count];
            return;
        }
    }
}

/// The live edge between two vertices, searched in the shorter of their lists.
inline _edge* edge_between(const _vert* a, const _vert* b) {
    if (b->edgeCount < a->edgeCount) {
        std::swap(a, b);
    }
    for (std::int16_t i = 0; i < a->edgeCount; ++i) {
        _edge* edge = a->edges[i];
        const bool joins =
            (edge->start == a && edge->end == b) || (edge->start == b && edge->end == a);
        if (joins && edge->status != status_deleted) {
            return edge;
        }
    }
    return nullptr;
}

/// Whether two faces have the same three vertices, in whatever order.
inline bool same_vertices(const _face& f, const _face& g) {
    const auto rest = [&](int i, int j) {
        return (f.verts[1] == g.verts[i] && f.verts[2] == g.verts[j]) ||
               (f.verts[1] == g.verts[j] && f.verts[2] == g.verts[i]);
    };
    return (f.verts[0] == g.verts[0] && rest(1, 2)) || (f.verts[0] == g.verts[1] && rest(0, 2)) ||
           (f.verts[0] == g.verts[2] && rest(0, 1));
}

/// The first face of an edge's list with the vertices of `probe`, or null.
inline _face* face_at_edge(const _edge& edge, const _face& probe) {
    for (std::int16_t i = 0; i < edge.faceCount; ++i) {
        if (same_vertices(*edge.faces[i], probe)) {
            return edge.faces[i];
        }
    }
    return nullptr;
}

} // namespace Mesh_R
