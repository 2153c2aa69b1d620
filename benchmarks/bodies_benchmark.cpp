// How many raised markers are taken off down to their foot, and whether the report is right.
#include "analytic_scans.hpp"
#include "body_trials.hpp"
#include "statistics.hpp"

#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>

namespace {

using namespace KVN;
using namespace KVN::bench;

struct Arguments {
    std::uint64_t seed = 1;
    int runs = 1;
    double edge = 0.7;
    double margin = 1.0;
    std::string method = "fast";
    std::string scans;
    std::string truths;
    bool flat_only = false;
    bool wrong_lists = false;
    bool check = false;
};

toolkit::RepairOptions options_of(const Arguments& arguments, double margin) {
    toolkit::RepairOptions options;
    options.marker_size = margin;
    options.flat_only = arguments.flat_only;
    for (const toolkit::MethodInfo& info : toolkit::methods()) {
        if (arguments.method == info.name) {
            options.method = info.method;
        }
    }
    return options;
}

BodyScore run(const BodyTrial& trial, const std::vector<Marker>& markers, double edge,
              const toolkit::RepairOptions& options) {
    toolkit::Scan scan = trial.scan.mesh;
    const toolkit::RepairReport report = repair_scan(scan, markers, options);
    return judge(trial, edge, scan, report);
}

void print_head() {
    std::printf("%-32s %-8s markers  reported   good  wrong  no foot  rms median  mean\n", "scan",
                "list");
}

void print_row(const std::string& name, const char* list, const BodyScore& score) {
    std::printf("%-32s %-8s %7d %9d %6d %6d %8d", name.c_str(), list, score.markers, score.repaired,
                score.good, score.wrong, score.refused);
    if (!score.rms.empty()) {
        std::printf("  %10.4f %5.4f", median(score.rms), mean(score.rms));
    }
    std::printf("\n");
    std::fflush(stdout);
}

/// All scans and runs with bodies of one kind.
BodyScore run_kind(const Arguments& arguments, const std::vector<MarkedScan>& bare,
                   toolkit::BodyKind kind, ListFault fault) {
    BodyScore score;
    for (int i = 0; i < arguments.runs; ++i) {
        // Each kind, scan and run has places of its own; every list of a trial is of the same.
        std::uint64_t seed = 1000 * arguments.seed + 100 * static_cast<std::uint64_t>(i) +
                             static_cast<std::uint64_t>(kind);
        for (const MarkedScan& scan : bare) {
            seed += 1000003;
            const BodyTrial trial = body_trial(scan, kind, arguments.edge, seed);
            score.add(run(trial, listed(trial, fault, seed), arguments.edge,
                          options_of(arguments, arguments.margin)));
        }
    }
    return score;
}

/// What flat markers give, to compare with; false if looking for bodies changes anything there.
bool run_stickers(const Arguments& arguments, AnalyticOptions scans) {
    scans.stickers = true;
    scans.margin = arguments.margin;
    BodyScore score;
    bool same = true;
    for (const MarkedScan& marked : analytic_scans(scans)) {
        toolkit::RepairOptions options = options_of(arguments, arguments.margin);
        const BodyTrial trial = sticker_trial(marked);
        score.add(run(trial, trial.scan.markers, arguments.edge, options));
        toolkit::Scan looked = marked.mesh;
        toolkit::Scan flat = marked.mesh;
        repair_scan(looked, marked.markers, options);
        options.flat_only = true;
        repair_scan(flat, marked.markers, options);
        same = same && looked.positions == flat.positions && looked.triangles == flat.triangles;
    }
    print_row(same ? "sticker (same as --flat-only)" : "sticker (NOT as --flat-only)", "exact",
              score);
    return same && score.good == score.markers;
}

/// All kinds, with exact and with wrong lists.
bool run_generated(const Arguments& arguments) {
    AnalyticOptions options;
    options.edge = arguments.edge;
    options.noise = 0.01;
    options.stickers = false;
    const std::vector<MarkedScan> bare = analytic_scans(options);
    bool met = run_stickers(arguments, options);
    for (const ListFault fault : list_faults) {
        if (fault != ListFault::none && !arguments.wrong_lists) {
            continue;
        }
        BodyScore all;
        for (int kind = 0; kind < toolkit::body_kinds; ++kind) {
            const auto body = static_cast<toolkit::BodyKind>(kind);
            const BodyScore score = run_kind(arguments, bare, body, fault);
            print_row(to_string(body), to_string(fault), score);
            all.add(score);
        }
        print_row("all", to_string(fault), all);
        const int percent = fault == ListFault::none ? 98 : 95;
        met = met && all.wrong == 0 && 100 * all.good >= percent * all.markers;
    }
    return met;
}

/// Scans from files: each folder holds marked.ply, markers.csv and foot.csv; its name begins with
/// that of a folder of `truths`, up to a dash.
bool run_files(const Arguments& arguments) {
    namespace fs = std::filesystem;
    bool met = true;
    std::vector<fs::path> folders;
    for (const auto& entry : fs::directory_iterator(arguments.scans)) {
        if (fs::exists(entry.path() / "foot.csv")) {
            folders.push_back(entry.path());
        }
    }
    std::sort(folders.begin(), folders.end());
    for (const fs::path& folder : folders) {
        const std::string name = folder.filename().string();
        const fs::path truth = fs::path(arguments.truths) / name.substr(0, name.find('-'));
        BodyTrial trial;
        trial.scan.mesh = TriangleMesh(toolkit::read_scan(folder / "marked.ply"));
        trial.scan.markers = toolkit::read_markers(folder / "markers.csv");
        trial.scan.truth = mesh_truth(TriangleMesh(toolkit::read_scan(truth / "truth.ply")));
        trial.feet = toolkit::read_markers(folder / "foot.csv");
        const double edge = toolkit::mean_edge_length(toolkit::read_scan(truth / "truth.ply"));
        const BodyScore score =
            run(trial, trial.scan.markers, edge, options_of(arguments, arguments.margin));
        print_row(name, "exact", score);
        met = met && score.good == score.markers;
    }
    return met;
}

} // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    CLI::App app("Takes raised markers of twelve kinds off scans and looks at every place");
    app.add_option("--seed", arguments.seed, "Of the places and bodies");
    app.add_option("--runs", arguments.runs, "With seeds of their own");
    app.add_option("--edge", arguments.edge, "Mean edge length of the scans");
    app.add_option("--margin", arguments.margin, "Added to each marker's radius");
    app.add_option("--method", arguments.method, "fast, high or low");
    app.add_option("--scans", arguments.scans, "Folder of scans to judge instead");
    app.add_option("--truths", arguments.truths, "Folder of the same without markers");
    app.add_flag("--flat-only", arguments.flat_only, "Leave bodies alone");
    app.add_flag("--wrong-lists", arguments.wrong_lists, "Also with five wrong lists");
    app.add_flag("--check", arguments.check, "End with 1 if a bar is missed");
    CLI11_PARSE(app, argc, argv);
    try {
        print_head();
        const bool met = arguments.scans.empty() ? run_generated(arguments) : run_files(arguments);
        return arguments.check && !met ? 1 : 0;
    } catch (const std::exception& error) {
        std::cerr << "bodies_benchmark: " << error.what() << '\n';
        return 2;
    }
}
