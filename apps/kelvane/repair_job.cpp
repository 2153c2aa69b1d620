#include "repair_job.hpp"

#include "commands.hpp"
#include "repair_options.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/page/repair_page.hpp"
#include "kelvane/toolkit/report/report_json.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/text_file.hpp"

#include <filesystem>
#include <memory>
#include <utility>

namespace kelvane_command {

using namespace KVN::toolkit;
namespace fs = std::filesystem;

void add_repair_arguments(CLI::App& command, RepairArguments& arguments) {
    command.add_option("scan", arguments.scan, "Scan: .ply, .stl, .obj or .off; - for PLY")
        ->required();
    command.add_option("--markers", arguments.markers, "x,y,z,nx,ny,nz,radius as CSV or JSON");
    command.add_option("--output", arguments.output, "Repaired scan; may be the scan itself");
    command.add_option("--report", arguments.report, "Write the report to this JSON file");
    add_page_options(command, arguments.page, arguments.page_views);
    add_cut_options(command, arguments.options);
    command
        .add_flag("--leave-open", arguments.options.leave_open,
                  "Leave the cut of a marker that cannot be repaired open")
        ->group(group_places);
    command
        .add_option("--find", arguments.find,
                    "In place of a list: round holes, or markers seen in vertex colours")
        ->check(CLI::IsMember({"holes", "colour"}))
        ->group(group_finding);
    add_find_options(command, arguments.find_options);
    command
        .add_flag("--whole-mesh", arguments.options.whole_mesh,
                  "Make a mesh of the whole scan; the same result, slower")
        ->group(group_machine);
    command.add_option("--threads", arguments.options.threads, "Threads; 0 for all processors")
        ->check(CLI::NonNegativeNumber)
        ->group(group_machine);
}

void check_outputs(const RepairArguments& arguments) {
    if (arguments.output.empty()) {
        throw InputError("repair wants --output");
    }
    check_scan_output(arguments.output);
    std::vector<std::string> others = {arguments.scan, arguments.markers, arguments.output};
    for (const auto& [name, file] :
         {std::pair("report", arguments.report), std::pair("page", arguments.page)}) {
        if (file.empty()) {
            continue;
        }
        check_output(file);
        for (const std::string& other : others) {
            if (!other.empty() && fs::weakly_canonical(file) == fs::weakly_canonical(other)) {
                throw InputError(file + ": the " + name +
                                 " would overwrite another file of the run");
            }
        }
        others.push_back(file);
    }
}

std::vector<KVN::Marker> markers_for(const RepairArguments& arguments, const OpenScan& scan) {
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

RepairRun run_repair(const RepairArguments& arguments, Progress& progress) {
    check_outputs(arguments);
    const std::unique_ptr<OpenScan> scan = open_scan(arguments.scan);
    RepairRun run;
    run.markers = markers_for(arguments, *scan);
    RepairPage page;
    page.most_views = arguments.page_views;
    RepairOptions options = arguments.options;
    options.page = arguments.page.empty() ? nullptr : &page;
    run.report = repair_file(*scan, run.markers, options, arguments.output, &progress);
    run.json = to_json(run.report, run.markers, options);
    if (!arguments.report.empty()) {
        write_text(arguments.report, run.json);
    }
    if (!arguments.page.empty()) {
        write_page(arguments.page, page, run.report, run.markers,
                   fs::path(arguments.scan).filename().string());
    }
    return run;
}

} // namespace kelvane_command
