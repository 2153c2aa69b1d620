#include "kelvane/toolkit/find/marker_finding.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/find/painted_markers.hpp"
#include "kelvane/toolkit/find/round_holes.hpp"

namespace KVN::toolkit {

namespace {

// What passes for a hole of the radius asked for: the scanner's border is ragged by an edge or so.
constexpr double smallest_share = 0.75;
constexpr double largest_share = 1.3;

} // namespace

std::vector<FoundMarker> find_holes(const Scan& scan, const FindOptions& options) {
    RoundHoleOptions bounds;
    if (options.radius) {
        bounds.radius_min = smallest_share * *options.radius;
        bounds.radius_max = largest_share * *options.radius;
    }
    bounds.radius_min = options.radius_min.value_or(bounds.radius_min);
    bounds.radius_max = options.radius_max.value_or(bounds.radius_max);
    return find_round_holes(scan, bounds);
}

std::vector<FoundMarker> find_colour(const Scan& scan, const FindOptions& options) {
    if (!options.radius) {
        throw InputError("painted markers need a radius");
    }
    return find_painted_markers(scan, {*options.radius, options.inner, options.dark_inside});
}

} // namespace KVN::toolkit
