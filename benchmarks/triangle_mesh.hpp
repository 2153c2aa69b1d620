// The plain triangle mesh that all parts of the benchmarks share. Lengths in millimetres.
#pragma once

#include "kelvane/toolkit/scan/scan.hpp"

#include <Eigen/Core>

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace KVN::bench {

using Eigen::Vector3d;

/// A scan that hands out points. Faces and vertices are counted with int: up to 2^31 - 1 each.
struct TriangleMesh : toolkit::Scan {
    TriangleMesh() = default;
    explicit TriangleMesh(toolkit::Scan scan) : toolkit::Scan(std::move(scan)) {}

    int vertices() const { return static_cast<int>(vertex_count()); }
    int faces() const { return static_cast<int>(face_count()); }

    Vector3d vertex(int v) const {
        const float* p = &positions[3 * std::size_t(v)];
        return {p[0], p[1], p[2]};
    }
    std::array<std::int32_t, 3> face(int f) const {
        const std::int32_t* t = &triangles[3 * std::size_t(f)];
        return {t[0], t[1], t[2]};
    }
    std::array<Vector3d, 3> corners(int f) const {
        const auto t = face(f);
        return {vertex(t[0]), vertex(t[1]), vertex(t[2])};
    }
    void add_vertex(const Vector3d& p) {
        for (int i = 0; i < 3; ++i) {
            positions.push_back(static_cast<float>(p[i]));
        }
    }
    void add_face(int a, int b, int c) { triangles.insert(triangles.end(), {a, b, c}); }
};

} // namespace KVN::bench
