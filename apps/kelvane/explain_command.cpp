#include "commands.hpp"
#include "console.hpp"
#include "repair_options.hpp"

#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/report/explanation.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"

#include <memory>
#include <string>

namespace kelvane_command {

namespace {

using namespace KVN::toolkit;

struct Arguments {
    std::string scan;
    std::string markers;
    std::size_t marker = 0;
    std::string output;
    RepairOptions options;
};

void explain(const Arguments& arguments) {
    const Explanation explanation =
        explain_marker(read_scan(arguments.scan), read_markers(arguments.markers),
                       arguments.marker - 1, arguments.options);
    write_explanation(arguments.output, explanation);
    print_result(explanation.text);
}

} // namespace

void add_explain(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command =
        app.add_subcommand("explain", "Show what the search for one marker's hole saw");
    command->add_option("scan", arguments->scan, "Scan: .ply, .stl, .obj or .off")->required();
    command->add_option("--markers", arguments->markers, "x,y,z,nx,ny,nz,radius as CSV or JSON")
        ->required();
    command->add_option("--marker", arguments->marker, "Which marker, from 1")
        ->required()
        ->check(CLI::PositiveNumber);
    command->add_option("--output", arguments->output, "Folder for the lines and the page of text")
        ->required();
    add_cut_options(*command, arguments->options);
    command->footer(
        "\nExample:\n  kelvane explain scan.ply --markers markers.csv --marker 7 --output why");
    command->callback([arguments] { explain(*arguments); });
}

} // namespace kelvane_command
