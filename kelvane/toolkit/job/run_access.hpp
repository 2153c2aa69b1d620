// The toolkit's way to the private members of a run. Not for callers: it is not installed.
#pragma once

#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"

#include <functional>
#include <vector>

namespace KVN::toolkit {

/// What came of one hole.
struct HoleResult {
    int marker = 0; ///< that the hole came from
    bool is_chain = false;
    int border_vertices = 0;
    int new_vertices = 0;
    int new_faces = 0;
};

/// The steps of a run that only a friend can take.
struct RunAccess {
    static void observe(RepairMarkers& run, const RunObserver* observer);
    static double marker_size(const RepairMarkers& run);
    static const std::vector<RegionFinding>& findings(const RepairMarkers& run);
    static const std::vector<std::vector<_vert*>>& regions(const RepairMarkers& run);

    /// The hole of another marker that a region without a hole of its own has joined, or -1. It has
    /// if at least half of its live vertices, given in `vertices`, lie on that hole's border: a
    /// single one may come from two markers that merely touch.
    static int joined_hole(const RepairMarkers& run, std::size_t region,
                           const std::vector<_vert*>& vertices);

    /// The holes of a finished MarkerRepairprocessing. New faces are those of the face store from
    /// `first_face` on, in the order of the patches.
    static std::vector<HoleResult> holes_of_patches(const RepairMarkers& run,
                                                    std::int32_t first_face);

    /// In place of MarkerRepairprocessing: every hole by one of the whole-hole methods, which is
    /// `high` or `low`. A result that is no sound patch for its hole is thrown away, and the hole
    /// stays open.
    static std::vector<HoleResult> repair_whole_holes(RepairMarkers& run, Method method,
                                                      int threads,
                                                      const std::function<void(RunStage)>& begins);
};

} // namespace KVN::toolkit
