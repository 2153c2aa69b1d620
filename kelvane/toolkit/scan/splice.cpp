#include "kelvane/toolkit/scan/splice.hpp"

#include "kelvane/toolkit/scan/formats/ply_numbers.hpp"
#include "kelvane/toolkit/scan/renumbering.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace KVN::toolkit {

namespace {

constexpr std::string_view normal_names[3] = {"nx", "ny", "nz"};

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

/// Per new vertex the value of every property, mixed.
void append_mixed(std::vector<Property>& properties, const Splice& splice) {
    for (Property& property : properties) {
        std::visit(
            [&](auto& values) {
                using T = typename std::decay_t<decltype(values)>::value_type;
                for (std::size_t k = 0; k < splice.new_vertex_count(); ++k) {
                    values.push_back(rounded<T>(mixed(splice, k, [&](std::uint32_t vertex) {
                        return static_cast<double>(values[vertex]);
                    })));
                }
            },
            property.values);
    }
}

/// The values nx, ny, nz of the new vertices, which append_mixed() has mixed one by one.
void normalise_new(std::vector<Property>& properties, const Splice& splice) {
    std::vector<float>* axes[3] = {};
    for (Property& property : properties) {
        for (int axis = 0; axis < 3; ++axis) {
            if (property.name == normal_names[axis]) {
                axes[axis] = std::get_if<std::vector<float>>(&property.values);
            }
        }
    }
    if (axes[0] == nullptr || axes[1] == nullptr || axes[2] == nullptr) {
        return;
    }
    const std::size_t old = axes[0]->size() - splice.new_vertex_count();
    for (std::size_t k = 0; k < splice.new_vertex_count(); ++k) {
        const std::array<double, 3> normal =
            normal_of(splice, k, {(*axes[0])[old + k], (*axes[1])[old + k], (*axes[2])[old + k]});
        for (std::size_t axis = 0; axis < 3; ++axis) {
            (*axes[axis])[old + k] = static_cast<float>(normal[axis]);
        }
    }
}

/// Keeps the groups of `width` values whose group number `keep` accepts.
template <class T, class Keep>
void keep_groups(std::vector<T>& values, std::size_t width, std::size_t count, const Keep& keep) {
    std::size_t to = 0;
    for (std::size_t i = 0; i < values.size() / width; ++i) {
        if (i >= count || keep(i)) {
            std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(i * width), width,
                        values.begin() + static_cast<std::ptrdiff_t>(to * width));
            ++to;
        }
    }
    values.resize(to * width);
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

void apply_splice(Scan& scan, const Splice& splice) {
    const std::size_t vertex_count = scan.vertex_count();
    const std::size_t face_count = scan.face_count();
    check_splice(splice, vertex_count, face_count);
    const Renumbering renumbering(vertex_count, splice.vertices_gone);

    append_mixed(scan.vertex_properties, splice);
    normalise_new(scan.vertex_properties, splice);
    scan.positions.insert(scan.positions.end(), splice.positions.begin(), splice.positions.end());
    const auto vertex_stays = [&](std::size_t v) { return !renumbering.is_gone(v); };
    keep_groups(scan.positions, 3, vertex_count, vertex_stays);
    for (Property& property : scan.vertex_properties) {
        std::visit([&](auto& values) { keep_groups(values, 1, vertex_count, vertex_stays); },
                   property.values);
    }

    std::vector<bool> face_stays(face_count, true);
    for (const std::uint64_t face : splice.faces_gone) {
        face_stays[face] = false;
    }
    for (std::size_t i = 0; i < scan.triangles.size(); ++i) {
        if (renumbering.is_gone(static_cast<std::uint32_t>(scan.triangles[i]))) {
            face_stays[i / 3] = false;
        }
    }
    const auto stays = [&](std::size_t f) { return face_stays[f]; };
    for (Property& property : scan.face_properties) {
        std::visit(
            [&](auto& values) {
                for (std::size_t f = 0; f < splice.faces.size(); ++f) {
                    values.push_back(splice.face_origin.empty() ? 0
                                                                : values[splice.face_origin[f]]);
                }
                keep_groups(values, 1, face_count, stays);
            },
            property.values);
    }
    keep_groups(scan.triangles, 3, face_count, stays);
    for (const auto& face : splice.faces) {
        scan.triangles.insert(scan.triangles.end(), face.begin(), face.end());
    }
    for (std::int32_t& corner : scan.triangles) {
        corner = static_cast<std::int32_t>(renumbering(static_cast<std::uint32_t>(corner)));
    }
}

} // namespace KVN::toolkit
