#include "commands.hpp"
#include "console.hpp"
#include "repair_job.hpp"

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

int repair(const Arguments& arguments) {
    RepairRun run;
    {
        ProgressDisplay display(arguments.quiet);
        run = run_repair(arguments, display.progress());
    }
    print_notes(run.report.warnings);
    print_notes(run.report.not_kept);
    if (!arguments.quiet) {
        for (const std::string& line : run.report.diagnostics) {
            std::cerr << line << '\n';
        }
    }
    if (arguments.json) {
        print_result(run.json);
    } else if (!arguments.quiet) {
        print_result(summary(run.report));
    }
    const bool all_repaired = run.report.repaired() == static_cast<int>(run.report.markers.size());
    return arguments.strict && !all_repaired ? 1 : 0;
}

} // namespace

void add_repair(CLI::App& app, int& status) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand("repair", "Remove markers and close their places");
    add_repair_arguments(*command, *arguments);
    command->add_flag("--json", arguments->json, "Print the report as JSON");
    command->add_flag("--quiet", arguments->quiet, "No progress, diagnostics and table");
    command->add_flag("--strict", arguments->strict, "End with 1 if a marker is left unrepaired");
    command->callback([arguments, &status] { status = repair(*arguments); });
}

} // namespace kelvane_command
