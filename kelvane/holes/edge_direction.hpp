// Which way a list of boundary edges runs.
#pragma once

#include "kelvane/holes/border_trace.hpp"

#include <vector>

namespace KVN {

/// Whether enough of the edges run against the winding of their faces, as a hole's border does. The
/// list is taken as cyclic. Its figure is their share.
Verdict judge_direction(const std::vector<Mesh_R::_edge*>& edges);

} // namespace KVN
