// Repairs a small synthetic scan by the toolkit; ends with 0 if every marker on it is repaired.
#include <kelvane/toolkit/errors.hpp>
#include <kelvane/toolkit/job/block_cut.hpp>
#include <kelvane/toolkit/job/marker_files.hpp>
#include <kelvane/toolkit/job/marker_repair.hpp>
#include <kelvane/toolkit/job/patch_soundness.hpp>
#include <kelvane/toolkit/measure/marker_deviation.hpp>
#include <kelvane/toolkit/measure/scan_info.hpp>
#include <kelvane/toolkit/measure/surface_distance.hpp>
#include <kelvane/toolkit/report/report_json.hpp>
#include <kelvane/toolkit/scan/scan_files.hpp>
#include <kelvane/toolkit/scan/scan_mesh.hpp>
#include <kelvane/toolkit/synthesis/synthetic_scan.hpp>
#include <kelvane/toolkit/text_file.hpp>

#include <cstdio>

int main() {
    namespace toolkit = KVN::toolkit;
    toolkit::DemoOptions options;
    options.width = options.depth = 40.0;
    options.inside = 2;
    options.on_rim = 0;
    options.overlapping = options.off_surface = false;
    toolkit::SyntheticScan scan = toolkit::make_demo_scan(options);
    const auto report = toolkit::repair_scan(scan.marked, scan.markers, {});
    std::fputs(toolkit::to_json(report, scan.markers, {}).c_str(), stdout);
    try {
        toolkit::read_scan("no such file.ply");
    } catch (const toolkit::InputError&) { // its type must be known across the libraries
        return report.repaired() == 2 ? 0 : 1;
    }
    return 2;
}
