// The peer: the same holes filled by a general-purpose hole filler, where one is installed.
#pragma once

#include "patch_metrics.hpp"

#include <utility>
#include <vector>

namespace KVN::bench {

/// True when the benchmarks were built with CGAL.
bool peer_available();

/// The edges around a hole, by their vertices; where holes touch, around all of them.
using HoleBorder = std::vector<std::pair<int, int>>;

struct PeerResult {
    RepairedMesh repaired; ///< the cut mesh and the patches; empty where none was asked for
    int filled = 0;        ///< holes that the peer reports as filled
    int refused_faces = 0; ///< faces of the cut mesh that the peer's mesh cannot hold
    double build_seconds = 0;
    double fill_seconds = 0;   ///< all holes, one after another
    double refine_seconds = 0; ///< of that, triangulation and refinement; the rest is fairing
};

/// Builds CGAL's Surface_mesh of `cut` and fills the holes at `borders`, one after another, by
/// triangulate_refine_and_fair_hole with its defaults: density of the border, continuity of the
/// tangent. A border that is a chain along the scan's rim is closed by the straight edge between
/// its ends, which is all that the peer can know of it. Without CGAL the result is empty.
PeerResult fill_with_peer(const RepairedMesh& cut, const std::vector<HoleBorder>& borders);

} // namespace KVN::bench
