#include "commands.hpp"
#include "console.hpp"
#include "repair_job.hpp"
#include "repair_options.hpp"

#include "kelvane/toolkit/job/dry_run.hpp"
#include "kelvane/toolkit/report/report_json.hpp"

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelvane_command {

namespace {

using namespace KVN::toolkit;

struct Arguments : RepairArguments {
    bool json = false;
    bool quiet = false;
    bool strict = false;
    bool dry = false;
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

std::string summary(const DryRun& dry, const std::vector<KVN::Marker>& markers) {
    std::string text =
        "marker          x          y          z     cut  vertices  faces  outcome\n";
    for (std::size_t i = 0; i < markers.size(); ++i) {
        const KVN::Marker& m = markers[i];
        text += formatted(
            "%6zu  %9.6g  %9.6g  %9.6g  %6.4g  %8lld  %5lld  %s\n", i + 1, static_cast<double>(m.x),
            static_cast<double>(m.y), static_cast<double>(m.z),
            static_cast<double>(m.radius) + dry.report.marker_size,
            static_cast<long long>(dry.cuts[i].vertices), static_cast<long long>(dry.cuts[i].faces),
            describe(dry.report.markers[i].outcome));
    }
    return text + formatted("%d of %zu markers would be repaired; nothing was written\n",
                            dry.report.repaired(), markers.size());
}

void print_remarks(const Arguments& arguments, const RepairReport& report) {
    print_notes(report.warnings);
    print_notes(report.not_kept);
    if (arguments.quiet) {
        return;
    }
    if (!arguments.options.marker_size) {
        print_notes({note_on_size(report.marker_size)});
    }
    for (const std::string& line : report.diagnostics) {
        std::cerr << line << '\n';
    }
}

/// 1 if all markers must be repaired and one is not.
int status_of(const Arguments& arguments, const RepairReport& report) {
    const bool all_repaired = report.repaired() == static_cast<int>(report.markers.size());
    return arguments.strict && !all_repaired ? 1 : 0;
}

int try_repair(const Arguments& arguments) {
    const std::unique_ptr<OpenScan> scan = open_scan(arguments.scan);
    const std::vector<KVN::Marker> markers = markers_for(arguments, *scan);
    DryRun dry;
    {
        ProgressDisplay display(arguments.quiet);
        dry = dry_run(*scan, markers, arguments.options, &display.progress());
    }
    print_remarks(arguments, dry.report);
    print_result(arguments.json ? to_json(dry.report, markers, arguments.options)
                                : summary(dry, markers));
    return status_of(arguments, dry.report);
}

int repair(const Arguments& arguments) {
    if (arguments.dry) {
        return try_repair(arguments);
    }
    check_one_result(arguments.output, arguments.json);
    RepairRun run;
    {
        ProgressDisplay display(arguments.quiet);
        run = run_repair(arguments, display.progress());
    }
    print_remarks(arguments, run.report);
    if (arguments.json) {
        print_result(run.json);
    } else if (!arguments.quiet) {
        print_beside(arguments.output, summary(run.report));
    }
    return status_of(arguments, run.report);
}

} // namespace

void add_repair(CLI::App& app, int& status) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand("repair", "Remove markers and close their places");
    add_repair_arguments(*command, *arguments);
    command->add_flag("--dry-run", arguments->dry,
                      "Write nothing: list what would be cut, and how it would end");
    command->add_flag("--json", arguments->json, "Print the report as JSON");
    command->add_flag("--quiet", arguments->quiet, "No progress, diagnostics and table");
    command->add_flag("--strict", arguments->strict, "End with 1 if a marker is left unrepaired");
    command->footer(
        "\nExample:\n  kelvane repair scan.ply --markers markers.csv --output clean.ply");
    command->callback([arguments, &status] { status = repair(*arguments); });
}

} // namespace kelvane_command
