// What a repair changes in a scan, small enough to be applied to arrays and to files alike.
#pragma once

#include "kelvane/export.hpp"

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
    std::vector<std::uint32_t> vertices_gone; ///< ascending
    /// Face records, ascending. Records that name a vertex that is gone go too, listed or not.
    std::vector<std::uint64_t> faces_gone;
    /// Every record that names a vertex that is gone is listed: who wants their number need not
    /// look through all faces.
    bool lists_all_faces = false;

    std::vector<float> positions; ///< x, y, z per new vertex
    /// Corners of the new faces: an index below the scan's vertex count is an old vertex, one that
    /// is not gone; vertex count + k is the new vertex k.
    std::vector<std::array<std::uint32_t, 3>> faces;

    /// Where the properties of a new vertex come from: a convex combination of old vertices, those
    /// of the border it grew from. Entries origin_begin[k] up to origin_begin[k + 1]
    /// of the other two belong to new vertex k, so that origin_begin has one entry more than there
    /// are new vertices, or none at all if nothing is known: properties are zero then.
    std::vector<std::uint32_t> origin_begin;
    std::vector<std::uint32_t> origin_vertex; ///< that it grew from
    std::vector<float> origin_weight;         ///< not negative, sum 1 per new vertex
    /// Per new face the old face record that it takes its properties from, also one that is gone;
    /// or empty: properties are zero then.
    std::vector<std::uint64_t> face_origin;

    std::vector<float> normals; ///< x, y, z per new vertex, unit length; empty: not computed

    std::size_t new_vertex_count() const { return positions.size() / 3; } ///< of the new ones
    /// Nothing goes and nothing comes.
    bool empty() const {
        return vertices_gone.empty() && faces_gone.empty() && positions.empty() && faces.empty();
    }
};

/// Throws std::invalid_argument unless `splice` fits a scan with so many vertices and face records:
/// lists ascending, arrays of matching lengths, all indices in range.
void check_splice(const Splice& splice, std::uint64_t vertices, std::uint64_t faces);

/// Sum of weight times `value_of(old vertex)` over the origins of new vertex `k`; 0 without any.
template <class ValueOf>
double mixed(const Splice& splice, std::size_t k, const ValueOf& value_of) {
    double sum = 0.0;
    if (!splice.origin_begin.empty()) {
        for (std::uint32_t i = splice.origin_begin[k]; i < splice.origin_begin[k + 1]; ++i) {
            sum += static_cast<double>(splice.origin_weight[i]) * value_of(splice.origin_vertex[i]);
        }
    }
    return sum;
}

/// The origin of new vertex `k` with the largest weight, the first of several; -1 without any.
std::int64_t nearest_origin(const Splice& splice, std::size_t k);

/// x, y, z of a normal for new vertex `k`: the splice's, or `mixed_normal` at unit length.
KELVANE_EXPORT std::array<double, 3> normal_of(const Splice& splice, std::size_t k,
                                               const std::array<double, 3>& mixed_normal);

} // namespace KVN::toolkit
