// Markers that are seen in the colours of a scan's vertices.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/find/found_marker.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <vector>

namespace KVN::toolkit {

/// A disc inside a ring, told apart by brightness.
struct PaintedMarkerOptions {
    double radius = 0.0;      ///< of the ring's outside, in the scan's unit; above 0
    double inner_share = 0.6; ///< radius of the disc, in radii; between 0 and 1
    bool dark_inside = false; ///< a black disc in a white ring; else a white one in a black ring
};

/// The markers painted on `scan`, those most like the pattern first.
///
/// Reads the vertex properties red, green and blue, of any number type. A place is scored by the
/// correlation of the brightness of the vertices around it, those that face its way, with the
/// pattern in the plane across its normal; good places climb to where the correlation is best.
/// Kept are those with a correlation of at least 0.8, 1.6 radii apart, whose contrast is at least
/// 0.65 of the median of the eight most alike. `confidence` is the correlation.
///
/// The pattern needs vertices: a radius below 2.8 mean edges is an InputError, as are a scan
/// without colours and options that make no sense. Time is linear in the scan.
KELVANE_EXPORT std::vector<FoundMarker> find_painted_markers(const Scan& scan,
                                                             const PaintedMarkerOptions& options);

} // namespace KVN::toolkit
