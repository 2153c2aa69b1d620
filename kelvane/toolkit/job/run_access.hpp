// The toolkit's way into a run. Not for callers: it is not installed.
#pragma once

#include "kelvane/repair/repair_markers.hpp"

namespace KVN::toolkit {

/// Starts a run with any of the closings and reads what it noted.
struct RunAccess {
    static double marker_size(const RepairMarkers& run) { return run.markerSize; }
    static const RunNotes& notes(const RepairMarkers& run) { return run.notes; }
    static const std::vector<Marker>& markers(const RepairMarkers& run) { return run.markers; }
    static const std::vector<std::vector<_vert*>>& borders(const RepairMarkers& run) {
        return run.holeBorders;
    }
    /// Store indices of the vertices alive at construction within `radius` of a point.
    static std::vector<int> vertices_within(const RepairMarkers& run, float x, float y, float z,
                                            double radius) {
        return run.vertices_within(x, y, z, radius);
    }
    static void keep_walks(RepairMarkers& run) { run.notes.trace.keep_walks = true; }
    static const std::vector<Closing>& closings() { return RepairMarkers::closings(); }

    /// MarkerRepairprocessing with the closing of `method`, stopping at `places`.
    static void process(RepairMarkers& run, Method method, int threads, const RunPlaces& places);
};

} // namespace KVN::toolkit
