// The edge flip.
#include "kelvane/triangulator/hole_triangulator.hpp"

#include "kelvane/triangulator/patch_records.hpp"

#include <algorithm>

namespace KVN {

namespace {

/// Takes `entry` out of a list as the kernel does: the last entry takes its slot.
template <class Entry>
void remove_entry(Entry** list, std::int16_t& count, const Entry* entry) {
    Entry** const last = list + count;
    Entry** const found = std::find(list, last, entry);
    if (found != last) {
        *found = *(last - 1);
        --count;
    }
}

template <class Entry, std::size_t N>
void replace_in(Entry* (&slots)[N], const Entry* old, Entry* fresh) {
    Entry** const found = std::find(slots, slots + N, old);
    if (found != slots + N) {
        *found = fresh;
    }
}

void replace_face(_edge* e, const _face* old, _face* fresh) {
    _face** const last = e->faces + e->faceCount;
    _face** const found = std::find(e->faces, last, old);
    if (found != last) {
        *found = fresh;
    }
}

void leave_vertex(_vert* v, const _edge* e, const _face* f) {
    remove_entry(v->edges, v->edgeCount, e);
    remove_entry(v->faces, v->faceCount, f);
}

bool has_room(const _vert* v) {
    return v->edgeCount < Mesh_R::max_list_count && v->faceCount < Mesh_R::max_list_count;
}

/// The cross product in single precision, not normalised. A face without area takes the vertex
/// normal of its second corner.
void recompute_normal(_face* f) {
    const MemS::Point3v<float>& p = f->verts[0]->pos;
    const MemS::Point3v<float>& q = f->verts[1]->pos;
    const MemS::Point3v<float>& r = f->verts[2]->pos;
    const MemS::Point3v<float> u(p.x - q.x, p.y - q.y, p.z - q.z);
    const MemS::Point3v<float> v(q.x - r.x, q.y - r.y, q.z - r.z);
    f->normal =
        MemS::Point3v<float>(u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x);
    if (f->normal.x == 0.0f && f->normal.y == 0.0f && f->normal.z == 0.0f) {
        f->normal = f->verts[1]->normal;
    }
}

} // namespace

bool HoleTriangulator::can_flip(_edge* e) {
    if (e->faceCount != 2) {
        return false;
    }
    const _vert* c = opposite_vertex(e->faces[0], e);
    const _vert* d = opposite_vertex(e->faces[1], e);
    return c != d && mesh->vertices.find_edge(c, d) == nullptr;
}

// With a and b the ends of e, c and d the opposite vertices: the faces f0 over (a, b, c) and f1
// over (a, b, d) become f0 over (a, d, c) and f1 over (c, b, d). All slots keep their place, and so
// the faces their orientation.
bool HoleTriangulator::flip_edge(_edge* e) {
    if (e == nullptr || e->faceCount != 2) {
        return false;
    }
    _vert* const a = e->start;
    _vert* const b = e->end;
    _face* const f0 = e->faces[0];
    _face* const f1 = e->faces[1];
    _vert* const c = opposite_vertex(f0, e);
    _vert* const d = opposite_vertex(f1, e);
    // Without its two different opposite vertices the new edge would join a vertex to itself; a
    // full list would refuse it half way through.
    if (c == nullptr || d == nullptr || c == d || !has_room(c) || !has_room(d) ||
        mesh->vertices.find_edge(c, d) != nullptr) {
        return false;
    }
    _edge* const bc = edge_of_face(f0, b, c);
    _edge* const ad = edge_of_face(f1, a, d);
    if (bc == nullptr || ad == nullptr) {
        return false;
    }

    e->start = c;
    e->end = d;
    replace_face(bc, f0, f1);
    replace_face(ad, f1, f0);
    replace_in(f0->edges, bc, ad);
    replace_in(f0->verts, b, d);
    replace_in(f1->edges, ad, bc);
    replace_in(f1->verts, a, c);

    leave_vertex(a, e, f1);
    leave_vertex(b, e, f0);
    mesh->vertices.insert_face(c, f1);
    mesh->vertices.insert_edge(c, e);
    mesh->vertices.insert_face(d, f0);
    mesh->vertices.insert_edge(d, e);

    recompute_normal(f0);
    recompute_normal(f1);
    for (_vert* v : {a, b, c, d}) {
        mesh->vertices.R_cal_vector(v);
    }
    return true;
}

} // namespace KVN
