// A triangulated scan as plain arrays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace KVN::toolkit {

/// One number per vertex or per face, under the name that it has in a PLY file: "red", "nx",
/// "confidence". The kinds are those of PLY, in the order of PlyType.
struct Property {
    /// One list of numbers of one kind.
    using Values =
        std::variant<std::vector<std::int8_t>, std::vector<std::uint8_t>, std::vector<std::int16_t>,
                     std::vector<std::uint16_t>, std::vector<std::int32_t>,
                     std::vector<std::uint32_t>, std::vector<float>, std::vector<double>>;
    std::string name; ///< unique among its kind
    Values values;    ///< one per record
};

/// Positions and triangles in the order of the file. Length unit: the caller's, millimetres in all
/// that the toolkit itself makes.
struct Scan {
    std::vector<float> positions; ///< x, y, z per vertex
    std::vector<std::int32_t>
        triangles; ///< three vertex indices per face, anticlockwise from outside
    std::int64_t short_faces =
        0; ///< faces of the file with fewer than 3 (different) corners, not in here

    std::vector<Property> vertex_properties; ///< each with vertex_count() values
    std::vector<Property> face_properties;   ///< each with face_count() values

    std::size_t vertex_count() const { return positions.size() / 3; } ///< also those without faces
    std::size_t face_count() const { return triangles.size() / 3; }   ///< all of them
};

} // namespace KVN::toolkit
