#include "repair_options.hpp"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kelvane_command {

using namespace KVN::toolkit;

void add_cut_options(CLI::App& command, RepairOptions& options) {
    command.add_option("--marker-size", options.marker_size,
                       "Added to each marker's radius for the cut (twice the mean edge)");
    command.add_flag("--size-adjustable", options.size_adjustable,
                     "Cut also what faces away by up to 135 degrees near a marker's plane, and "
                     "let --resolution enlarge the marker size");
    command.add_option("--resolution", options.resolution, "Mean point distance of the scan");
    command.add_flag("--flat-only", options.flat_only,
                     "Take all markers for flat: leave alone what stands on the surface");
    command.add_flag("--straight-rims", options.straight_rims,
                     "Close markers on the scan's rim by a straight edge, not along its curve");
    command.add_option("--body-height", options.body_height,
                       "How far over its place a raised marker is looked for (8 radii)");
    std::vector<std::string> names;
    std::string help;
    for (const MethodInfo& info : methods()) {
        names.push_back(info.name);
        help += (help.empty() ? "" : "; ") + std::string(info.name) + ": " + info.help;
    }
    const auto choose = [&options](const std::string& name) {
        for (const MethodInfo& info : methods()) {
            if (name == info.name) {
                options.method = info.method;
            }
        }
    };
    command.add_option_function<std::string>("--method", choose, help)->check(CLI::IsMember(names));
}

void add_page_options(CLI::App& command, std::string& page, std::size_t& most_views) {
    CLI::Option* file =
        command.add_option("--page", page, "Write a page to look at the places to this HTML file");
    command
        .add_option("--page-markers", most_views,
                    "So many markers, the worst, get a view there, or all (25)")
        ->transform(CLI::Transformer(std::map<std::string, std::size_t>{{"all", SIZE_MAX}}))
        ->needs(file);
}

} // namespace kelvane_command
