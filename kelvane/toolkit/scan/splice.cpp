#include "kelvane/toolkit/scan/splice.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>

namespace KVN::toolkit {

namespace {

void require(bool holds, const char* what) {
    if (!holds) {
        throw std::invalid_argument(std::string("the splice does not fit the scan: ") + what);
    }
}

template <class Index>
bool ascends_below(const std::vector<Index>& list, std::uint64_t bound) {
    return (list.empty() || list.back() < bound) &&
           std::adjacent_find(list.begin(), list.end(), std::greater_equal<>()) == list.end();
}

} // namespace

void check_splice(const Splice& splice, std::uint64_t vertices, std::uint64_t faces) {
    const std::size_t added = splice.new_vertex_count();
    const std::uint64_t bound = vertices + added;
    require(ascends_below(splice.vertices_gone, vertices), "vertices gone");
    require(ascends_below(splice.faces_gone, faces), "faces gone");
    require(splice.positions.size() % 3 == 0, "positions");
    require(splice.normals.empty() || splice.normals.size() == splice.positions.size(), "normals");
    for (const auto& face : splice.faces) {
        for (const std::uint32_t corner : face) {
            require(corner < bound && !std::binary_search(splice.vertices_gone.begin(),
                                                          splice.vertices_gone.end(), corner),
                    "corners of new faces");
        }
    }
    const auto& begin = splice.origin_begin;
    require(begin.empty() || (begin.size() == added + 1 && begin.front() == 0 &&
                              std::is_sorted(begin.begin(), begin.end()) &&
                              begin.back() == splice.origin_vertex.size() &&
                              begin.back() == splice.origin_weight.size()),
            "origins of vertices");
    require(std::all_of(splice.origin_vertex.begin(), splice.origin_vertex.end(),
                        [&](std::uint32_t vertex) { return vertex < vertices; }),
            "origins of vertices");
    require((splice.face_origin.empty() || splice.face_origin.size() == splice.faces.size()) &&
                std::all_of(splice.face_origin.begin(), splice.face_origin.end(),
                            [&](std::uint64_t face) { return face < faces; }),
            "origins of faces");
}

std::int64_t nearest_origin(const Splice& splice, std::size_t k) {
    if (splice.origin_begin.empty() || splice.origin_begin[k] == splice.origin_begin[k + 1]) {
        return -1;
    }
    const auto weights = splice.origin_weight.begin();
    const auto largest =
        std::max_element(weights + splice.origin_begin[k], weights + splice.origin_begin[k + 1]);
    return splice.origin_vertex[static_cast<std::size_t>(largest - weights)];
}

std::array<double, 3> normal_of(const Splice& splice, std::size_t k,
                                const std::array<double, 3>& mixed_normal) {
    if (!splice.normals.empty()) {
        return {splice.normals[3 * k], splice.normals[3 * k + 1], splice.normals[3 * k + 2]};
    }
    const double length = std::hypot(mixed_normal[0], mixed_normal[1], mixed_normal[2]);
    if (!(length > 0.0)) {
        return {0.0, 0.0, 0.0};
    }
    return {mixed_normal[0] / length, mixed_normal[1] / length, mixed_normal[2] / length};
}

} // namespace KVN::toolkit
