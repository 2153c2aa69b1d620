// A triangulated scan as plain arrays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// Positions and triangles in the order of the file. Length unit: the caller's, millimetres in all
/// that the toolkit itself makes.
struct Scan {
    std::vector<float> positions; ///< x, y, z per vertex
    std::vector<std::int32_t>
        triangles; ///< three vertex indices per face, anticlockwise from outside
    std::int64_t short_faces =
        0; ///< faces of the file with fewer than 3 (different) corners, not in here

    std::size_t vertex_count() const { return positions.size() / 3; }
    std::size_t face_count() const { return triangles.size() / 3; }
};

} // namespace KVN::toolkit
