// Meshes that several test programs use, and the check that follows every change of a mesh.
//
// Surfaces are made as plain arrays (a TestMesh), which a test may edit before it builds a
// Mesh_M::Mesh of them. All faces are wound so that normals point up (+z) on grids and outward on
// closed or curved bodies.
#pragma once

#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/kernel/mesh_check.hpp"
#include "kelvane/kernel/mesh_kernel.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace test {

constexpr double pi = 3.14159265358979323846;

/// A triangle mesh as arrays.
struct TestMesh {
    std::vector<float> positions;        ///< x, y, z per vertex
    std::vector<std::int32_t> triangles; ///< three indices per face

    std::size_t vertex_count() const { return positions.size() / 3; }
    std::size_t triangle_count() const { return triangles.size() / 3; }

    std::int32_t add_vertex(double x, double y, double z) {
        for (const double coordinate : {x, y, z}) {
            positions.push_back(static_cast<float>(coordinate));
        }
        return static_cast<std::int32_t>(vertex_count()) - 1;
    }

    void add_triangle(std::int32_t a, std::int32_t b, std::int32_t c) {
        for (const std::int32_t corner : {a, b, c}) {
            triangles.push_back(corner);
        }
    }

    /// The quadrilateral a, b, c, d, anticlockwise, as (a, b, c) and (a, c, d).
    void add_quad(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
        add_triangle(a, b, c);
        add_triangle(a, c, d);
    }
};

/// Fills an empty mesh.
inline Mesh_M::BuildReport fill(Mesh_M::Mesh& mesh, const TestMesh& arrays) {
    return Mesh_M::build_mesh(mesh, arrays.positions.data(), arrays.vertex_count(),
                              arrays.triangles.data(), arrays.triangle_count());
}

/// A mesh of its own on the heap (meshes do not move).
inline std::unique_ptr<Mesh_M::Mesh> make_mesh(const TestMesh& arrays) {
    auto mesh = std::make_unique<Mesh_M::Mesh>();
    fill(*mesh, arrays);
    return mesh;
}

/// Fails the running test with the fault in words unless everything in the mesh agrees. Returns the
/// counts of the check.
inline Mesh_M::MeshCheck expect_sound(const Mesh_M::Mesh& mesh) {
    Mesh_M::MeshCheck check = Mesh_M::check_mesh(mesh);
    EXPECT_TRUE(check.sound()) << check.fault;
    return check;
}

inline Mesh_R::_vert* vertex(const Mesh_M::Mesh& mesh, std::int32_t i) {
    return &mesh.vertices.at(i);
}

inline Mesh_R::_edge* edge(const Mesh_M::Mesh& mesh, std::int32_t i) {
    return &mesh.edges.at(i);
}

inline Mesh_R::_face* face(const Mesh_M::Mesh& mesh, std::int32_t i) {
    return &mesh.faces.at(i);
}

/// A sheet of nx by ny cells over [0, nx * step] x [0, ny * step] with z = height(x, y). The vertex
/// of column i and row j has index j * (nx + 1) + i; cell (i, j) holds faces 2 * (j * nx + i) and
/// the next one.
template <class Height>
TestMesh height_grid(int nx, int ny, double step, Height height) {
    TestMesh grid;
    for (int j = 0; j <= ny; ++j) {
        for (int i = 0; i <= nx; ++i) {
            grid.add_vertex(i * step, j * step, height(i * step, j * step));
        }
    }
    for (int j = 0; j < ny; ++j) {
        for (int i = 0; i < nx; ++i) {
            const std::int32_t v = j * (nx + 1) + i;
            grid.add_quad(v, v + 1, v + nx + 2, v + nx + 1);
        }
    }
    return grid;
}

/// A flat sheet at z = 0.
inline TestMesh planar_grid(int nx, int ny, double step = 1.0) {
    return height_grid(nx, ny, step, [](double, double) { return 0.0; });
}

/// A sheet with smooth waves of the given height and wave length.
inline TestMesh bumpy_grid(int nx, int ny, double step = 1.0, double height = 1.0,
                           double wave_length = 20.0) {
    return height_grid(nx, ny, step, [=](double x, double y) {
        return height * std::sin(2.0 * pi * x / wave_length) * std::cos(2.0 * pi * y / wave_length);
    });
}

/// The cap of a sphere around (0, 0, 0) over the square [-half, half]^2, half * sqrt(2) < radius,
/// as n by n cells numbered as in height_grid. Normals point away from the centre.
inline TestMesh sphere_patch(int n, double radius, double half) {
    const double step = 2.0 * half / n;
    TestMesh patch = height_grid(n, n, step, [=](double x, double y) {
        const double u = x - half;
        const double v = y - half;
        return std::sqrt(radius * radius - u * u - v * v);
    });
    for (std::size_t i = 0; i < patch.vertex_count(); ++i) {
        patch.positions[3 * i] -= static_cast<float>(half);
        patch.positions[3 * i + 1] -= static_cast<float>(half);
    }
    return patch;
}

/// A closed torus around the z axis: nu cells around the axis, nv around the tube. The vertex (i,
/// j) has index j * nu + i; at j = 0 it lies on the outer equator.
inline TestMesh torus(int nu, int nv, double radius, double tube_radius) {
    TestMesh body;
    for (int j = 0; j < nv; ++j) {
        const double v = 2.0 * pi * j / nv;
        for (int i = 0; i < nu; ++i) {
            const double u = 2.0 * pi * i / nu;
            const double r = radius + tube_radius * std::cos(v);
            body.add_vertex(r * std::cos(u), r * std::sin(u), tube_radius * std::sin(v));
        }
    }
    for (int j = 0; j < nv; ++j) {
        for (int i = 0; i < nu; ++i) {
            const int next_i = (i + 1) % nu;
            const int next_j = (j + 1) % nv;
            body.add_quad(j * nu + i, j * nu + next_i, next_j * nu + next_i, next_j * nu + i);
        }
    }
    return body;
}

/// A tube around the z axis without lids, z from 0 to height: nu cells around, nv along. The vertex
/// (i, j) has index j * nu + i. Normals point outward.
inline TestMesh cylinder(int nu, int nv, double radius, double height) {
    TestMesh tube;
    for (int j = 0; j <= nv; ++j) {
        for (int i = 0; i < nu; ++i) {
            const double u = 2.0 * pi * i / nu;
            tube.add_vertex(radius * std::cos(u), radius * std::sin(u), height * j / nv);
        }
    }
    for (int j = 0; j < nv; ++j) {
        for (int i = 0; i < nu; ++i) {
            const int next = (i + 1) % nu;
            tube.add_quad(j * nu + i, j * nu + next, (j + 1) * nu + next, (j + 1) * nu + i);
        }
    }
    return tube;
}

/// The same mesh without the triangles for which `drop(centroid)` holds; all vertices stay.
template <class Drop>
TestMesh without_triangles(const TestMesh& mesh, Drop drop) {
    TestMesh rest;
    rest.positions = mesh.positions;
    for (std::size_t t = 0; t < mesh.triangle_count(); ++t) {
        std::array<double, 3> centroid{};
        for (std::size_t k = 0; k < 3; ++k) {
            const auto v = static_cast<std::size_t>(mesh.triangles[3 * t + k]);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                centroid[axis] += mesh.positions[3 * v + axis] / 3.0;
            }
        }
        if (!drop(centroid)) {
            rest.add_triangle(mesh.triangles[3 * t], mesh.triangles[3 * t + 1],
                              mesh.triangles[3 * t + 2]);
        }
    }
    return rest;
}

} // namespace test
