// What a repair changes in a scan, small enough to be applied to arrays and to files alike.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// The difference between a scan and its repair, in indices of the scan that it was made for. Old
/// records that stay keep their order and their bits; new ones come after them. A default-made
/// splice changes nothing.
///
/// A scan's face record is a face of its file: a polygon of any size, also one with fewer than
/// three corners. A polygon goes or stays as a whole.
struct Splice {
    std::vector<std::uint32_t> vertices_gone; ///< ascending; no face that stays may name them
    std::vector<std::uint64_t> faces_gone;    ///< face records, ascending

    std::vector<float> positions; ///< x, y, z per new vertex
    /// Corners of the new faces: an index below the scan's vertex count is an old vertex, one that
    /// is not gone; vertex count + k is the new vertex k.
    std::vector<std::array<std::uint32_t, 3>> faces;

    /// Where the properties of a new vertex come from: a convex combination of old vertices that
    /// stay, those of the border it grew from. Entries origin_begin[k] up to origin_begin[k + 1]
    /// of the other two belong to new vertex k, so that origin_begin has one entry more than there
    /// are new vertices, or none at all if nothing is known: properties are zero then.
    std::vector<std::uint32_t> origin_begin;
    std::vector<std::uint32_t> origin_vertex;
    std::vector<float> origin_weight; ///< not negative, sum 1 per new vertex
    /// Per new face the old face record, one that stays, that it takes its properties from; or
    /// empty: properties are zero then.
    std::vector<std::uint64_t> face_origin;

    std::vector<float> normals; ///< x, y, z per new vertex, unit length; empty: not computed

    std::size_t new_vertex_count() const { return positions.size() / 3; }
    bool empty() const {
        return vertices_gone.empty() && faces_gone.empty() && positions.empty() && faces.empty();
    }
};

} // namespace KVN::toolkit
