// The splices of a window's parts as one.
#pragma once

#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/scan/splice.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace KVN::toolkit {

/// Of a splice under way: a new face that takes after any record that stays.
constexpr std::uint64_t any_record = std::numeric_limits<std::uint64_t>::max();

/// What one marker's patch has of the new records of a splice.
struct PatchRecords {
    std::size_t marker = 0; ///< its place in the list
    std::size_t first_rim = 0, rim_end = 0;
    std::size_t first_vertex = 0, vertex_end = 0;
    std::size_t first_face = 0, face_end = 0;
};

/// The splice of a part. Its new faces are those of the patches, then one for each of `returning`,
/// their records.
struct PartSplice {
    Splice splice; ///< with any_record among its face_origin
    std::vector<PatchRecords> patches;
    std::vector<std::uint64_t> returning; ///< ascending
};

/// The parts' splices as that of one run over all of them would be: new vertices and faces in the
/// order of the markers, those on rims first. `reports`, one per marker, learn where the patches
/// begin.
Splice join_splices(std::vector<PartSplice> parts, std::uint64_t vertices_of_scan,
                    std::uint64_t records_of_scan, std::vector<MarkerReport>& reports);

} // namespace KVN::toolkit
