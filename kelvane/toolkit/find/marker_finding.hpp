// Looking for markers that nobody listed, as users ask for it.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/find/found_marker.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <optional>
#include <vector>

namespace KVN::toolkit {

/// Lengths in the scan's unit.
struct FindOptions {
    /// Of the markers. Round holes are taken from 0.75 to 1.3 of it: a scanner's border is ragged
    /// by an edge or so.
    std::optional<double> radius;
    std::optional<double> radius_min; ///< of round holes; comes before `radius`
    std::optional<double> radius_max; ///< of round holes; comes before `radius`
    double inner = 0.6;               ///< painted markers: radius of the inner disc, in radii
    bool dark_inside = false; ///< painted markers: black disc in a white ring, not white in black
};

/// Round holes, those of about `radius` or between both bounds where they are given; see
/// find_round_holes().
KELVANE_EXPORT std::vector<FoundMarker> find_holes(const Scan& scan, const FindOptions& options);

/// Painted markers; see find_painted_markers(). Throws InputError without `radius`.
KELVANE_EXPORT std::vector<FoundMarker> find_colour(const Scan& scan, const FindOptions& options);

} // namespace KVN::toolkit
