// A repair that writes nothing.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// What a repair would do.
struct DryRun {
    /// What goes with one marker: the cut, and a body that stands there. Where cuts run together it
    /// is counted for the marker that is nearest, in radii.
    struct Cut {
        std::int64_t vertices = 0; ///< that go
        std::int64_t faces = 0;    ///< that go
    };
    RepairReport report;   ///< as repair_file() would give it
    std::vector<Cut> cuts; ///< one per marker
};

/// Works the whole repair out, so that each outcome is the one that repair_file() would report, and
/// throws what it throws.
KELVANE_EXPORT DryRun dry_run(const OpenScan& scan, const std::vector<Marker>& markers,
                              const RepairOptions& options, Progress* progress = nullptr);

} // namespace KVN::toolkit
