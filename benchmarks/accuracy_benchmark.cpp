// How near to the true surface repairs are, by every method and by the peer.
#include "accuracy_report.hpp"
#include "analytic_scans.hpp"
#include "peer_fill.hpp"
#include "relief_scans.hpp"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>

namespace {

using namespace KVN::bench;

struct Arguments {
    std::string scans;
    std::vector<std::string> margins;   // name=value
    std::vector<std::uint64_t> reliefs; // seeds
    std::string json;
    double edge = 0.7;
    int threads = 1;
    bool analytic = true;
    bool per_marker = false;
    bool check = false;
};

std::map<std::string, double> parse_margins(const std::vector<std::string>& list) {
    std::map<std::string, double> margins;
    for (const std::string& entry : list) {
        const std::size_t equals = entry.find('=');
        if (equals == std::string::npos) {
            throw std::invalid_argument("--margin " + entry + ": not of the form name=value");
        }
        margins[entry.substr(0, equals)] = std::stod(entry.substr(equals + 1));
    }
    return margins;
}

std::vector<MarkedScan> all_scans(const Arguments& arguments) {
    std::vector<MarkedScan> scans;
    if (arguments.analytic) {
        AnalyticOptions options;
        options.edge = arguments.edge;
        scans = analytic_scans(options);
        options.noise = arguments.edge / 50;
        for (MarkedScan& scan : analytic_scans(options)) {
            scans.push_back(std::move(scan));
        }
    }
    for (const std::uint64_t seed : arguments.reliefs) {
        AnalyticOptions options;
        options.edge = arguments.edge;
        options.noise = arguments.edge / 70;
        for (MarkedScan& scan : relief_scans(options, seed)) {
            scans.push_back(std::move(scan));
        }
    }
    if (!arguments.scans.empty()) {
        for (MarkedScan& scan :
             read_marked_scans(arguments.scans, parse_margins(arguments.margins))) {
            scans.push_back(std::move(scan));
        }
    }
    return scans;
}

int run(const Arguments& arguments) {
    std::cout << "Repairs of marked scans against the known surface. Peer: "
              << (peer_available() ? "CGAL, triangulate_refine_and_fair_hole on the same cut"
                                   : "absent, CGAL was not found")
              << ".\nLengths in mm; benchmarks/patch_metrics.hpp defines the measures.\n";
    std::vector<ScanRuns> results;
    for (const MarkedScan& scan : all_scans(arguments)) {
        results.push_back(run_methods(scan, arguments.threads));
        print_scan(std::cout, results.back(), arguments.per_marker);
    }
    print_comparisons(std::cout, results);
    const auto found = faults(results);
    std::cout << "\nfaults: " << (found.empty() ? "none" : "") << '\n';
    for (const std::string& line : found) {
        std::cout << "  " << line << '\n';
    }
    if (!arguments.json.empty()) {
        std::ofstream(arguments.json) << accuracy_json(results);
    }
    bool met = found.empty();
    for (const Place place : {Place::interior, Place::rim}) {
        for (const PeerRatio& ratio : peer_ratios(results, KVN::Method::fast, place)) {
            met = met && ratio.met();
        }
    }
    return arguments.check && !met ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    CLI::App app("Measures repairs of marked scans against the known surface");
    app.add_option("--scans", arguments.scans,
                   "folder of scans: subfolders with marked.ply, truth.ply, markers.csv");
    app.add_option("--margin", arguments.margins, "name=value: margin in mm of one of these scans");
    app.add_option("--edge", arguments.edge, "edge length of the analytic scans, mm");
    app.add_option("--reliefs", arguments.reliefs,
                   "seeds of panels with creases, steps, ribs, bumps and the like");
    app.add_option("--threads", arguments.threads, "threads of a repair");
    app.add_option("--json", arguments.json, "also write everything to this file");
    app.add_flag("!--no-analytic", arguments.analytic, "leave the analytic scans out");
    app.add_flag("--per-marker", arguments.per_marker, "print every marker");
    app.add_flag("--check", arguments.check,
                 "exit with 1 on a fault or on a missed bar against the peer");
    CLI11_PARSE(app, argc, argv);
    try {
        return run(arguments);
    } catch (const std::exception& error) {
        std::cerr << "accuracy_benchmark: " << error.what() << '\n';
        return 2;
    }
}
