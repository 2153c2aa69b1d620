// What the tests of the repair core's stages share. Their target is compiled without access
// control.
#pragma once

#include <Eigen/Dense>
#include <Eigen/SparseCore>
#include <gtest/gtest.h>
#include <pcl/kdtree/kdtree_flann.h>
#include <pcl/point_types.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kelvane/patch/patch_fairing.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include "tests/support/plain_normals.hpp"
#include "tests/support/test_meshes.hpp"

namespace test {

using KVN::Marker;
using KVN::RepairMarkers;
using Mesh_M::Mesh;
using Mesh_M::MyFace;
using Mesh_M::MyOFFDataNew;
using Mesh_M::MyPoint3;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Point = MemS::Point3v<float>;

constexpr float nan_float = std::numeric_limits<float>::quiet_NaN();
constexpr double nan_double = std::numeric_limits<double>::quiet_NaN();

// Flag bits, by value.
constexpr std::uint8_t region_bit = 1;
constexpr std::uint8_t ring_bit = 2;
constexpr std::uint8_t seed_bit = 8;

/// A marker on a horizontal sheet at z = 0.
inline Marker flat_marker(float x, float y, float radius) {
    return {x, y, 0.0f, 0.0f, 0.0f, 1.0f, radius};
}

inline RepairMarkers repairer(Mesh& mesh, std::vector<Marker> markers = {}, double size = 0.0,
                              char adjustable = 0) {
    return RepairMarkers(&mesh, markers, size, adjustable, nullptr, 0);
}

inline std::array<std::uint32_t, 3> bits(const Point& p) {
    std::array<std::uint32_t, 3> words{};
    const float values[3] = {p.x, p.y, p.z};
    std::memcpy(words.data(), values, sizeof values);
    return words;
}

/// Everything that a caller can see of a mesh, as words that compare bit for bit.
inline std::vector<std::uint32_t> fingerprint(const Mesh& mesh) {
    const Mesh_M::MeshArrays arrays = Mesh_M::to_arrays(mesh);
    std::vector<std::uint32_t> words(arrays.triangles.begin(), arrays.triangles.end());
    for (const std::vector<float>& values : {arrays.positions, arrays.normals}) {
        for (const float value : values) {
            words.push_back(0);
            std::memcpy(&words.back(), &value, sizeof value);
        }
    }
    return words;
}

// --- grids of unit cells, numbered as height_grid does -------------------------------------------

/// A rectangle of cells, corners in grid coordinates.
struct Rect {
    int x0, y0, x1, y1;

    bool holds(const std::array<double, 3>& centroid) const {
        return centroid[0] > x0 && centroid[0] < x1 && centroid[1] > y0 && centroid[1] < y1;
    }
};

/// A flat sheet from which the given rectangles of cells are missing.
struct PunchedGrid {
    int nx;
    std::unique_ptr<Mesh> mesh;

    PunchedGrid(int nx_, int ny, const std::vector<Rect>& holes,
                const std::function<bool(const std::array<double, 3>&)>& drop_also = nullptr)
        : nx(nx_) {
        mesh = make_mesh(without_triangles(planar_grid(nx, ny), [&](const auto& centroid) {
            return (drop_also && drop_also(centroid)) ||
                   std::any_of(holes.begin(), holes.end(),
                               [&](const Rect& hole) { return hole.holds(centroid); });
        }));
    }

    _vert* at(int i, int j) const { return vertex(*mesh, j * (nx + 1) + i); }

    _edge* between(_vert* a, _vert* b) const { return mesh->vertices.find_edge(a, b); }

    /// The edges along a list of vertices; closed when the list ends where it begins.
    std::vector<_edge*> path(const std::vector<_vert*>& along) const {
        std::vector<_edge*> edges;
        for (std::size_t i = 0; i + 1 < along.size(); ++i) {
            edges.push_back(between(along[i], along[i + 1]));
        }
        return edges;
    }

    /// The corners of a rectangle's outline anticlockwise from corner (x0, y0), which is the
    /// direction of a walk around a hole in a sheet that faces up.
    std::vector<_vert*> loop(const Rect& r) const {
        std::vector<_vert*> corners;
        for (int i = r.x0; i < r.x1; ++i) {
            corners.push_back(at(i, r.y0));
        }
        for (int j = r.y0; j < r.y1; ++j) {
            corners.push_back(at(r.x1, j));
        }
        for (int i = r.x1; i > r.x0; --i) {
            corners.push_back(at(i, r.y1));
        }
        for (int j = r.y1; j > r.y0; --j) {
            corners.push_back(at(r.x0, j));
        }
        return corners;
    }
};

/// True for the triangle below the diagonal of cell (i, j), which runs from (i, j) to (i+1, j+1).
inline bool lower_triangle(const std::array<double, 3>& centroid, int i, int j) {
    return Rect{i, j, i + 1, j + 1}.holds(centroid) && centroid[0] - i > centroid[1] - j;
}

/// `loop` turned so that it begins with `first`.
inline std::vector<_vert*> beginning_with(std::vector<_vert*> loop, _vert* first) {
    std::rotate(loop.begin(), std::find(loop.begin(), loop.end(), first), loop.end());
    return loop;
}

inline void set_flags(const std::vector<_vert*>& vertices, std::uint8_t flag_bits) {
    for (_vert* v : vertices) {
        v->flags |= flag_bits;
    }
}

inline std::size_t count_status(const std::vector<_edge*>& edges, std::uint16_t status) {
    return static_cast<std::size_t>(std::count_if(
        edges.begin(), edges.end(), [status](const _edge* e) { return e->status == status; }));
}

/// No live vertex or face has one of the flag bits.
inline bool flags_clear(const Mesh& mesh, std::uint8_t flag_bits) {
    for (int i = 0; i < mesh.vertices.total(); ++i) {
        if ((vertex(mesh, i)->status != 3) && (vertex(mesh, i)->flags & flag_bits) != 0) {
            return false;
        }
    }
    for (int i = 0; i < mesh.faces.total(); ++i) {
        if ((face(mesh, i)->status != 3) && (face(mesh, i)->flags & flag_bits) != 0) {
            return false;
        }
    }
    return true;
}

// --- patches by hand
// ------------------------------------------------------------------------------

inline MyPoint3 point(double x, double y, double z) {
    MyPoint3 p;
    p.p[0] = x;
    p.p[1] = y;
    p.p[2] = z;
    return p;
}

inline MyFace triangle(int a, int b, int c) {
    MyFace face;
    face.t_idx[0] = a;
    face.t_idx[1] = b;
    face.t_idx[2] = c;
    return face;
}

/// Takes what is written to standard output while it lives.
class OutputCapture {
  public:
    OutputCapture() : previous(std::cout.rdbuf(stream.rdbuf())) {}
    ~OutputCapture() { std::cout.rdbuf(previous); }
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

    std::string text() const { return stream.str(); }

  private:
    std::ostringstream stream;
    std::streambuf* previous;
};

/// The unit normal of (p0 - p1) x (p1 - p2), unoptimised.
inline Point normal_by_steps(const Point& p0, const Point& p1, const Point& p2) {
    const float corners[9] = {p0.x, p0.y, p0.z, p1.x, p1.y, p1.z, p2.x, p2.y, p2.z};
    float n[3];
    plain_face_normal(corners, n);
    return {n[0], n[1], n[2]};
}

/// The normalised mean of the faces' normals at a vertex, unoptimised.
inline Point mean_normal_by_steps(const _vert& v) {
    std::vector<float> normals;
    for (int i = 0; i < v.faceCount; ++i) {
        const Point& n = v.faces[i]->normal;
        normals.insert(normals.end(), {n.x, n.y, n.z});
    }
    float n[3];
    plain_vertex_normal(normals.data(), v.faceCount, n);
    return {n[0], n[1], n[2]};
}

} // namespace test
