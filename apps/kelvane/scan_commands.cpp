// cut, info, demo and compare.
#include "commands.hpp"
#include "console.hpp"
#include "repair_options.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/block_cut.hpp"
#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/measure/marker_deviation.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"
#include "kelvane/toolkit/report/report_json.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/synthesis/demo_folder.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"
#include "kelvane/toolkit/synthesis/unlisted_markers.hpp"

#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

namespace kelvane_command {

namespace {

using namespace KVN::toolkit;

struct Arguments {
    std::string scan;
    std::string second; ///< blocks, markers
    std::string output; ///< or the true surface
    std::optional<double> marker_size;
    DemoOptions demo;
    bool json = false;
    bool bodies = false;
};

void cut(const Arguments& arguments) {
    check_one_result(arguments.output, arguments.json);
    check_scan_output(arguments.output);
    const std::unique_ptr<OpenScan> scan = open_scan(arguments.scan);
    const std::vector<Block> blocks = read_blocks(arguments.second);
    const CutReport report = cut_file(*scan, blocks, arguments.output);
    print_notes(report.not_kept);
    if (arguments.json) {
        print_result(to_json(report));
        return;
    }
    std::ostringstream text;
    text << blocks.size() << " blocks cut: vertices " << report.vertices_before << " -> "
         << report.vertices_after << ", faces " << report.faces_before << " -> "
         << report.faces_after << '\n';
    const std::string dropped = dropped_faces(report.loaded, report.short_faces);
    if (!dropped.empty()) {
        text << "faces dropped: " << dropped << '\n';
    }
    print_beside(arguments.output, text.str());
}

void info(const Arguments& arguments) {
    const ScanInfo info = scan_info(read_scan(arguments.scan));
    if (arguments.json) {
        print_result(to_json(info));
        return;
    }
    const EdgeLengths& lengths = info.edge_lengths;
    const std::string dropped = dropped_faces(info.loaded, info.short_faces);
    std::ostringstream text;
    text << "vertices            " << info.vertices << " (" << info.isolated_vertices
         << " isolated, " << info.non_finite_vertices << " not finite)\n"
         << "faces               " << info.faces << (dropped.empty() ? "" : ", dropped: ")
         << dropped << '\n'
         << "edges               " << info.edges << '\n'
         << "bounds              " << info.lower[0] << ' ' << info.lower[1] << ' ' << info.lower[2]
         << "  to  " << info.upper[0] << ' ' << info.upper[1] << ' ' << info.upper[2] << '\n'
         << "edge lengths        min " << lengths.min << ", mean " << lengths.mean << ", median "
         << lengths.median << ", max " << lengths.max << '\n'
         << "boundary loops      " << info.boundary_loops << " (" << info.boundary_edges
         << " edges)\n"
         << "non-manifold edges  " << info.non_manifold_edges << '\n'
         << "components          " << info.components << '\n';
    print_result(text.str());
}

void demo(const Arguments& arguments) {
    SyntheticScan scan = make_demo_scan(arguments.demo);
    if (arguments.bodies) {
        scan = with_other_markers(scan, arguments.demo.seed);
    }
    write_demo(arguments.output, scan);
    std::ostringstream text;
    text << arguments.output << ": scan.ply (" << scan.marked.face_count()
         << " faces), truth.ply, markers.csv (" << scan.markers.size()
         << " markers); scanner noise " << arguments.demo.noise << " mm\n";
    print_result(text.str());
}

void compare(const Arguments& arguments) {
    const Scan scan = read_scan(arguments.scan);
    const Scan truth = read_scan(arguments.output);
    const std::vector<KVN::Marker> markers = read_markers(arguments.second);
    const double margin = arguments.marker_size.value_or(2.0 * mean_edge_length(truth));
    if (!arguments.marker_size) {
        print_notes({note_on_size(margin)});
    }
    const auto deviations = marker_deviations(scan, truth, markers, margin);
    if (arguments.json) {
        print_result(to_json(deviations));
        return;
    }
    std::ostringstream text;
    text.setf(std::ios::fixed);
    text.precision(4);
    text << "marker  place   largest     rms\n";
    for (std::size_t i = 0; i < deviations.size(); ++i) {
        const MarkerDeviation& d = deviations[i];
        text.width(6);
        text << i + 1;
        if (d.samples == 0) {
            text << "  off the surface\n";
        } else {
            text << (d.on_rim ? "  rim    " : "  inside ") << "  " << d.largest << "  " << d.rms
                 << '\n';
        }
    }
    const DeviationSummary all = summarise(deviations);
    text << "largest deviation: inside " << all.largest_inside << " (" << all.inside
         << " markers), on the rim " << all.largest_on_rim << " (" << all.on_rim << " markers)\n";
    print_result(text.str());
}

} // namespace

void add_cut(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command =
        app.add_subcommand("cut", "Cut spherical blocks out; their holes stay open");
    command->add_option("scan", arguments->scan, "Scan: .ply, .stl, .obj or .off")->required();
    command->add_option("--blocks", arguments->second, "x,y,z,radius as CSV or JSON")->required();
    command->add_option("--output", arguments->output, "Cut scan; may be the scan itself")
        ->required();
    command->add_flag("--json", arguments->json, "Print the report as JSON");
    command->footer("\nExample:\n  kelvane cut scan.ply --blocks blocks.csv --output cut.ply");
    command->callback([arguments] { cut(*arguments); });
}

void add_info(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand("info", "Count and measure a scan");
    command->add_option("scan", arguments->scan, "Scan: .ply, .stl, .obj or .off")->required();
    command->add_flag("--json", arguments->json, "Print JSON");
    command->footer("\nExample:\n  kelvane info scan.ply --json");
    command->callback([arguments] { info(*arguments); });
}

void add_demo(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command =
        app.add_subcommand("demo", "Write a synthetic scan, its markers and the true surface");
    command->add_option("directory", arguments->output, "Where the three files go")->required();
    command->add_option("--seed", arguments->demo.seed, "Another number, another scan");
    command->add_flag("--ragged-rim", arguments->demo.ragged_rim, "Faces missing along the rim");
    command->add_flag("--bodies", arguments->bodies,
                      "Raised, painted and cut-out markers in turn instead of stickers");
    command->footer("\nExample:\n  kelvane demo trial --bodies");
    command->callback([arguments] { demo(*arguments); });
}

void add_compare(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command =
        app.add_subcommand("compare", "Measure a repaired scan against the true surface");
    command->add_option("scan", arguments->scan, "Repaired scan")->required();
    command->add_option("truth", arguments->output, "True surface")->required();
    command->add_option("--markers", arguments->second, "Markers of the repair")->required();
    command->add_option("--marker-size", arguments->marker_size,
                        "As in the repair (twice the mean edge)");
    command->add_flag("--json", arguments->json, "Print JSON");
    command->footer("\nExample:\n  kelvane compare clean.ply truth.ply --markers markers.csv");
    command->callback([arguments] { compare(*arguments); });
}

} // namespace kelvane_command
