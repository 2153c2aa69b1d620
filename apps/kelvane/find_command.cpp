#include "commands.hpp"
#include "console.hpp"
#include "find_options.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"

#include <cstdio>
#include <memory>
#include <string>

namespace kelvane_command {

namespace {

using namespace KVN::toolkit;

struct Arguments {
    std::string scan;
    std::string output;
    bool holes = false;
    bool colour = false;
    FindOptions find;
};

std::string table(const std::vector<FoundMarker>& found) {
    std::string text = "marker    radius  residual  edges  confidence\n";
    for (std::size_t i = 0; i < found.size(); ++i) {
        char line[96];
        std::snprintf(line, sizeof line, "%6zu  %8.3f  %8.3f  %5d  %10.2f\n", i + 1,
                      static_cast<double>(found[i].marker.radius), found[i].residual,
                      found[i].edges, found[i].confidence);
        text += line;
    }
    return text;
}

void find(const Arguments& arguments) {
    if (arguments.holes == arguments.colour) {
        throw InputError("find wants either --holes or --colour");
    }
    const Scan scan = read_scan(arguments.scan);
    const std::vector<FoundMarker> found =
        arguments.holes ? find_holes(scan, arguments.find) : find_colour(scan, arguments.find);
    write_markers(arguments.output, markers_of(found));
    print_beside(arguments.output, table(found));
    const FindOptions& f = arguments.find;
    if (arguments.holes && !f.radius && !f.radius_min && !f.radius_max) {
        print_notes({"no radius was given: bores and other round holes of the part are in the "
                     "list too; look at it before you repair by it"});
    }
}

} // namespace

void add_find(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand(
        "find", "Make a marker list of round holes, or of markers seen in vertex colours");
    command->add_option("scan", arguments->scan, "Scan: .ply, .stl, .obj or .off")->required();
    command->add_flag("--holes", arguments->holes, "Round holes");
    command->add_flag("--colour", arguments->colour, "Markers painted on the vertices");
    add_find_options(*command, arguments->find);
    command->add_option("--output", arguments->output, "Marker list, as CSV")->required();
    command->footer("\nExample:\n  kelvane find scan.ply --holes --radius 5 --output markers.csv");
    command->callback([arguments] { find(*arguments); });
}

} // namespace kelvane_command
