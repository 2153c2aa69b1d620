#include "kelvane/toolkit/measure/scan_info.hpp"

#include "kelvane/toolkit/scan/scan_mesh.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace KVN::toolkit {

namespace {

using Mesh_M::Mesh;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

/// Length of an edge in double precision; not finite if an end is not.
double length(const _edge& edge) {
    const auto& a = edge.start->pos;
    const auto& b = edge.end->pos;
    return std::hypot(double(a.x) - double(b.x), double(a.y) - double(b.y),
                      double(a.z) - double(b.z));
}

/// Lengths of all live edges with finite ends, in store order.
std::vector<double> edge_lengths(const Mesh& mesh) {
    std::vector<double> lengths;
    for (std::int32_t i = 0; i < mesh.edges.total(); ++i) {
        const _edge& edge = mesh.edges.at(i);
        if (edge.status != Mesh_R::status_deleted) {
            const double value = length(edge);
            if (std::isfinite(value)) {
                lengths.push_back(value);
            }
        }
    }
    return lengths;
}

double mean(const std::vector<double>& values) {
    if (values.empty()) {
        return 0.0;
    }
    return std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
}

void measure_lengths(const Mesh& mesh, ScanInfo& info) {
    std::vector<double> lengths = edge_lengths(mesh);
    if (lengths.empty()) {
        return;
    }
    info.edge_lengths.mean = mean(lengths);
    const auto middle = lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 2);
    std::nth_element(lengths.begin(), middle, lengths.end());
    info.edge_lengths.median = *middle;
    info.edge_lengths.min = *std::min_element(lengths.begin(), lengths.end());
    info.edge_lengths.max = *std::max_element(lengths.begin(), lengths.end());
}

void measure_vertices(const Mesh& mesh, ScanInfo& info) {
    bool any = false;
    for (std::int32_t i = 0; i < mesh.vertices.total(); ++i) {
        const _vert& v = mesh.vertices.at(i);
        info.isolated_vertices += v.faceCount == 0 ? 1 : 0;
        const std::array<float, 3> p{v.pos.x, v.pos.y, v.pos.z};
        if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) {
            ++info.non_finite_vertices;
            continue;
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            info.lower[axis] = any ? std::min(info.lower[axis], p[axis]) : p[axis];
            info.upper[axis] = any ? std::max(info.upper[axis], p[axis]) : p[axis];
        }
        any = true;
    }
}

/// Number of components, by merging the vertices of every face.
std::int64_t count_components(const Mesh& mesh) {
    std::vector<std::int32_t> parent(static_cast<std::size_t>(mesh.vertices.total()));
    std::iota(parent.begin(), parent.end(), 0);
    const auto root = [&](std::int32_t v) {
        while (parent[std::size_t(v)] != v) {
            parent[std::size_t(v)] = parent[std::size_t(parent[std::size_t(v)])]; // halve the path
            v = parent[std::size_t(v)];
        }
        return v;
    };
    for (std::int32_t i = 0; i < mesh.faces.total(); ++i) {
        const _face& face = mesh.faces.at(i);
        const std::int32_t first = root(face.verts[0]->index);
        parent[std::size_t(root(face.verts[1]->index))] = first;
        parent[std::size_t(root(face.verts[2]->index))] = first;
    }
    std::int64_t components = 0;
    for (std::int32_t i = 0; i < mesh.vertices.total(); ++i) {
        components += mesh.vertices.at(i).faceCount > 0 && root(i) == i ? 1 : 0;
    }
    return components;
}

/// A boundary edge of `v` that has not been walked, or null. Walked edges carry a mark in `flags`.
_edge* next_boundary(const _vert& v) {
    for (int k = 0; k < v.edgeCount; ++k) {
        if (v.edges[k]->faceCount == 1 && v.edges[k]->flags == 0) {
            return v.edges[k];
        }
    }
    return nullptr;
}

/// Walks on from `first` as far as boundary edges lead. Whenever the walk comes back to a vertex
/// that it has passed, the piece since then is a loop and is taken out of the walk; `passed` has a
/// byte per vertex, all 0 before and after.
std::int64_t count_loops_from(_vert* first, std::vector<char>& passed) {
    std::int64_t loops = 0;
    std::vector<_vert*> path{first};
    passed[std::size_t(first->index)] = 1;
    while (_edge* edge = next_boundary(*path.back())) {
        edge->flags = 1;
        _vert* next = edge->start == path.back() ? edge->end : edge->start;
        if (passed[std::size_t(next->index)] != 0) {
            ++loops;
            while (path.back() != next) {
                passed[std::size_t(path.back()->index)] = 0;
                path.pop_back();
            }
        } else {
            passed[std::size_t(next->index)] = 1;
            path.push_back(next);
        }
    }
    for (const _vert* v : path) {
        passed[std::size_t(v->index)] = 0;
    }
    return loops;
}

void measure_boundary(Mesh& mesh, ScanInfo& info) {
    std::vector<char> passed(static_cast<std::size_t>(mesh.vertices.total()), 0);
    for (std::int32_t i = 0; i < mesh.edges.total(); ++i) {
        _edge& edge = mesh.edges.at(i);
        info.boundary_edges += edge.faceCount == 1 ? 1 : 0;
        info.non_manifold_edges += edge.faceCount > 2 ? 1 : 0;
        if (edge.faceCount == 1 && edge.flags == 0) {
            info.boundary_loops += count_loops_from(edge.start, passed);
        }
    }
}

} // namespace

double mean_edge_length(const Mesh& mesh) {
    return mean(edge_lengths(mesh));
}

double mean_side_length(const Mesh& mesh) {
    double sum = 0.0;
    std::int64_t sides = 0;
    for (std::int32_t f = 0; f < mesh.faces.total(); ++f) {
        const Mesh_R::_face& face = mesh.faces.at(f);
        for (int k = 0; k < 3 && face.status != Mesh_R::status_deleted; ++k) {
            const auto& a = face.verts[k]->pos;
            const auto& b = face.verts[(k + 1) % 3]->pos;
            const double dx = static_cast<double>(a.x) - b.x;
            const double dy = static_cast<double>(a.y) - b.y;
            const double dz = static_cast<double>(a.z) - b.z;
            const double length = std::sqrt(dx * dx + dy * dy + dz * dz);
            if (std::isfinite(length)) {
                sum += length;
                ++sides;
            }
        }
    }
    return sides == 0 ? 0.0 : sum / static_cast<double>(sides);
}

double mean_edge_length(const Scan& scan) {
    Mesh mesh;
    build_from(scan, mesh);
    return mean_edge_length(mesh);
}

ScanInfo scan_info(const Scan& scan) {
    Mesh mesh;
    ScanInfo info;
    info.loaded = build_from(scan, mesh);
    info.vertices = static_cast<std::int64_t>(scan.vertex_count());
    info.faces = static_cast<std::int64_t>(scan.face_count());
    info.edges = mesh.edges.total();
    info.short_faces = scan.short_faces;
    measure_lengths(mesh, info);
    measure_vertices(mesh, info);
    info.components = count_components(mesh);
    measure_boundary(mesh, info);
    return info;
}

} // namespace KVN::toolkit
