// The road of a repair from a surface to its splice.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/job/stage_clock.hpp"
#include "kelvane/toolkit/scan/splice.hpp"
#include "kelvane/toolkit/windows/surface.hpp"

#include <cstddef>
#include <functional>
#include <vector>

namespace KVN::toolkit {

/// How windows are cut. The defaults are for all but tests of them.
struct WindowTuning {
    bool guard = true; ///< looks before it reads; without, results may differ from the whole mesh's
    /// The first windows reach so far beyond the cuts, in margins and in radii of the marker: some
    /// six to eight edges on common scans, so that one round is nearly always enough.
    double margins_beyond = 3.0;
    double radii_beyond = 0.5;
    /// What a window is cut into, times the square of the threads, which share the holes of a part:
    /// the mesh of a part is small enough for a processor's caches.
    std::size_t triangles_per_part = 16384;
};

/// What became of the windows, for tests.
struct WindowNotes {
    int rounds = 0;
    std::size_t vertices = 0; ///< in the last one
    std::size_t parts = 0;    ///< that it was cut into
};

/// Repairs the neighbourhoods of the markers and tells what that changes. They become meshes in
/// the order of the surface, one for those that share anything, and that is read again, with wider
/// windows, as long as the run is about to read beyond them. The result is that of a run over the
/// whole surface, to the bit: that is also the last resort, where windows do not close or a vertex
/// has more faces than a mesh can hold.
///
/// Fills `report` but for the stage of the output. Throws InputError for indices
/// out of range, Cancelled, std::bad_alloc, std::length_error.
KELVANE_EXPORT Splice plan_repair(const Surface& surface, const std::vector<Marker>& markers,
                                  const RepairOptions& options, RepairReport& report,
                                  StageClock& clock, const WindowTuning& tuning = {},
                                  WindowNotes* notes = nullptr);

/// Takes a splice to where the repaired scan is wanted; may add to the report.
using SpliceOutput = std::function<void(const Splice& splice, RepairReport& report)>;

/// A whole job: the checks, the plan, and `output` as its last stage, of which `progress`, which
/// may be null, is told. Whatever `progress` or `output` throw passes through. For the rest see
/// repair_scan().
KELVANE_EXPORT RepairReport repair_surface(const Surface& surface,
                                           const std::vector<Marker>& markers,
                                           const RepairOptions& options, Progress* progress,
                                           const SpliceOutput& output);

} // namespace KVN::toolkit
