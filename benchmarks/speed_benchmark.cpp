// How long the repair of a large scan takes, stage by stage, against reading the scan once and
// against the peer's filling of the same holes.
#include "analytic_scans.hpp"
#include "method_runs.hpp"
#include "peer_fill.hpp"
#include "statistics.hpp"
#include "stopwatch.hpp"

#include "kelvane/toolkit/scan/scan_files.hpp"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

using namespace KVN::bench;
using Json = nlohmann::ordered_json;
namespace toolkit = KVN::toolkit;

struct Arguments {
    std::vector<int> faces = {1000000};
    std::vector<int> threads = {1, 2};
    int markers = 50;
    int runs = 3;
    int peer_holes = 1000; // more than there are: all of them
    double margin = 1.0;
    std::string json;
};

/// Medians over the runs, in seconds.
struct RepairTimes {
    int threads = 0;
    int repaired = 0;
    std::vector<double> stages; // by toolkit::Stage
    double total = 0;           // from arrays to arrays
};

double peak_megabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

// Median time to read the scan from a binary PLY file that was written a moment ago.
double read_seconds(const TriangleMesh& scan, int runs) {
    const auto file = std::filesystem::temp_directory_path() /
                      ("speed_benchmark_" + std::to_string(getpid()) + ".ply");
    toolkit::write_scan(file, scan);
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        const Stopwatch watch;
        const toolkit::Scan read = toolkit::read_scan(file);
        times.push_back(watch.seconds());
    }
    std::filesystem::remove(file);
    return median(times);
}

RepairTimes repair_times(const MarkedScan& scan, int threads, int runs) {
    toolkit::RepairOptions options;
    options.marker_size = scan.margin;
    options.threads = threads;
    RepairTimes times;
    times.threads = threads;
    std::vector<double> totals;
    std::vector<std::vector<double>> stages(toolkit::stage_count);
    for (int run = 0; run < runs; ++run) {
        TriangleMesh result = scan.mesh;
        const Stopwatch watch;
        const auto report = toolkit::repair_scan(result, scan.markers, options);
        totals.push_back(watch.seconds());
        for (const toolkit::StageTime& time : report.times) {
            stages[static_cast<int>(time.stage)].push_back(time.seconds);
        }
        times.repaired = report.repaired();
    }
    times.total = median(totals);
    for (const auto& stage : stages) {
        times.stages.push_back(stage.empty() ? 0 : median(stage));
    }
    return times;
}

void print_line(const std::string& label, double seconds) {
    std::printf("  %-44s%12.1f ms\n", label.c_str(), 1e3 * seconds);
}

// Discovery, fill, insertion and fairing: what the peer's filling of a found hole compares with.
double filling(const RepairTimes& times) {
    double sum = 0;
    for (int s = int(toolkit::Stage::discovery); s <= int(toolkit::Stage::fairing); ++s) {
        sum += times.stages[s];
    }
    return sum;
}

Json repair_row(const RepairTimes& times, int markers, double reading) {
    std::printf(" repair, %d thread%s: %d of %d markers closed\n", times.threads,
                times.threads == 1 ? "" : "s", times.repaired, markers);
    Json stages;
    for (int s = 0; s < toolkit::stage_count; ++s) {
        const char* name = toolkit::to_string(static_cast<toolkit::Stage>(s));
        print_line(std::string("  ") + name, times.stages[s]);
        stages[name] = times.stages[s];
    }
    print_line("whole run, arrays to arrays", times.total);
    std::printf("  %-44s%12.2f\n", "whole run / reading the file", times.total / reading);
    print_line("discovery to fairing, per marker", filling(times) / markers);
    return {{"threads", times.threads},
            {"repaired", times.repaired},
            {"stages", stages},
            {"total", times.total}};
}

Json peer_row(const MarkedScan& scan, const RepairTimes& ours, const Arguments& arguments) {
    const RepairedMesh cut = cut_scan(scan.mesh, scan.markers, *scan.margin);
    auto borders = cut_borders(scan.mesh, cut).loops;
    borders.resize(std::min(borders.size(), static_cast<std::size_t>(arguments.peer_holes)));
    std::vector<double> builds, fills;
    int filled = 0;
    for (int run = 0; run < arguments.runs; ++run) {
        const PeerResult peer = fill_with_peer(cut, borders);
        filled = peer.filled;
        builds.push_back(peer.build_seconds);
        fills.push_back(peer.fill_seconds / std::max(1, peer.filled));
    }
    const double per_hole = median(fills);
    const double our_build = ours.stages[int(toolkit::Stage::build)];
    const double markers = static_cast<double>(scan.markers.size());
    std::printf(" peer, 1 thread: %d of %d holes tried are filled\n", filled, int(borders.size()));
    print_line("building its mesh", median(builds));
    print_line("filling, per hole", per_hole);
    std::printf("  %-44s%12.2f\n", "peer / ours, per hole, discovery to fairing",
                per_hole / (filling(ours) / markers));
    std::printf("  %-44s%12.2f\n", "peer / ours, mesh and all holes",
                (median(builds) + per_hole * markers) / (our_build + filling(ours)));
    return {{"filled", filled}, {"build", median(builds)}, {"fill_per_hole", per_hole}};
}

Json measure(int faces, const Arguments& arguments) {
    AnalyticOptions options;
    options.margin = arguments.margin;
    options.noise = options.edge / 50;
    const MarkedScan scan = large_panel(faces, arguments.markers, options);
    const double before = peak_megabytes();
    std::printf("\n== %d faces, %d markers, medians of %d runs\n", scan.mesh.faces(),
                arguments.markers, arguments.runs);
    const double reading = read_seconds(scan.mesh, arguments.runs);
    print_line("reading a binary PLY file", reading);
    Json json = {{"faces", scan.mesh.faces()}, {"markers", arguments.markers}, {"read", reading}};
    json["repairs"] = Json::array();
    RepairTimes first;
    for (const int threads : arguments.threads) {
        RepairTimes times = repair_times(scan, threads, arguments.runs);
        json["repairs"].push_back(repair_row(times, arguments.markers, reading));
        if (first.threads == 0) {
            first = std::move(times);
        }
    }
    const double peak = peak_megabytes();
    std::printf("  %-44s%12.0f MB (%.0f MB with the scan's arrays alone)\n", "peak memory", peak,
                before);
    json["peak_megabytes"] = peak;
    if (!peer_available()) {
        std::printf(" peer: absent, CGAL was not found\n");
    } else if (arguments.peer_holes > 0) {
        json["peer"] = peer_row(scan, first, arguments);
    }
    return json;
}

} // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    CLI::App app("Times the repair of large synthetic scans");
    app.add_option("--faces", arguments.faces, "sizes, in faces");
    app.add_option("--markers", arguments.markers, "markers on the scan");
    app.add_option("--threads", arguments.threads, "thread counts");
    app.add_option("--runs", arguments.runs, "runs per figure")->check(CLI::PositiveNumber);
    app.add_option("--peer-holes", arguments.peer_holes,
                   "holes that the peer fills, all unless given; 0: none");
    app.add_option("--margin", arguments.margin, "added to the markers' radius, mm");
    app.add_option("--json", arguments.json, "also write the figures to this file");
    CLI11_PARSE(app, argc, argv);
    try {
        Json all = Json::array();
        for (const int faces : arguments.faces) {
            all.push_back(measure(faces, arguments));
        }
        if (!arguments.json.empty()) {
            std::ofstream(arguments.json) << all.dump(2) << '\n';
        }
    } catch (const std::exception& error) {
        std::cerr << "speed_benchmark: " << error.what() << '\n';
        return 2;
    }
}
