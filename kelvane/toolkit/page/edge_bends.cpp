#include "kelvane/toolkit/page/edge_bends.hpp"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace KVN::toolkit {

namespace {

struct HalfEdge {
    std::array<std::uint32_t, 2> ends;
    std::uint32_t face;
};

Eigen::Vector3d normal_of(const FaceList& list, std::uint32_t face) {
    const auto point = [&](std::size_t k) {
        const auto& p = list.points[list.faces[face].corners[k]];
        return Eigen::Vector3d(p[0], p[1], p[2]);
    };
    return (point(1) - point(0)).cross(point(2) - point(0));
}

double degrees_between(const Eigen::Vector3d& a, const Eigen::Vector3d& b) {
    constexpr double per_radian = 57.29577951308232;
    return per_radian * std::atan2(a.cross(b).norm(), a.dot(b));
}

} // namespace

std::vector<BentEdge> bent_edges(const FaceList& list, Side surface) {
    std::vector<HalfEdge> halves;
    for (std::uint32_t f = 0; f < list.faces.size(); ++f) {
        if (!is_on(list.faces[f].part, surface)) {
            continue;
        }
        const auto& c = list.faces[f].corners;
        for (std::size_t k = 0; k < 3; ++k) {
            const auto [low, high] = std::minmax(c[k], c[(k + 1) % 3]);
            halves.push_back({{low, high}, f});
        }
    }
    std::sort(halves.begin(), halves.end(), [](const HalfEdge& a, const HalfEdge& b) {
        return a.ends != b.ends ? a.ends < b.ends : a.face < b.face;
    });
    std::vector<BentEdge> edges;
    for (std::size_t i = 0; i < halves.size();) {
        const bool twin = i + 1 < halves.size() && halves[i].ends == halves[i + 1].ends;
        const std::uint32_t other = halves[twin ? i + 1 : i].face;
        edges.push_back({halves[i].ends, halves[i].face, other, 0.0});
        if (twin) {
            edges.back().degrees =
                degrees_between(normal_of(list, halves[i].face), normal_of(list, other));
        }
        while (++i < halves.size() && halves[i].ends == edges.back().ends) {
        }
    }
    return edges;
}

} // namespace KVN::toolkit
