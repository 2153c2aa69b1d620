// Markers that are no stickers: bodies of known shape set onto a scan, as a scanner sees them.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// Shapes, with r the marker's radius; heights in millimetres over the foot.
enum class BodyKind {
    disc_1, ///< a plate 1 high, of radius r as all that is not told otherwise
    disc_3,
    disc_8,
    undercut,    ///< a head 3 high on a neck of 0.7 r
    leaning,     ///< 3 high, its walls leaning in to 0.75 r
    dome,        ///< half an ellipsoid, 3 high
    ball_seated, ///< a ball that touches with a circle of 0.6 r
    ball_stalk,  ///< a ball on a stalk of 0.35 r, its centre 5 high
    ball_hidden, ///< the same, stalk and underside not seen, the scan shaded below it
    ragged_disc, ///< disc_3 with holes in its walls
    ragged_dome, ///< dome with holes all over
    specks,      ///< disc_1 with four loose pieces of a few faces over it
};
constexpr int body_kinds = 12;

/// The name as it stands above.
KELVANE_EXPORT const char* to_string(BodyKind kind);

/// A body to be put on a scan.
struct RaisedBody {
    BodyKind kind; ///< its shape
    Marker foot;   ///< on the scan, its normal the scan's there
};

/// How the bodies are scanned; lengths in millimetres.
struct BodyOptions {
    double edge = 0.7;      ///< of the bodies' faces
    double noise = 0.01;    ///< standard deviation of their vertices
    std::uint64_t seed = 1; ///< another number, another scan
};

/// A scan with bodies, and the markers as a measuring system lists them: at the top of the body,
/// balls at their centre.
struct RaisedScan {
    Scan scan;                   ///< with the bodies on it
    std::vector<Marker> markers; ///< one per body
};

/// Sets bodies onto `scan`. Its vertices under them go, the others keep their bits and come first,
/// in their order. Bodies must stand clear of each other and of the scan's rim by some edges.
/// Throws InputError where a foot does not fit onto the scan.
KELVANE_EXPORT RaisedScan raise_bodies(const Scan& scan, const std::vector<RaisedBody>& bodies,
                                       const BodyOptions& options);

} // namespace KVN::toolkit
