// What a repair saw at one marker, to look at and to read.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// Coloured lines and faces over points of their own.
struct Drawing {
    std::string name;                                 ///< of its file, without the extension
    std::vector<std::array<float, 3>> points;         ///< in the mesh's unit
    std::vector<std::array<std::uint8_t, 3>> colours; ///< red, green, blue; one per point
    std::vector<std::array<std::int32_t, 2>> edges;   ///< over `points`
    std::vector<std::array<std::int32_t, 3>> faces;   ///< over `points`
};

/// One marker's road through a run.
struct Explanation {
    /// "cut": the faces that were taken out. "ring": the vertices around them. "walks": every walk
    /// along the boundary, one colour per verdict (green: taken). "border": as it was filled.
    /// "patch": the new faces.
    std::vector<Drawing> drawings;
    std::string text; ///< a page: the cut, each walk with its verdict, the border, the patch,
                      ///< on the rim how it was closed
};

/// Repairs a copy of `scan` and tells how it went at marker `index` (from 0). The scan as a whole
/// is repaired, since markers can share a hole. Throws as repair_scan() does, and InputError for an
/// index that is no marker's.
KELVANE_EXPORT Explanation explain_marker(const Scan& scan, const std::vector<Marker>& markers,
                                          std::size_t index, const RepairOptions& options);

/// Writes the drawings as PLY files (vertices with colours, edges, faces) and the text as
/// `explanation.txt` into the folder, which is made if it is missing. Throws SystemError.
KELVANE_EXPORT void write_explanation(const std::filesystem::path& folder,
                                      const Explanation& explanation);

} // namespace KVN::toolkit
