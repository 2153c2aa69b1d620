// A synthetic scan as files to try things on.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <filesystem>

namespace KVN::toolkit {

/// Writes scan.ply, truth.ply and markers.csv into `folder`, which is made if it is not there.
/// Throws SystemError if the system refuses.
KELVANE_EXPORT void write_demo(const std::filesystem::path& folder, const SyntheticScan& scan);

} // namespace KVN::toolkit
