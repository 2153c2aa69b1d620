#include "kelvane/toolkit/scan/splice_arrays.hpp"

#include "kelvane/toolkit/scan/formats/ply_numbers.hpp"
#include "kelvane/toolkit/scan/renumbering.hpp"

#include <algorithm>
#include <string_view>

namespace KVN::toolkit {

namespace {

constexpr std::string_view normal_names[3] = {"nx", "ny", "nz"};

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

double value_at(const Property& property, std::size_t i) {
    return std::visit([&](const auto& values) { return static_cast<double>(values[i]); },
                      property.values);
}

void set_value(Property& property, std::size_t i, double value) {
    std::visit(
        [&](auto& values) {
            using T = typename std::decay_t<decltype(values)>::value_type;
            values[i] = rounded<T>(value);
        },
        property.values);
}

/// The values nx, ny, nz of the new vertices, which append_mixed() has mixed one by one, as
/// normals.
void normalise_new(std::vector<Property>& properties, const Splice& splice, std::size_t old_count) {
    Property* axes[3] = {};
    for (Property& property : properties) {
        for (int axis = 0; axis < 3; ++axis) {
            axes[axis] = property.name == normal_names[axis] ? &property : axes[axis];
        }
    }
    if (axes[0] == nullptr || axes[1] == nullptr || axes[2] == nullptr) {
        return;
    }
    for (std::size_t k = 0; k < splice.new_vertex_count(); ++k) {
        const std::size_t i = old_count + k;
        std::array<double, 3> whole{}; // not the mixed values, which are rounded to their type
        for (std::size_t axis = 0; axis < 3; ++axis) {
            whole[axis] = mixed(
                splice, k, [&](std::uint32_t vertex) { return value_at(*axes[axis], vertex); });
        }
        const std::array<double, 3> normal = normal_of(splice, k, whole);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            set_value(*axes[axis], i, normal[axis]);
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

void apply_splice(Scan& scan, const Splice& splice) {
    const std::size_t vertex_count = scan.vertex_count();
    const std::size_t face_count = scan.face_count();
    check_splice(splice, vertex_count, face_count);
    const Renumbering renumbering(vertex_count, splice.vertices_gone);

    append_mixed(scan.vertex_properties, splice);
    normalise_new(scan.vertex_properties, splice, vertex_count);
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
