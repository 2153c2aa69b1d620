// A splice put into a scan in memory.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/scan/scan.hpp"
#include "kelvane/toolkit/scan/splice.hpp"

namespace KVN::toolkit {

/// Applies `splice` to arrays; the face records of a Scan are its triangles. Properties of new
/// vertices are mixed by weight, integers rounded; nx, ny, nz are the splice's normals, or mixed
/// and brought to unit length. Throws std::invalid_argument, and leaves `scan` as it was, if the
/// splice was not made for a scan of this size.
KELVANE_EXPORT void apply_splice(Scan& scan, const Splice& splice);

} // namespace KVN::toolkit
