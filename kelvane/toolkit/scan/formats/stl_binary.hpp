// Binary STL, which stays on the disk.
#pragma once

#include "kelvane/toolkit/scan/formats/file_reader.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"

#include <memory>

namespace KVN::toolkit {

/// Checks all facets of the file, and reads them again where they are asked for. Its vertices are
/// the corners of facets, which nothing welds but to_scan() and the windows. Throws InputError.
std::unique_ptr<OpenScan> open_binary_stl(std::unique_ptr<FileReader> file);

} // namespace KVN::toolkit
