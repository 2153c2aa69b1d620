// What the search for a marker's border tried, and why each try was turned down. Written by the
// search, read by reports only.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

#include <vector>

namespace KVN {

/// Why a walk along the boundary, or a whole region, gave no border.
enum class Refusal {
    none,             ///< it is the border
    dead_region,      ///< no vertex of the region is left
    no_free_edge,     ///< no boundary edge to walk along, or all walked already
    too_short,        ///< a walk of fewer than 3 edges
    walk_open,        ///< the walk ended in the open
    patience_spent,   ///< the walk ran too far away from any marker
    too_small,        ///< smaller than the marker, in perimeter and in edges
    too_short_split,  ///< fewer than 3 edges once lobes at pinch vertices were cut off
    too_small_split,  ///< too small once lobes were cut off
    wrong_way,        ///< too few edges run against their faces
    off_ring,         ///< too few edges touch a marker's ring: another boundary of the scan
    no_seed,          ///< the boundary leaves the ring nowhere: no open rim here
    other_end,        ///< the far end of the marker's stretch, where walks do not begin
    walk_share,       ///< an open walk with too few edges for the region
    remainder_share,  ///< too few edges for the region once lobes were cut off
    no_region_vertex, ///< the walk left the region at once
    chain_size,       ///< a chain of too few vertices to be judged by its arc
    arc,              ///< a chain that spans too little of the marker's circumference
    long_walk,        ///< no walk is long enough to get the final say
};

/// A verdict with the figure that it rests on and the limit that the figure was held against.
struct Verdict {
    Refusal refusal = Refusal::none; ///< what stood against it
    double figure = 0.0;             ///< what was measured
    double limit = 0.0;              ///< what it had to keep

    bool accepted() const { return refusal == Refusal::none; } ///< nothing stood against it
};

/// One walk that was judged.
struct WalkTrace {
    Verdict verdict;       ///< how it ended
    int edges = 0;         ///< how many it met
    bool as_chain = false; ///< judged as an open chain, not as a loop
    /// The walk's vertices in order, first to last; empty unless walks are kept.
    std::vector<const Mesh_R::_vert*> vertices;
};

/// All that was tried for one region, in order.
struct BorderTrace {
    std::vector<WalkTrace> walks; ///< in the order in which they were taken
    bool keep_walks = false;      ///< also keep the walks' vertices

    /// Appends a walk; the edges are read only where walks are kept.
    void add(const Verdict& verdict, const std::vector<Mesh_R::_edge*>& edges, bool as_chain);
};

} // namespace KVN
