// Markers that were found and not listed.
#pragma once

#include "kelvane/repair/repair_markers.hpp"

#include <vector>

namespace KVN::toolkit {

/// A place that looks like a marker's. Lengths in the scan's unit.
struct FoundMarker {
    Marker marker;           ///< centre, normal and radius
    double residual = 0.0;   ///< holes: RMS distance of the border from its circle; colours: 0
    int edges = 0;           ///< holes: of the border; colours: 0
    double confidence = 0.0; ///< 0 to 1: how far within the limits
};

/// The markers alone, as a repair takes them.
inline std::vector<Marker> markers_of(const std::vector<FoundMarker>& found) {
    std::vector<Marker> markers;
    markers.reserve(found.size());
    for (const FoundMarker& f : found) {
        markers.push_back(f.marker);
    }
    return markers;
}

} // namespace KVN::toolkit
