// Measures and small look-ups on the records of the triangulator's temporary mesh. Internal to the
// triangulator.
#pragma once

#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/kernel/record_words.hpp"

#include <Eigen/Core>

#include <cmath>

namespace KVN {

using Mesh_R::clear_mark;
using Mesh_R::has_mark;
using Mesh_R::is_end;
using Mesh_R::keep_bit;
using Mesh_R::other_end;
using Mesh_R::rejected_bit;
using Mesh_R::rim_mark;
using Mesh_R::set_mark;
using Mesh_R::visit_mark;

/// p - q: subtracted in single precision, then widened.
inline Eigen::Vector3d difference(const MemS::Point3v<float>& p, const MemS::Point3v<float>& q) {
    const float x = p.x - q.x;
    const float y = p.y - q.y;
    const float z = p.z - q.z;
    return {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
}

/// Sum of squares from left to right. Written out because a library's reduction may add in another
/// order, which shows in the last bit.
inline double squared_norm(const Eigen::Vector3d& v) {
    return v.x() * v.x() + v.y() * v.y() + v.z() * v.z();
}

inline double distance(const MemS::Point3v<float>& p, const MemS::Point3v<float>& q) {
    return std::sqrt(squared_norm(difference(p, q)));
}

inline double squared_length(const Mesh_R::_edge* e) {
    return squared_norm(difference(e->start->pos, e->end->pos));
}

/// Slot of the vertex of `f` that is not an end of `e`; the last such slot, -1 if there is none.
inline int opposite_slot(const Mesh_R::_face* f, const Mesh_R::_edge* e) {
    for (int slot = 2; slot >= 0; --slot) {
        if (!is_end(e, f->verts[slot])) {
            return slot;
        }
    }
    return -1;
}

/// The vertex in that slot, or null.
inline Mesh_R::_vert* opposite_vertex(const Mesh_R::_face* f, const Mesh_R::_edge* e) {
    const int slot = opposite_slot(f, e);
    return slot < 0 ? nullptr : f->verts[slot];
}

/// The edge of `f` that joins `a` and `b`, or null. Told by the ends: a flip changes the slots.
inline Mesh_R::_edge* edge_of_face(const Mesh_R::_face* f, const Mesh_R::_vert* a,
                                   const Mesh_R::_vert* b) {
    for (Mesh_R::_edge* e : f->edges) {
        if (is_end(e, a) && is_end(e, b)) {
            return e;
        }
    }
    return nullptr;
}

/// Zeroes the flags of the two edges of `f` that meet at its vertex `v`.
inline void clear_spokes(Mesh_R::_face* f, const Mesh_R::_vert* v) {
    for (Mesh_R::_edge* e : f->edges) {
        if (is_end(e, v)) {
            e->flags = 0;
        }
    }
}

} // namespace KVN
