#include "repair_options.hpp"

#include "commands.hpp"

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace kelvane_command {

using namespace KVN::toolkit;

namespace {

void add_method(CLI::App& command, RepairOptions& options) {
    std::vector<std::string> names;
    std::string help;
    for (const MethodInfo& info : methods()) {
        names.push_back(info.name);
        help += (help.empty() ? "" : "\n") + std::string(info.name) + ": " + info.help;
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

} // namespace

void add_page_options(CLI::App& command, std::string& page, std::size_t& most_views) {
    CLI::Option* file =
        command.add_option("--page", page, "Write a page to look at the places to this HTML file");
    command
        .add_option("--page-markers", most_views,
                    "So many markers, the worst, get a view there, or all (25)")
        ->transform(CLI::Transformer(std::map<std::string, std::size_t>{{"all", SIZE_MAX}}))
        ->needs(file)
        ->option_text("UINT:{all}");
}

void add_cut_options(CLI::App& command, RepairOptions& options) {
    add_method(command, options);
    command.add_option("--marker-size", options.marker_size,
                       "Added to each marker's radius for the cut (twice the mean edge)");
    const std::vector<CLI::Option*> rare = {
        command.add_flag("--size-adjustable", options.size_adjustable,
                         "Cut also what faces away by up to 135 degrees near a marker's\n"
                         "plane, and let --resolution enlarge the marker size"),
        command.add_option("--resolution", options.resolution, "Mean point distance of the scan"),
        command.add_flag("--flat-only", options.flat_only,
                         "Take all markers for flat: leave what stands on the surface"),
        command.add_flag("--straight-rims", options.straight_rims,
                         "Close markers on the rim by a straight edge, not along its curve"),
        command.add_option("--body-height", options.body_height,
                           "How far over its place a raised marker is looked for (8 radii)")};
    for (CLI::Option* option : rare) {
        option->group(group_places);
    }
}

std::string note_on_size(double marker_size) {
    char text[128];
    std::snprintf(text, sizeof text,
                  "the marker size is %.3g, twice the mean edge; --marker-size sets another",
                  marker_size);
    return text;
}

} // namespace kelvane_command
