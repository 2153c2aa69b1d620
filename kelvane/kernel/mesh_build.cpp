#include "kelvane/kernel/mesh_build.hpp"

#include "kelvane/kernel/mesh_builder.hpp"
#include "kelvane/kernel/normals.hpp"

#include <algorithm>
#include <stdexcept>

namespace Mesh_M {

using Mesh_R::_face;
using Mesh_R::_vert;

namespace {

// The power of two that holds `entries`, at most the longest list.
std::uint8_t room_log2(std::int32_t entries, std::uint8_t least) {
    std::uint8_t log2 = least;
    while ((1 << log2) < std::min<std::int32_t>(entries, Mesh_R::max_list_count)) {
        ++log2;
    }
    return log2;
}

std::size_t list_room(std::int32_t valence) {
    return valence == 0 ? 0 : std::size_t{1} << room_log2(valence, Mesh_R::first_vertex_list_log2);
}

} // namespace

void MeshBuilder::reserve(std::size_t vertex_count, std::size_t triangle_count,
                          std::size_t list_entries) {
    // Euler's formula: a surface has about as many edges as vertices and faces together. Where it
    // has more (loose triangles), the store grows as it goes.
    const std::size_t edge_count = std::min(vertex_count + triangle_count, 3 * triangle_count);
    mesh.vertices.reserve_more(vertex_count);
    mesh.faces.reserve_more(triangle_count);
    mesh.edges.reserve_more(std::min(edge_count, Mesh_R::max_records));
    mesh.vertices.lists->reserve(list_entries);
    mesh.edges.lists->reserve(edge_count << Mesh_R::first_edge_list_log2);
}

_vert* MeshBuilder::add_vertex(const float* position, std::int32_t valence) {
    MemS::Point3v<float> pos(position[0], position[1], position[2]);
    _vert* vertex = mesh.vertices.insert_vert(pos);
    if (valence > 0) {
        // An inner vertex has as many edges as faces; a rim vertex has one more and may have to
        // grow.
        const std::uint8_t log2 = room_log2(valence, Mesh_R::first_vertex_list_log2);
        vertex->edges = static_cast<Mesh_R::_edge**>(mesh.vertices.lists->take(log2));
        vertex->faces = static_cast<_face**>(mesh.vertices.lists->take(log2));
        vertex->edge_capacity_log2 = log2;
        vertex->face_capacity_log2 = log2;
    }
    return vertex;
}

namespace {

/// One bulk build, step by step.
class BulkBuild {
  public:
    BulkBuild(Mesh& target, const float* positions_, std::size_t vertex_count_,
              const std::int32_t* triangles_, std::size_t triangle_count_)
        : mesh(target), builder(target), positions(positions_), vertex_count(vertex_count_),
          triangles(triangles_), triangle_count(triangle_count_) {}

    BuildReport run() {
        make_vertices();
        for (std::size_t i = 0; i < triangle_count; ++i) {
            prefetch(i);
            add_triangle(triangles + 3 * i);
        }
        finish_normals();
        return report;
    }

  private:
    // Asks for the vertices of a coming triangle, then for their lists, then for the edges in
    // these: where triangles come in no order, nearly all time is waiting for memory. Inlined by
    // force, since gcc takes a function that only prefetches for one without effect and drops the
    // call.
    __attribute__((always_inline)) void prefetch(std::size_t i) const {
        const std::size_t last = triangle_count - 1;
        const std::int32_t* far = triangles + 3 * std::min(i + 3 * prefetch_step, last);
        const std::int32_t* middle = triangles + 3 * std::min(i + 2 * prefetch_step, last);
        const std::int32_t* near = triangles + 3 * std::min(i + prefetch_step, last);
        for (std::size_t k = 0; k < 3; ++k) {
            if (in_range(far)) {
                __builtin_prefetch(vertex(far[k]));
            }
            if (in_range(middle)) {
                __builtin_prefetch(vertex(middle[k])->edges);
                __builtin_prefetch(vertex(middle[k])->faces);
            }
            if (in_range(near)) {
                const _vert* v = vertex(near[k]);
                for (std::int16_t e = 0; e < std::min<std::int16_t>(v->edgeCount, 8); ++e) {
                    __builtin_prefetch(v->edges[e]);
                }
            }
        }
    }

    static constexpr std::size_t prefetch_step = 6; // triangles

    bool in_range(const std::int32_t* t) const {
        const auto inside = [&](std::int32_t i) {
            return i >= 0 && static_cast<std::size_t>(i) < vertex_count;
        };
        return inside(t[0]) && inside(t[1]) && inside(t[2]);
    }

    static bool degenerate(const std::int32_t* t) {
        return t[0] == t[1] || t[0] == t[2] || t[1] == t[2];
    }

    _vert* vertex(std::int32_t i) const { return first_vertex + i; }

    // The lists of all vertices are cut in one go, each at the size that it will need.
    void make_vertices() {
        std::vector<std::int32_t> valence(vertex_count, 0);
        for (std::size_t i = 0; i < triangle_count; ++i) {
            const std::int32_t* t = triangles + 3 * i;
            if (in_range(t) && !degenerate(t)) {
                ++valence[static_cast<std::size_t>(t[0])];
                ++valence[static_cast<std::size_t>(t[1])];
                ++valence[static_cast<std::size_t>(t[2])];
            }
        }
        std::size_t entries = 0;
        for (const std::int32_t n : valence) {
            entries += 2 * list_room(n);
        }
        builder.reserve(vertex_count, triangle_count, entries);
        // Room that an empty store reserves is one piece, which spares a division per access.
        first_vertex = vertex_count > 0 ? mesh.vertices.blocks[0] : nullptr;
        for (std::size_t i = 0; i < vertex_count; ++i) {
            builder.add_vertex(positions + 3 * i, valence[i]);
        }
    }

    void add_triangle(const std::int32_t* t) {
        if (!in_range(t)) {
            ++report.out_of_range;
            return;
        }
        if (degenerate(t)) {
            ++report.degenerate;
            return;
        }
        _vert* a = vertex(t[0]);
        _vert* b = vertex(t[1]);
        _vert* c = vertex(t[2]);
        const MemS::Point3v<float> normal = face_normal(a->pos, b->pos, c->pos);
        _face* made = nullptr;
        switch (builder.add_face(a, b, c, normal, made)) {
        case Insertion::made:
            ++report.inserted;
            add_normal(*a, normal);
            add_normal(*b, normal);
            add_normal(*c, normal);
            break;
        case Insertion::overfull:
            ++report.overfull;
            break;
        case Insertion::duplicate:
        case Insertion::bad_vertex:
            ++report.duplicate;
            break;
        }
    }

    // Faces come in list order, so that the sum has the bits of Vertex::R_cal_vector.
    static void add_normal(_vert& vertex, const MemS::Point3v<float>& normal) {
        vertex.normal.x += normal.x;
        vertex.normal.y += normal.y;
        vertex.normal.z += normal.z;
    }

    void finish_normals() {
        for (std::size_t i = 0; i < vertex_count; ++i) {
            _vert& v = *vertex(static_cast<std::int32_t>(i));
            if (v.faceCount > 0) {
                v.normal = Mesh_R::mean_direction(v.normal, v.faceCount, v.faces[0]->normal);
            }
        }
    }

    Mesh& mesh;
    MeshBuilder builder;
    const float* positions;
    std::size_t vertex_count;
    const std::int32_t* triangles;
    std::size_t triangle_count;
    _vert* first_vertex = nullptr;
    BuildReport report;
};

} // namespace

BuildReport build_mesh(Mesh& mesh, const float* positions, std::size_t vertex_count,
                       const std::int32_t* triangles, std::size_t triangle_count) {
    if (mesh.vertices.total() != 0 || mesh.edges.total() != 0 || mesh.faces.total() != 0) {
        throw std::invalid_argument("a mesh is built from arrays only when it is empty");
    }
    if (vertex_count > Mesh_R::max_records || triangle_count > Mesh_R::max_records) {
        throw std::length_error("a mesh cannot hold more than 2147483647 vertices or faces");
    }
    mesh.free(); // an earlier use may have left blocks behind
    try {
        return BulkBuild(mesh, positions, vertex_count, triangles, triangle_count).run();
    } catch (...) {
        mesh.free();
        throw;
    }
}

} // namespace Mesh_M
