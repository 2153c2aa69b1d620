// Looking for markers that nobody listed, for the subcommands that do.
#pragma once

#include "kelvane/toolkit/find/found_marker.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <CLI/CLI.hpp>

#include <optional>
#include <vector>

namespace kelvane_command {

struct FindArguments {
    std::optional<double> radius;
    std::optional<double> radius_min;
    std::optional<double> radius_max;
    double inner = 0.6;
    bool dark_inside = false;
};

/// --radius, --radius-min, --radius-max, --inner, --dark-inside.
void add_find_options(CLI::App& command, FindArguments& arguments);

/// Round holes, those of about `radius` or between both bounds where they are given.
std::vector<KVN::toolkit::FoundMarker> find_holes(const KVN::toolkit::Scan& scan,
                                                  const FindArguments& arguments);

/// Painted markers; needs `radius`.
std::vector<KVN::toolkit::FoundMarker> find_colour(const KVN::toolkit::Scan& scan,
                                                   const FindArguments& arguments);

} // namespace kelvane_command
