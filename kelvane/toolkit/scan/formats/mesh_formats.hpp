// The mesh formats behind read_scan and write_scan.
//
// PLY, STL and OBJ are converted by PCL. Its readers take text for a number as 0 or NaN, do not
// test indices and say little about where a file is damaged, so that every file is walked by a
// check of ours first; what comes out of PCL is then held against what the check counted.
#pragma once

#include "kelvane/toolkit/scan/formats/output_file.hpp"
#include "kelvane/toolkit/scan/formats/source_file.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// What a check counted in a file.
struct FileCounts {
    std::uint64_t vertices = 0;  ///< 0 for STL, which has none of its own
    std::uint64_t faces = 0;     ///< polygons of any size
    std::uint64_t corners = 0;   ///< of all polygons together
    std::uint64_t collapsed = 0; ///< further triangles, which the welding of an STL file leaves out
    /// coordinate_digest() of all coordinates in file order; 0 for STL.
    std::uint64_t digest = 0;
};

/// Takes one coordinate into a digest of the bits of all; every NaN counts as the same.
std::uint64_t coordinate_digest(std::uint64_t digest, float value);

// Each walks all records of `source` and throws InputError with the first fault and its place.
FileCounts check_ply(const SourceFile& source);
FileCounts
check_stl(const SourceFile& source); // counts only triangles with three different corners
FileCounts check_obj(const SourceFile& source);

/// PCL has no OFF, so that this is all there is to it.
Scan read_off(const SourceFile& source);
void write_off(OutputFile& out, const Scan& scan);

/// The most vertices that the 32-bit indices of a scan can name.
constexpr std::uint64_t max_vertices = 0x7FFFFFFF;

/// Adds a polygon as a fan from its first corner; one with fewer than 3 corners is counted only.
void add_polygon(Scan& scan, const std::vector<std::int32_t>& corners);

/// "names vertex 9, but there are only 8 (from 0)"
std::string no_such_vertex(std::int64_t vertex, std::uint64_t vertex_count);

} // namespace KVN::toolkit
