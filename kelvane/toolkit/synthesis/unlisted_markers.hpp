// Scans of markers that nobody listed: painted on the vertices, or left out as holes.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/toolkit/scan/scan.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// Gives `scan` vertex colours: a grey ground with slow shading, noise, dark and light blotches and
/// lines, and on it the markers, a white disc of 0.6 of the radius in a black ring.
KELVANE_EXPORT void paint_markers(Scan& scan, const std::vector<Marker>& markers,
                                  std::uint64_t seed);

/// Outlines that are cut out, with r the radius at their place.
enum class HoleShape {
    disc,
    ellipse,     ///< half axes r and 0.6 r
    slit,        ///< 2 r long, 0.5 r wide
    double_disc, ///< two discs of 0.7 r, 1.1 r apart
    square,      ///< half side r
    blob,        ///< a disc whose radius swings by 0.25 r four times around
};
constexpr int hole_shapes = 6;

/// Takes the faces with a vertex in the outline out; vertices stay. The shape lies across the
/// marker's normal, within a radius of its plane.
KELVANE_EXPORT void cut_hole(Scan& scan, const Marker& place, HoleShape shape);

/// The demo scan with markers of other kinds in place of its inner stickers: raised bodies, painted
/// discs and holes in turn, the kinds of bodies one after the other. Listed are the inner markers
/// only, bodies as a measuring system lists them. The scan has colours.
KELVANE_EXPORT SyntheticScan with_other_markers(const SyntheticScan& demo, std::uint64_t seed);

} // namespace KVN::toolkit
