// Mesh files by way of PCL. Nothing reaches the console.
#pragma once

#include "kelvane/toolkit/scan/scan.hpp"

#include <cstdint>
#include <filesystem>
#include <string>

namespace KVN::toolkit {

enum class PclFormat { ply, stl, obj };

/// What PCL made of a file.
struct PclScan {
    Scan scan;
    std::uint64_t polygons = 0;
    std::uint64_t corners = 0; ///< of all polygons together
};

/// Reads a file that has passed its check. Throws InputError with `name` if PCL cannot, or if a
/// face names a vertex that does not exist.
PclScan pcl_read(PclFormat format, const std::filesystem::path& file);

/// Writes `scan` over `file`; false if not all of it could be written. PCL itself takes a full disk
/// for a success, so the length of the file is looked at.
bool pcl_write(PclFormat format, const std::filesystem::path& file, const Scan& scan);

} // namespace KVN::toolkit
