// Spherical blocks cut out of a scan.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// What a cut did.
struct CutReport {
    std::int64_t vertices_before = 0;  ///< as in RepairReport
    std::int64_t faces_before = 0;     ///< face records
    std::int64_t vertices_after = 0;   ///< that stayed
    std::int64_t faces_after = 0;      ///< that stayed
    std::int64_t short_faces = 0;      ///< faces of the file with too few corners, left out
    Mesh_M::BuildReport loaded;        ///< faces around the blocks that the mesh took and refused
    std::vector<std::string> not_kept; ///< what the output's format could not hold, a line each
};

/// Deletes every face with a vertex inside one of the blocks, and the vertices that this leaves
/// without a face; the holes stay open. All other vertices keep their bits and their order. After
/// an exception `scan` is as it was.
KELVANE_EXPORT CutReport cut_blocks(Scan& scan, const std::vector<Block>& blocks);

/// The same from file to file; see repair_file().
KELVANE_EXPORT CutReport cut_file(const OpenScan& scan, const std::vector<Block>& blocks,
                                  const std::filesystem::path& output);

} // namespace KVN::toolkit
