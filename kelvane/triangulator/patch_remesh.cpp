// The incremental loop of split, collapse, flip and relaxation (after Botsch and Kobbelt, "A
// Remeshing Approach to Multiresolution Modeling", 2004) on the records that the triangulator made.
#include "kelvane/triangulator/hole_triangulator.hpp"

#include "kelvane/triangulator/patch_records.hpp"

namespace KVN {

namespace {

constexpr int cycles = 10;
/// Passes of one kind within a cycle; one that changes nothing ends them earlier.
constexpr int max_passes = 10;
/// The targets never fall below those of this mean length. Mesh units.
constexpr double least_mean_length = 0.1;
constexpr double split_factor = 1.5;
constexpr double collapse_factor = 0.7;

bool is_free(const _edge& e) {
    return e.status != Mesh_R::status_deleted && !has_mark(&e, keep_bit);
}

float narrowed_squared_length(const _edge* e) {
    return static_cast<float>(squared_length(e));
}

/// Mean distance between consecutive vertices of a closed loop; not a number for an empty one.
float mean_loop_length(const std::vector<_vert*>& loop) {
    float sum = 0.0f;
    for (std::size_t i = 0; i < loop.size(); ++i) {
        const _vert* v = loop[i];
        const _vert* w = loop[(i + 1) % loop.size()];
        if (v != nullptr && w != nullptr) {
            sum = static_cast<float>(static_cast<double>(sum) + distance(v->pos, w->pos));
        }
    }
    return sum / static_cast<float>(loop.size());
}

float midpoint(float a, float b) {
    const float sum = a + b;
    return static_cast<float>(static_cast<double>(sum) * 0.5);
}

/// The end of an edge that a collapse takes away: the start, unless that is to be kept.
_vert* removed_end(const _edge* e) {
    return has_mark(e->start, keep_bit) ? e->end : e->start;
}

bool all_edges_have_two_faces(const _vert* v) {
    for (int k = 0; k < v->edgeCount; ++k) {
        if (v->edges[k]->faceCount != 2) {
            return false;
        }
    }
    return true;
}

/// Number of edges at `v` beyond the regular 6, or 4 on an open rim.
int valence_deviation(const _vert* v) {
    for (int k = 0; k < v->edgeCount; ++k) {
        if (v->edges[k]->faceCount == 1) {
            return v->edgeCount - 4;
        }
    }
    return v->edgeCount - 6;
}

std::int64_t squared(int deviation) {
    return static_cast<std::int64_t>(deviation) * static_cast<std::int64_t>(deviation);
}

} // namespace

void HoleTriangulator::remesh_patch() {
    float length = mean_loop_length(boundary);
    if (least_mean_length > static_cast<double>(length)) {
        length = static_cast<float>(least_mean_length);
    }
    const float lmax = static_cast<float>(static_cast<double>(length) * split_factor);
    const float lmin = static_cast<float>(static_cast<double>(length) * collapse_factor);

    for (int cycle = 0; cycle < cycles; ++cycle) {
        split_long_edges(lmax);
        collapse_short_edges(lmin);
        flip_for_valence();
        relax_patch();
    }
}

void HoleTriangulator::split_long_edges(float lmax) {
    const float limit = lmax * lmax;
    for (int pass = 0; pass < max_passes; ++pass) {
        bool split = false;
        const int total = mesh->edges.total(); // edges made meanwhile are for the next pass
        for (int i = 0; i < total && mesh->faces.liveCount < memory_guard; ++i) {
            _edge& e = mesh->edges.at(i);
            if (is_free(e) && narrowed_squared_length(&e) > limit) {
                split_edge(&e);
                split = true;
            }
        }
        if (!split) {
            return;
        }
    }
}

void HoleTriangulator::split_edge(_edge* e) {
    const int faceCount = e->faceCount;
    if (faceCount != 1 && faceCount != 2) {
        return;
    }
    const MemS::Point3v<float>& p = e->start->pos;
    const MemS::Point3v<float>& q = e->end->pos;
    MemS::Point3v<float> middle(midpoint(p.x, q.x), midpoint(p.y, q.y), midpoint(p.z, q.z));
    _vert* const hub = mesh->vertices.insert_vert(middle);
    hub->flags = 0;

    // Both are read first: with its first face the edge loses its entry.
    _face* const faces[2] = {e->faces[0], faceCount == 2 ? e->faces[1] : nullptr};
    for (int i = 0; i < faceCount; ++i) {
        _face* const f = faces[i];
        const int slot = opposite_slot(f, e);
        if (slot < 0) {
            continue;
        }
        _vert* const tip = f->verts[slot];
        MemS::Point3v<float> normal = f->normal;
        _face* const halves[2] = {
            mesh->insert_face(tip, f->verts[(slot + 1) % 3], hub, normal),
            mesh->insert_face(tip, hub, f->verts[(slot + 2) % 3], normal),
        };
        for (_face* half : halves) {
            if (half != nullptr) {
                half->flags = f->flags;
                clear_spokes(half, hub);
            }
        }
        mesh->faces.dele_face(f);
    }
    if (faceCount == 1) {
        set_mark(hub, keep_bit); // it lies on an open rim and stays there
    }
}

void HoleTriangulator::collapse_short_edges(float lmin) {
    const float limit = lmin * lmin;
    for (int pass = 0; pass < max_passes; ++pass) {
        bool collapsed = false;
        const int total = mesh->edges.total();
        for (int i = 0; i < total; ++i) {
            _edge& e = mesh->edges.at(i);
            if (is_free(e) && limit > narrowed_squared_length(&e) && can_collapse(&e)) {
                collapse_edge(&e);
                collapsed = true;
            }
        }
        if (!collapsed) {
            return;
        }
    }
}

/// Pulls the free end onto the other one, which does not move. The end that goes is deleted by the
/// kernel with its last face.
void HoleTriangulator::collapse_edge(_edge* e) {
    _vert* const removed = removed_end(e);
    _vert* const kept = other_end(e, removed);
    _face* const sides[2] = {e->faces[0], e->faces[1]};
    mesh->faces.dele_face(sides[0]);
    mesh->faces.dele_face(sides[1]);

    // A deletion moves the last entry of the list into the vacated slot and leaves it in its old
    // slot as well. Reading on to the first count so meets every face, past the current count.
    const int count = removed->faceCount;
    for (int i = 0; i < count; ++i) {
        _face* const f = removed->faces[i];
        if (f->status == Mesh_R::status_deleted) {
            continue;
        }
        _vert* corners[3];
        for (int k = 0; k < 3; ++k) {
            corners[k] = f->verts[k] == removed ? kept : f->verts[k];
        }
        MemS::Point3v<float> normal = f->normal;
        mesh->insert_face2(corners[0], corners[1], corners[2], normal);
        mesh->faces.dele_face(f);
    }
}

// The link condition of Dey, Edelsbrunner, Guha and Nekhayev for the inside of a surface: the two
// ends share no neighbour but the two opposite vertices.
bool HoleTriangulator::can_collapse(_edge* e) {
    if (has_mark(e->start, keep_bit) && has_mark(e->end, keep_bit)) {
        return false;
    }
    if (!all_edges_have_two_faces(e->start) || !all_edges_have_two_faces(e->end)) {
        return false;
    }
    const _vert* removed = removed_end(e);
    const _vert* kept = other_end(e, removed);
    const _vert* c = opposite_vertex(e->faces[0], e);
    const _vert* d = opposite_vertex(e->faces[1], e);
    for (int k = 0; k < removed->edgeCount; ++k) {
        const _vert* w = other_end(removed->edges[k], removed);
        if (w != kept && w != c && w != d && mesh->vertices.find_edge(w, kept) != nullptr) {
            return false;
        }
    }
    return true;
}

void HoleTriangulator::flip_for_valence() {
    for (int sweep = 0; sweep < max_passes; ++sweep) {
        bool flipped = false;
        const int total = mesh->edges.total();
        for (int i = 0; i < total; ++i) {
            _edge& e = mesh->edges.at(i);
            if (is_free(e) && flip_lowers_valence(&e) && can_flip(&e)) {
                flip_edge(&e);
                flipped = true;
            }
        }
        if (!flipped) {
            return;
        }
    }
}

bool HoleTriangulator::flip_lowers_valence(_edge* e) {
    if (e->faceCount != 2) {
        return false;
    }
    const _vert* c = opposite_vertex(e->faces[0], e);
    const _vert* d = opposite_vertex(e->faces[1], e);
    if (c == nullptr || d == nullptr) {
        return false;
    }
    const int at_a = valence_deviation(e->start);
    const int at_b = valence_deviation(e->end);
    const int at_c = valence_deviation(c);
    const int at_d = valence_deviation(d);
    const std::int64_t before = squared(at_a) + squared(at_b) + squared(at_c) + squared(at_d);
    const std::int64_t after =
        squared(at_a - 1) + squared(at_b - 1) + squared(at_c + 1) + squared(at_d + 1);
    return before > after;
}

} // namespace KVN
