// Refinement of the clipped patch to the density of its surroundings: centroid splits after Liepa,
// "Filling Holes in Meshes" (Symposium on Geometry Processing 2003), with the shorter diagonal as
// the criterion of the edge relaxation.
#include "kelvane/triangulator/hole_triangulator.hpp"

#include "kelvane/triangulator/patch_records.hpp"

#include <deque>

namespace KVN {

namespace {

/// A flip stands if the new squared length is below this part of the old one.
constexpr double flip_gain = 0.999999;
/// Passes in all that may add as many faces as the one before them.
constexpr int max_stalls = 10;

struct PatchEdges {
    std::vector<_edge*> inner; ///< two faces of the patch
    std::vector<_edge*> rim;   ///< one face of the patch
};

void clear_scratch_marks(const std::vector<_face*>& faces) {
    constexpr int marks = visit_mark | rim_mark;
    for (_face* f : faces) {
        clear_mark(f, marks);
        for (int k = 0; k < 3; ++k) {
            clear_mark(f->edges[k], marks);
            clear_mark(f->verts[k], marks);
        }
    }
}

/// Tells inner from rim edges. Afterwards the visit mark stands exactly on the inner ones.
PatchEdges sort_edges(const std::vector<_face*>& faces) {
    std::vector<_edge*> seen;
    for (const _face* f : faces) {
        for (_edge* e : f->edges) {
            if (has_mark(e, visit_mark)) {
                clear_mark(e, visit_mark);
            } else {
                set_mark(e, visit_mark);
                seen.push_back(e);
            }
        }
    }
    PatchEdges edges;
    for (_edge* e : seen) {
        if (has_mark(e, visit_mark)) {
            edges.rim.push_back(e);
            clear_mark(e, visit_mark);
        } else {
            edges.inner.push_back(e);
            set_mark(e, visit_mark);
        }
    }
    return edges;
}

/// The ends of the rim edges, each once.
std::vector<_vert*> rim_vertices(const std::vector<_edge*>& rim) {
    std::vector<_vert*> verts;
    for (const _edge* e : rim) {
        for (_vert* v : {e->start, e->end}) {
            if (!has_mark(v, visit_mark)) {
                set_mark(v, visit_mark);
                verts.push_back(v);
            }
        }
    }
    for (_vert* v : verts) {
        clear_mark(v, visit_mark);
    }
    return verts;
}

/// Mean length of the edges at `v` that are not inner edges of the patch; not a number if there are
/// none, which keeps the faces at `v` from being split.
float outer_edge_length(const _vert* v) {
    double sum = 0.0;
    int count = 0;
    for (int k = 0; k < v->edgeCount; ++k) {
        const _edge* e = v->edges[k];
        if (!has_mark(e, visit_mark)) {
            sum += distance(e->start->pos, e->end->pos);
            ++count;
        }
    }
    return static_cast<float>(sum / static_cast<double>(count));
}

float third_of_sum(float a, float b, float c) {
    const float sum = a + b + c;
    return static_cast<float>(static_cast<double>(sum) / 3.0);
}

MemS::Point3v<float> centroid_of(const _face* f) {
    const MemS::Point3v<float>& a = f->verts[0]->pos;
    const MemS::Point3v<float>& b = f->verts[1]->pos;
    const MemS::Point3v<float>& c = f->verts[2]->pos;
    return {third_of_sum(a.x, b.x, c.x), third_of_sum(a.y, b.y, c.y), third_of_sum(a.z, b.z, c.z)};
}

double mean_size(const _face* f) {
    return (static_cast<double>(f->verts[0]->localSize) +
            static_cast<double>(f->verts[1]->localSize) +
            static_cast<double>(f->verts[2]->localSize)) /
           3.0;
}

/// Large against the target lengths at all three corners and at the centroid; density factor
/// sqrt(2).
bool is_large(const _face* f, const MemS::Point3v<float>& centroid, double size) {
    for (const _vert* v : f->verts) {
        const double reach = std::sqrt(2.0) * distance(v->pos, centroid);
        if (!(reach > size && reach > static_cast<double>(v->localSize))) {
            return false;
        }
    }
    return true;
}

/// Marks and queues the edges around a flipped edge, whose best diagonal may have changed.
void queue_neighbours(const _edge* flipped, std::deque<_edge*>& queue) {
    for (int k = 0; k < flipped->faceCount; ++k) {
        for (_edge* e : flipped->faces[k]->edges) {
            if (e != flipped && !has_mark(e, visit_mark) && !has_mark(e, rim_mark)) {
                set_mark(e, visit_mark);
                queue.push_back(e);
            }
        }
    }
}

} // namespace

void HoleTriangulator::refine_patch(std::vector<_face*>& new_faces) {
    if (new_faces.empty()) {
        return;
    }
    clear_scratch_marks(new_faces);
    PatchEdges edges = sort_edges(new_faces);
    for (_vert* v : rim_vertices(edges.rim)) {
        v->localSize = outer_edge_length(v);
    }
    for (_edge* e : edges.inner) {
        clear_mark(e, visit_mark);
    }
    for (_edge* e : edges.rim) {
        set_mark(e, rim_mark);
    }

    int stalls = 0;
    int previous = -1;
    while (true) {
        const int added = split_large_faces(new_faces, edges.inner);
        relax_edges(edges.inner);
        if (previous == added) {
            ++stalls; // never reset
        }
        previous = added;
        if (added == 0 || stalls >= max_stalls) {
            return;
        }
    }
}

/// One pass over the faces that stand when it begins. Returns the change of the number of live
/// faces.
int HoleTriangulator::split_large_faces(std::vector<_face*>& new_faces,
                                        std::vector<_edge*>& innerEdges) {
    int added = 0;
    const std::size_t standing = new_faces.size();
    for (std::size_t i = 0; i < standing && mesh->faces.liveCount < memory_guard; ++i) {
        _face* f = new_faces[i];
        if (f->status == Mesh_R::status_deleted) {
            continue;
        }
        const MemS::Point3v<float> centroid = centroid_of(f);
        const double size = mean_size(f);
        if (is_large(f, centroid, size)) {
            added +=
                split_at_centroid(f, centroid, static_cast<float>(size), new_faces, innerEdges);
        }
    }
    return added;
}

/// Replaces a face by three around a new vertex. Only a complete split is entered into the lists:
/// what a refused face leaves takes no further part in the refinement.
int HoleTriangulator::split_at_centroid(_face* face, MemS::Point3v<float> centroid, float size,
                                        std::vector<_face*>& new_faces,
                                        std::vector<_edge*>& innerEdges) {
    const int before = mesh->faces.liveCount;
    _vert* const hub = mesh->vertices.insert_vert(centroid);
    hub->localSize = size;
    hub->flags = 0;

    MemS::Point3v<float> normal = face->normal;
    _face* made[3];
    for (int k = 0; k < 3; ++k) {
        made[k] = mesh->insert_face(face->verts[k], face->verts[(k + 1) % 3], hub, normal);
        if (made[k] != nullptr) {
            made[k]->flags = face->flags;
            clear_spokes(made[k], hub);
        }
    }
    mesh->faces.dele_face(face);

    const int change = mesh->faces.liveCount - before;
    if (change == 2) {
        innerEdges.insert(innerEdges.end(), hub->edges, hub->edges + 3);
        new_faces.insert(new_faces.end(), made, made + 3);
    }
    return change;
}

// Every flip that stands shortens its edge, so the queue drains. A length that is not a number is
// never shorter: asking for "shorter" rather than against "not shorter" is what ends the loop
// there.
void HoleTriangulator::relax_edges(const std::vector<_edge*>& innerEdges) {
    std::deque<_edge*> queue;
    for (_edge* e : innerEdges) {
        queue.push_back(e);
        set_mark(e, visit_mark);
    }
    while (!queue.empty()) {
        _edge* e = queue.front();
        queue.pop_front();
        clear_mark(e, visit_mark);
        const double before = squared_length(e);
        if (!can_flip(e) || !flip_edge(e)) {
            continue;
        }
        if (squared_length(e) < before * flip_gain) {
            queue.push_back(e); // unmarked, so that it may stand in the queue twice
            queue_neighbours(e, queue);
        } else {
            flip_edge(e);
        }
    }
}

} // namespace KVN
