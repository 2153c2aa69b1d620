// From a finished run over a window to what it changes in the scan.
#pragma once

#include "kelvane/toolkit/job/mesh_run.hpp"
#include "kelvane/toolkit/windows/splice_joining.hpp"
#include "kelvane/toolkit/windows/window.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// A run over a window, when it is finished.
struct FinishedRun {
    const Window& window;
    const Mesh_M::Mesh& mesh;
    const std::vector<std::int32_t>& face_of; ///< as build_from() gave it
    const MeshRun& run;
};

/// The splice of all places that `reports` calls repaired. Places of other markers are left out, so
/// that the scan stays there as it was, together with repaired ones that cannot be without them:
/// those that share a hole with such a place, a vertex under both cuts, or an edge of the border.
/// Their reports become `left_with_neighbour`. With `leave_open` every cut is in the splice.
/// Markers are named by their places in the run's own list.
///
/// New vertices grow from the vertices of their border by mean value coordinates in its plane
/// (Hormann and Floater 2006), negative ones left out, which carries linear properties on as they
/// are on convex borders. New faces grow from the nearest face at their border. A scan without
/// properties gets no origins.
PartSplice make_splice(const FinishedRun& finished, bool leave_open,
                       std::vector<MarkerReport>& reports);

/// The splice of a removal alone: everything that is deleted in the mesh goes.
Splice make_cut_splice(const Window& window, const Mesh_M::Mesh& mesh,
                       const std::vector<std::int32_t>& face_of);

} // namespace KVN::toolkit
