// Holes as the triangulator gets them: a small mesh whose first vertices are the border loop.
#pragma once

#include "kelvane/fill/hole_filling.hpp"
#include "kelvane/triangulator/hole_triangulator.hpp"
#include "tests/support/test_meshes.hpp"

#include <Eigen/Core>

#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace test {

using KVN::HoleTriangulator;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Point = Eigen::Vector3d;

/// A mesh, the first `loop` vertices of it as the border, and the triangulator over both.
struct Hole {
    std::unique_ptr<Mesh_M::Mesh> mesh;
    std::vector<_vert*> boundary;
    std::unique_ptr<HoleTriangulator> triangulator;

    explicit Hole(const TestMesh& arrays, int loop = 0) : mesh(make_mesh(arrays)) {
        for (int i = 0; i < loop; ++i) {
            boundary.push_back(v(i));
        }
        start();
    }
    void start() { triangulator = std::make_unique<HoleTriangulator>(mesh.get(), boundary); }
    HoleTriangulator* operator->() const { return triangulator.get(); }
    _vert* v(int i) const { return vertex(*mesh, i); }
    _edge* e(int i, int j) const { return mesh->vertices.find_edge(v(i), v(j)); }
};

inline TestMesh mesh_of(const std::vector<Point>& points,
                        const std::vector<std::array<int, 3>>& triangles) {
    TestMesh arrays;
    for (const Point& p : points) {
        arrays.add_vertex(p.x(), p.y(), p.z());
    }
    for (const auto& t : triangles) {
        arrays.add_triangle(t[0], t[1], t[2]);
    }
    return arrays;
}

inline Point on_circle(double radius, double turn, double z = 0.0) {
    return {radius * std::cos(2.0 * pi * turn), radius * std::sin(2.0 * pi * turn), z};
}

/// A loop of n points, anticlockwise seen from above, with a ring of 2n triangles around it:
/// point(i, false) is loop vertex i, point(i, true) the outer vertex n + i beside it. Triangles for
/// which `drop(number)` holds are left out.
inline TestMesh ring_around(
    int n, const std::function<Point(int, bool)>& point,
    const std::function<bool(int)>& drop = [](int) { return false; }) {
    std::vector<Point> points;
    for (const bool outer : {false, true}) {
        for (int i = 0; i < n; ++i) {
            points.push_back(point(i, outer));
        }
    }
    TestMesh ring = mesh_of(points, {});
    for (int i = 0; i < n; ++i) {
        const int j = (i + 1) % n;
        if (!drop(2 * i)) {
            ring.add_triangle(j, i, n + i);
        }
        if (!drop(2 * i + 1)) {
            ring.add_triangle(j, n + i, n + j);
        }
    }
    return ring;
}

/// A round hole with edges of about the given length, flat or with three waves around it.
inline TestMesh disc_hole(int n, double step = 1.0, double waves = 0.0) {
    return ring_around(n, [=](int i, bool outer) {
        const double radius = n * step / (2.0 * pi) + (outer ? step : 0.0);
        return on_circle(radius, double(i) / n, waves * radius * std::sin(6.0 * pi * i / n));
    });
}

/// A hole of random radius and height per vertex. `grain` > 0 rounds all coordinates to multiples
/// of it, which brings ties and coincident vertices.
inline TestMesh ragged_hole(int n, unsigned seed, double grain = 0.0) {
    std::mt19937 random(seed);
    const auto unit = [&random] { return static_cast<double>(random()) / 4294967296.0; };
    const auto rounded = [=](double c) { return grain > 0.0 ? grain * std::round(c / grain) : c; };
    return ring_around(n, [&](int i, bool outer) {
        const double radius = (n / (2.0 * pi) + 1.0) * (outer ? 1.6 : 1.0);
        const double r = radius * (0.8 + 0.4 * unit());
        const Point p = on_circle(r, double(i) / n, 0.6 * (unit() - 0.5) * radius);
        return Point(rounded(p.x()), rounded(p.y()), rounded(p.z()));
    });
}

inline bool same(const MemS::Point3v<float>& a, const MemS::Point3v<float>& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

} // namespace test
