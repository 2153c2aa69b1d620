// How far a repaired scan lies from the true surface under each marker.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <optional>
#include <vector>

namespace KVN::toolkit {

/// Deviation under one marker, in the scans' unit.
struct MarkerDeviation {
    bool on_rim = false;  ///< the true surface has an open rim within reach of the marker
    int samples = 0;      ///< points measured; 0 where the true surface is out of reach
    double largest = 0.0; ///< the largest distance, in either direction
    double rms = 0.0;     ///< root of the mean squared distance of all samples
};

/// For each marker, takes the vertices and face centres of both scans within its radius + `margin`
/// (none: twice the mean edge of `truth`) and no farther from its plane than its radius, and
/// measures their distances to the other surface. Measuring both ways finds places that are still
/// open as well as patches that bulge. Both scans carry the noise of the scanner, which therefore
/// is part of every figure. Throws InputError for a margin that is negative or not finite.
KELVANE_EXPORT std::vector<MarkerDeviation> marker_deviations(const Scan& scan, const Scan& truth,
                                                              const std::vector<Marker>& markers,
                                                              std::optional<double> margin);

/// The worst of a list, inside the surface and on its rim apart; 0 where there is none.
struct DeviationSummary {
    double largest_inside = 0.0; ///< of the markers inside
    double largest_on_rim = 0.0; ///< of those on the rim
    int inside = 0;              ///< markers that were measured
    int on_rim = 0;              ///< how many are on the rim
};
KELVANE_EXPORT DeviationSummary summarise(const std::vector<MarkerDeviation>& deviations);

} // namespace KVN::toolkit
