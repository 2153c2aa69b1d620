#include "find_options.hpp"

#include "commands.hpp"

#include <vector>

namespace kelvane_command {

using namespace KVN::toolkit;

void add_find_options(CLI::App& command, FindOptions& options) {
    const std::vector<CLI::Option*> added = {
        command.add_option("--radius", options.radius, "Radius of the markers to find"),
        command.add_option("--radius-min", options.radius_min, "Least radius of a round hole"),
        command.add_option("--radius-max", options.radius_max, "Largest radius of a round hole"),
        command.add_option("--inner", options.inner,
                           "Painted markers: radius of the inner disc, in radii (0.6)"),
        command.add_flag("--dark-inside", options.dark_inside,
                         "Painted markers: black disc in a white ring, not white in black")};
    for (CLI::Option* option : added) {
        option->group(group_finding);
    }
}

} // namespace kelvane_command
