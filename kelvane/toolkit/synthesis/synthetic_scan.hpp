// Synthetic scans with markers on them and the undisturbed surface to compare a repair with.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// Lengths in millimetres. The defaults give some 100,000 faces.
struct DemoOptions {
    double width = 160.0;    ///< of the panel, along x
    double depth = 120.0;    ///< of the panel, along y
    double spacing = 0.62;   ///< of the scan's points; the mean edge is about 1.15 times that
    double noise = 0.01;     ///< standard deviation along the normal
    int inside = 16;         ///< markers well inside the panel
    int on_rim = 4;          ///< markers that the panel's rim cuts
    bool overlapping = true; ///< two more markers that overlap each other
    bool off_surface = true; ///< one more marker that lies nowhere near the panel
    bool ragged_rim = false; ///< faces missing here and there along the rim
    std::uint64_t seed = 1;  ///< another number, another scan
};

enum class MarkerKind { inside, on_rim, overlapping, off_surface };

/// A scan as a scanner would make it of a panel with stickers, the same scan without stickers, and
/// the markers as a measuring system would report them. Outside the stickers both have the same
/// positions, bit for bit.
struct SyntheticScan {
    Scan marked;                   ///< with stickers
    Scan truth;                    ///< without
    std::vector<Marker> markers;   ///< as a measuring system reports them
    std::vector<MarkerKind> kinds; ///< one per marker
};

/// A doubly curved panel (a sum of sines with radii of curvature down to some 15 mm), irregularly
/// triangulated, with noise along the normal. A sticker is a disc of radius 2 to 3.5 whose points
/// are raised by 0.1 to 0.2; every third one has lost faces in its middle. The same options give
/// the same scan on every machine with the same mathematical library. Throws InputError if the
/// panel has no room for the markers or the options make no sense.
KELVANE_EXPORT SyntheticScan make_demo_scan(const DemoOptions& options = {});

} // namespace KVN::toolkit
