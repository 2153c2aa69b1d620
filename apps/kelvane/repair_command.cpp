#include "commands.hpp"
#include "console.hpp"
#include "find_options.hpp"
#include "repair_options.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/report/report_json.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/text_file.hpp"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

namespace kelvane_command {

namespace {

using namespace KVN::toolkit;
namespace fs = std::filesystem;

struct Arguments {
    std::string scan;
    std::string markers; ///< or what to look for
    std::string find;
    FindOptions find_options;
    std::string output;
    std::string report;
    RepairOptions options;
    bool json = false;
    bool quiet = false;
    bool strict = false;
};

template <class... Values>
std::string formatted(const char* format, Values... values) {
    char line[256];
    std::snprintf(line, sizeof line, format, values...);
    return line;
}

std::string summary(const RepairReport& report) {
    std::string text = "marker  border  vertices  faces  outcome\n";
    for (std::size_t i = 0; i < report.markers.size(); ++i) {
        const MarkerReport& m = report.markers[i];
        text += formatted("%6zu  %6d  %8d  %5d  %s%s\n", i + 1, m.border_vertices, m.new_vertices,
                          m.new_faces, describe(m.outcome), m.unfaired ? ", not faired" : "");
    }
    text += formatted("%d of %zu markers repaired, cut %.3g beyond their radius\n",
                      report.repaired(), report.markers.size(), report.marker_size);
    text += formatted("vertices %lld -> %lld, faces %lld -> %lld, %.3f s with %d threads\n",
                      static_cast<long long>(report.vertices_before),
                      static_cast<long long>(report.vertices_after),
                      static_cast<long long>(report.faces_before),
                      static_cast<long long>(report.faces_after), report.seconds(), report.threads);
    const std::string dropped = dropped_faces(report.loaded, report.short_faces);
    return text + (dropped.empty() ? "" : "faces dropped: " + dropped + "\n");
}

/// What can be seen to fail is looked at before the work begins.
void check_outputs(const Arguments& arguments) {
    check_scan_output(arguments.output);
    if (arguments.report.empty()) {
        return;
    }
    check_output(arguments.report);
    const fs::path report = fs::weakly_canonical(arguments.report);
    for (const std::string& other : {arguments.scan, arguments.markers, arguments.output}) {
        if (!other.empty() && report == fs::weakly_canonical(other)) {
            throw InputError(arguments.report +
                             ": the report would overwrite another file of the run");
        }
    }
}

/// The listed markers, or those that are found.
std::vector<KVN::Marker> markers_for(const Arguments& arguments, const OpenScan& scan) {
    if (arguments.markers.empty() == arguments.find.empty()) {
        throw InputError("repair wants either --markers or --find");
    }
    if (arguments.find.empty()) {
        return read_markers(arguments.markers);
    }
    const Scan arrays = scan.to_scan();
    return markers_of(arguments.find == "holes" ? find_holes(arrays, arguments.find_options)
                                                : find_colour(arrays, arguments.find_options));
}

int repair(const Arguments& arguments) {
    check_outputs(arguments);
    const std::unique_ptr<OpenScan> scan = open_scan(arguments.scan);
    const std::vector<KVN::Marker> markers = markers_for(arguments, *scan);
    RepairReport report;
    {
        ProgressDisplay display(arguments.quiet);
        report =
            repair_file(*scan, markers, arguments.options, arguments.output, &display.progress());
    }
    print_notes(report.warnings);
    print_notes(report.not_kept);
    if (!arguments.quiet) {
        for (const std::string& line : report.diagnostics) {
            std::cerr << line << '\n';
        }
    }
    const bool needs_json = arguments.json || !arguments.report.empty();
    const std::string json = needs_json ? to_json(report, markers, arguments.options) : "";
    if (!arguments.report.empty()) {
        write_text(arguments.report, json);
    }
    if (arguments.json) {
        print_result(json);
    } else if (!arguments.quiet) {
        print_result(summary(report));
    }
    const bool all_repaired = report.repaired() == static_cast<int>(report.markers.size());
    return arguments.strict && !all_repaired ? 1 : 0;
}

} // namespace

void add_repair(CLI::App& app, int& status) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand("repair", "Remove markers and close their places");
    command->add_option("scan", arguments->scan, "Scan: .ply, .stl, .obj or .off")->required();
    command->add_option("--markers", arguments->markers, "x,y,z,nx,ny,nz,radius as CSV or JSON");
    command
        ->add_option("--find", arguments->find,
                     "In place of a list: round holes, or markers seen in vertex colours")
        ->check(CLI::IsMember({"holes", "colour"}));
    add_find_options(*command, arguments->find_options);
    command->add_option("--output", arguments->output, "Repaired scan; may be the scan itself")
        ->required();
    add_cut_options(*command, arguments->options);
    command->add_flag("--leave-open", arguments->options.leave_open,
                      "Leave the cut of a marker that cannot be repaired open");
    command->add_flag("--whole-mesh", arguments->options.whole_mesh,
                      "Make a mesh of the whole scan; the same result, slower");
    command->add_option("--threads", arguments->options.threads, "Threads; 0 for all processors")
        ->check(CLI::NonNegativeNumber);
    command->add_option("--report", arguments->report, "Write the report to this JSON file");
    command->add_flag("--json", arguments->json, "Print the report as JSON");
    command->add_flag("--quiet", arguments->quiet, "No progress, diagnostics and table");
    command->add_flag("--strict", arguments->strict, "End with 1 if a marker is left unrepaired");
    command->callback([arguments, &status] { status = repair(*arguments); });
}

} // namespace kelvane_command
