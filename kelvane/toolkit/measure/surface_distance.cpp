#include "kelvane/toolkit/measure/surface_distance.hpp"

#include <Eigen/Core>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace KVN::toolkit {

namespace {

using Eigen::Vector3d;

constexpr std::int32_t leaf_size = 4;

/// The point of triangle abc nearest to p, by the region of the triangle's plane that p projects to
/// (Ericson, Real-Time Collision Detection, 2005, section 5.1.5).
Vector3d nearest_on_triangle(const Vector3d& p, const Vector3d& a, const Vector3d& b,
                             const Vector3d& c) {
    const Vector3d ab = b - a;
    const Vector3d ac = c - a;
    const Vector3d ap = p - a;
    const double d1 = ab.dot(ap);
    const double d2 = ac.dot(ap);
    if (d1 <= 0.0 && d2 <= 0.0) {
        return a;
    }
    const Vector3d bp = p - b;
    const double d3 = ab.dot(bp);
    const double d4 = ac.dot(bp);
    if (d3 >= 0.0 && d4 <= d3) {
        return b;
    }
    const double vc = d1 * d4 - d3 * d2;
    if (vc <= 0.0 && d1 >= 0.0 && d3 <= 0.0) {
        return a + ab * (d1 / (d1 - d3));
    }
    const Vector3d cp = p - c;
    const double d5 = ab.dot(cp);
    const double d6 = ac.dot(cp);
    if (d6 >= 0.0 && d5 <= d6) {
        return c;
    }
    const double vb = d5 * d2 - d1 * d6;
    if (vb <= 0.0 && d2 >= 0.0 && d6 <= 0.0) {
        return a + ac * (d2 / (d2 - d6));
    }
    const double va = d3 * d6 - d5 * d4;
    if (va <= 0.0 && d4 - d3 >= 0.0 && d5 - d6 >= 0.0) {
        return b + (c - b) * ((d4 - d3) / ((d4 - d3) + (d5 - d6)));
    }
    const double scale = 1.0 / (va + vb + vc);
    return a + ab * (vb * scale) + ac * (vc * scale);
}

double squared_distance_to_box(const Vector3d& p, const std::array<double, 3>& lower,
                               const std::array<double, 3>& upper) {
    double sum = 0.0;
    for (int axis = 0; axis < 3; ++axis) {
        const auto i = static_cast<std::size_t>(axis);
        const double outside = std::max({lower[i] - p[axis], 0.0, p[axis] - upper[i]});
        sum += outside * outside;
    }
    return sum;
}

Vector3d corner(const std::array<double, 9>& triangle, int which) {
    return Eigen::Map<const Vector3d>(triangle.data() + 3 * which);
}

} // namespace

SurfaceDistance::SurfaceDistance(const Scan& scan) {
    std::vector<std::array<double, 9>> corners;
    std::vector<std::int32_t> triangles;
    for (std::size_t f = 0; f < scan.face_count(); ++f) {
        std::array<double, 9> c{};
        bool finite = true;
        for (std::size_t i = 0; i < 9; ++i) {
            const auto vertex = static_cast<std::size_t>(scan.triangles[3 * f + i / 3]);
            c[i] = scan.positions[3 * vertex + i % 3];
            finite = finite && std::isfinite(c[i]);
        }
        if (finite) {
            corners.push_back(c);
            triangles.push_back(static_cast<std::int32_t>(f));
        }
    }
    corners_ = std::move(corners);
    triangles_ = std::move(triangles);
    if (!corners_.empty()) {
        nodes_.reserve(corners_.size());
        nodes_.emplace_back();
        build(0, 0, static_cast<std::int32_t>(corners_.size()));
    }
}

void SurfaceDistance::build(std::int32_t node, std::int32_t begin, std::int32_t end) {
    constexpr double huge = std::numeric_limits<double>::infinity();
    Node box{{huge, huge, huge}, {-huge, -huge, -huge}, begin, end - begin};
    for (std::int32_t t = begin; t < end; ++t) {
        for (std::size_t i = 0; i < 9; ++i) {
            const double value = corners_[std::size_t(t)][i];
            box.lower[i % 3] = std::min(box.lower[i % 3], value);
            box.upper[i % 3] = std::max(box.upper[i % 3], value);
        }
    }
    if (end - begin > leaf_size) {
        // Halve at the median of the centres along the longest side; ties go by the scan's order.
        std::size_t axis = 0;
        for (std::size_t a = 1; a < 3; ++a) {
            axis = box.upper[a] - box.lower[a] > box.upper[axis] - box.lower[axis] ? a : axis;
        }
        std::vector<std::pair<double, std::int32_t>> keys;
        for (std::int32_t t = begin; t < end; ++t) {
            const auto& c = corners_[std::size_t(t)];
            keys.emplace_back(c[axis] + c[axis + 3] + c[axis + 6], t);
        }
        const std::int32_t half = (end - begin) / 2;
        std::nth_element(keys.begin(), keys.begin() + half, keys.end());
        std::vector<std::array<double, 9>> corners;
        std::vector<std::int32_t> triangles;
        for (const auto& key : keys) {
            corners.push_back(corners_[std::size_t(key.second)]);
            triangles.push_back(triangles_[std::size_t(key.second)]);
        }
        std::copy(corners.begin(), corners.end(), corners_.begin() + begin);
        std::copy(triangles.begin(), triangles.end(), triangles_.begin() + begin);

        box.first = static_cast<std::int32_t>(nodes_.size());
        box.count = 0;
        nodes_.resize(nodes_.size() + 2);
        build(box.first, begin, begin + half);
        build(box.first + 1, begin + half, end);
    }
    nodes_[std::size_t(node)] = box;
}

SurfacePoint SurfaceDistance::closest(double x, double y, double z) const {
    SurfacePoint best{std::numeric_limits<double>::infinity(), -1, {x, y, z}};
    const Vector3d p(x, y, z);
    if (nodes_.empty() || !p.allFinite()) {
        return best;
    }
    double best_squared = best.distance;
    std::vector<std::pair<double, std::int32_t>> open{{0.0, 0}};
    while (!open.empty()) {
        const auto [reach, place] = open.back();
        open.pop_back();
        if (reach >= best_squared) {
            continue;
        }
        const Node& node = nodes_[std::size_t(place)];
        for (std::int32_t t = node.first; t < node.first + node.count; ++t) {
            const auto& c = corners_[std::size_t(t)];
            const Vector3d q = nearest_on_triangle(p, corner(c, 0), corner(c, 1), corner(c, 2));
            const double squared = (p - q).squaredNorm();
            if (squared < best_squared) {
                best_squared = squared;
                best = {std::sqrt(squared), triangles_[std::size_t(t)], {q[0], q[1], q[2]}};
            }
        }
        if (node.count == 0) {
            std::pair<double, std::int32_t> children[2];
            for (std::int32_t i = 0; i < 2; ++i) {
                const Node& child = nodes_[static_cast<std::size_t>(node.first) + std::size_t(i)];
                children[i] = {squared_distance_to_box(p, child.lower, child.upper),
                               node.first + i};
            }
            // The nearer one is looked at first.
            const bool second_first = children[1].first < children[0].first;
            open.push_back(children[second_first ? 0 : 1]);
            open.push_back(children[second_first ? 1 : 0]);
        }
    }
    return best;
}

} // namespace KVN::toolkit
