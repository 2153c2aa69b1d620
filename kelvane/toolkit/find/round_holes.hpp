// Round holes in a scan, as scanners leave them where markers were.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/find/found_marker.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <limits>
#include <vector>

namespace KVN::toolkit {

/// Which holes are of interest.
struct RoundHoleOptions {
    double radius_min = 0.0; ///< in the scan's unit, as all lengths here
    double radius_max = std::numeric_limits<double>::infinity(); ///< greatest
};

/// The boundary loops of `scan` that are round holes, in the order of their first vertices. Without
/// bounds for the radius bores of the part are among them: such a list is to be looked at.
///
/// A loop is fitted by a plane and, in it, by a circle (Kasa 1976), edges weighing by their length.
/// It is a hole if it runs clockwise seen from the side of the surface; it is round if its points
/// lie near the circle and the plane, all around and without much more or less area.
/// `residual` of a marker is the RMS distance from the circle.
///
/// Time is linear in the scan. Throws InputError for triangles that name no vertex and for bounds
/// that make no sense.
KELVANE_EXPORT std::vector<FoundMarker> find_round_holes(const Scan& scan,
                                                         const RoundHoleOptions& options = {});

} // namespace KVN::toolkit
