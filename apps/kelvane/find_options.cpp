#include "find_options.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/find/painted_markers.hpp"
#include "kelvane/toolkit/find/round_holes.hpp"

namespace kelvane_command {

using namespace KVN::toolkit;

namespace {

// What passes for a hole of the radius asked for: the scanner's border is ragged by an edge or so.
constexpr double smallest_share = 0.75;
constexpr double largest_share = 1.3;

} // namespace

void add_find_options(CLI::App& command, FindArguments& arguments) {
    command.add_option("--radius", arguments.radius, "Radius of the markers to find");
    command.add_option("--radius-min", arguments.radius_min, "Least radius of a round hole");
    command.add_option("--radius-max", arguments.radius_max, "Largest radius of a round hole");
    command.add_option("--inner", arguments.inner,
                       "Painted markers: radius of the inner disc, in radii (0.6)");
    command.add_flag("--dark-inside", arguments.dark_inside,
                     "Painted markers: black disc in a white ring, not white in black");
}

std::vector<FoundMarker> find_holes(const Scan& scan, const FindArguments& arguments) {
    RoundHoleOptions options;
    if (arguments.radius) {
        options.radius_min = smallest_share * *arguments.radius;
        options.radius_max = largest_share * *arguments.radius;
    }
    options.radius_min = arguments.radius_min.value_or(options.radius_min);
    options.radius_max = arguments.radius_max.value_or(options.radius_max);
    return find_round_holes(scan, options);
}

std::vector<FoundMarker> find_colour(const Scan& scan, const FindArguments& arguments) {
    if (!arguments.radius) {
        throw InputError("painted markers need --radius");
    }
    return find_painted_markers(scan, {*arguments.radius, arguments.inner, arguments.dark_inside});
}

} // namespace kelvane_command
