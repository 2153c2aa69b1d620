// The boundary of a scan as loops.
#pragma once

#include "kelvane/toolkit/scan/scan.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// The loops of edges with one face, in the direction of that face; each lists its vertices once. A
/// boundary that passes a vertex again is cut into loops there; what does not close is left out.
/// Throws InputError for triangles that name no vertex.
std::vector<std::vector<std::int32_t>> boundary_loops(const Scan& scan);

} // namespace KVN::toolkit
