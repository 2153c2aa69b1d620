// A facet of an STL file.
#pragma once

#include "kelvane/toolkit/scan/formats/file_reader.hpp"
#include "kelvane/toolkit/scan/formats/ply_numbers.hpp"

#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

namespace KVN::toolkit {

constexpr std::size_t stl_header_size = 84; ///< 80 bytes of text and the number of facets
constexpr std::size_t stl_record_size = 50; ///< normal, three corners, two attribute bytes

using StlPoint = std::array<float, 3>;
using StlFacet = std::array<StlPoint, 3>;

inline bool is_finite(const StlPoint& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

/// Whether numbers of an STL file, little endian, are of the other byte order than this machine.
inline bool stl_swap() {
    const std::uint16_t probe = 1;
    unsigned char low = 0;
    std::memcpy(&low, &probe, 1);
    return low != 1;
}

/// The number of facets that a binary file promises; it must hold a header.
inline std::uint32_t stl_count(const FileReader& file) {
    return load<std::uint32_t>(file.read(80, 4).data(), stl_swap());
}

/// Corner `i` of a binary record, or its normal for -1.
inline StlPoint stl_point(const char* record, int i) {
    StlPoint point{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        point[axis] = load<float>(record + 12 * (i + 1) + 4 * axis, stl_swap());
    }
    return point;
}

/// The unit normal by the order of the corners; 0 for a facet without area.
inline StlPoint stl_normal(const StlFacet& facet) {
    double a[3];
    double b[3];
    for (std::size_t axis = 0; axis < 3; ++axis) {
        a[axis] = static_cast<double>(facet[1][axis]) - facet[0][axis];
        b[axis] = static_cast<double>(facet[2][axis]) - facet[0][axis];
    }
    const double n[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                         a[0] * b[1] - a[1] * b[0]};
    const double length = std::hypot(n[0], n[1], n[2]);
    StlPoint normal{};
    for (std::size_t axis = 0; axis < 3 && length > 0.0; ++axis) {
        normal[axis] = static_cast<float>(n[axis] / length);
    }
    return normal;
}

/// A binary record with its computed normal.
inline std::string stl_record(const StlFacet& facet, std::uint16_t attribute) {
    std::string record(stl_record_size, '\0');
    const StlPoint normal = stl_normal(facet);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        store(normal[axis], stl_swap(), record.data() + 4 * axis);
        for (std::size_t c = 0; c < 3; ++c) {
            store(facet[c][axis], stl_swap(), record.data() + 12 * (c + 1) + 4 * axis);
        }
    }
    store(attribute, stl_swap(), record.data() + 48);
    return record;
}

} // namespace KVN::toolkit
