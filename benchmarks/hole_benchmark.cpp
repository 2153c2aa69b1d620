// How long one hole takes, by the number of its border vertices: fill alone, fill and fairing,
// beside the peer on the same holes in the same run.
#include "analytic_scans.hpp"
#include "method_runs.hpp"
#include "peer_fill.hpp"
#include "statistics.hpp"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <exception>
#include <iostream>

namespace {

using namespace KVN::bench;
namespace toolkit = KVN::toolkit;

struct Arguments {
    std::vector<int> border_vertices = {20, 40, 48, 80, 160, 320, 640, 2000};
    int runs = 7;
    int peer_limit = 640; // the peer takes minutes beyond
    int holes = 12;       // at most, per size; fewer of the large ones
};

/// One size, medians over the runs; milliseconds per hole.
struct Row {
    double border = 0, inner = 0; // mean vertices per hole
    double fill = 0, fairing = 0;
    double peer_fill = 0, peer_fairing = 0;
};

// A panel with holes of about `count` border vertices: measured, a cut along the edges of such a
// mesh has 1.2 times as many as the circle that cuts has edge lengths.
MarkedScan panel_with_holes(int count, int holes) {
    AnalyticOptions options;
    options.noise = options.edge / 50;
    options.radius = count * options.edge / (1.2 * 2 * M_PI) - options.margin;
    const double spacing = 2 * (options.radius + options.margin) + 12 * options.edge;
    const double side = std::ceil(std::sqrt(holes)) * spacing;
    const double faces = 1.07 * side * side / (std::sqrt(3.0) / 4 * options.edge * options.edge);
    return large_panel(int(faces), holes, options);
}

double milliseconds(const toolkit::RepairReport& report, toolkit::Stage stage) {
    double sum = 0;
    for (const toolkit::StageTime& time : report.times) {
        sum += time.stage == stage ? 1e3 * time.seconds : 0.0;
    }
    return sum / std::max(1, report.repaired());
}

Row measure(int count, const Arguments& arguments) {
    const MarkedScan scan =
        panel_with_holes(count, std::max(1, std::min(arguments.holes, 2000 / count)));
    toolkit::RepairOptions options;
    options.marker_size = scan.margin;
    options.threads = 1;
    const RepairedMesh cut = cut_scan(scan.mesh, scan.markers, *scan.margin);
    const std::vector<HoleBorder> borders = cut_borders(scan.mesh, cut).loops;
    const bool with_peer = peer_available() && count <= arguments.peer_limit;
    Row row;
    std::vector<double> fill, fairing, peer_fill, peer_fairing;
    for (int run = 0; run < arguments.runs; ++run) {
        TriangleMesh result = scan.mesh;
        const auto report = toolkit::repair_scan(result, scan.markers, options);
        fill.push_back(milliseconds(report, toolkit::Stage::fill));
        fairing.push_back(milliseconds(report, toolkit::Stage::fairing));
        row.border = row.inner = 0;
        for (const toolkit::MarkerReport& marker : report.markers) {
            row.border += double(marker.border_vertices) / report.repaired();
            row.inner += double(marker.new_vertices) / report.repaired();
        }
        if (with_peer) {
            const PeerResult peer = fill_with_peer(cut, borders);
            const double scale = 1e3 / std::max(1, peer.filled);
            peer_fill.push_back(scale * peer.refine_seconds);
            peer_fairing.push_back(scale * (peer.fill_seconds - peer.refine_seconds));
        }
    }
    row.fill = median(fill);
    row.fairing = median(fairing);
    if (with_peer) {
        row.peer_fill = median(peer_fill);
        row.peer_fairing = median(peer_fairing);
    }
    return row;
}

void print(const Row& row) {
    std::printf("%7.0f%8.0f%12.3f%12.3f", row.border, row.inner, row.fill, row.fill + row.fairing);
    if (row.peer_fill > 0) {
        const double both = row.peer_fill + row.peer_fairing;
        std::printf("%12.3f%12.3f%8.2f%8.2f", row.peer_fill, both, row.peer_fill / row.fill,
                    both / (row.fill + row.fairing));
    }
    std::printf("\n");
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    CLI::App app("Times the repair of single holes by their size");
    app.add_option("--border-vertices", arguments.border_vertices, "sizes, roughly");
    app.add_option("--runs", arguments.runs, "runs per figure")->check(CLI::PositiveNumber);
    app.add_option("--holes", arguments.holes, "holes per size")->check(CLI::PositiveNumber);
    app.add_option("--peer-limit", arguments.peer_limit,
                   "largest hole that the peer fills; 0: none");
    CLI11_PARSE(app, argc, argv);
    std::printf("Milliseconds per hole, one thread, medians of %d runs. Peer: %s.\n",
                arguments.runs, peer_available() ? "CGAL" : "absent");
    std::printf("%7s%8s%12s%12s%12s%12s%8s%8s\n", "border", "inner", "fill", "and fairing",
                "peer fill", "and fairing", "ratio", "ratio");
    try {
        for (const int count : arguments.border_vertices) {
            print(measure(count, arguments));
        }
    } catch (const std::exception& error) {
        std::cerr << "hole_benchmark: " << error.what() << '\n';
        return 2;
    }
}
