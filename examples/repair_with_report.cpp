// Repairs a synthetic scan, prints what became of each marker while it shows the progress, and
// measures the result against the true surface.
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/measure/marker_deviation.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <cstdio>

namespace toolkit = KVN::toolkit;

int main() {
    toolkit::DemoOptions demo;
    demo.width = 60.0;
    demo.depth = 50.0;
    demo.inside = 3;
    demo.on_rim = 2;
    toolkit::SyntheticScan scan = toolkit::make_demo_scan(demo);

    toolkit::Progress progress([](toolkit::Stage stage, double done) {
        std::printf("%3.0f%% %s\n", 100.0 * done, toolkit::to_string(stage));
    });
    const toolkit::RepairReport report =
        toolkit::repair_scan(scan.marked, scan.markers, {}, &progress);

    const auto deviations =
        toolkit::marker_deviations(scan.marked, scan.truth, scan.markers, report.marker_size);
    for (std::size_t i = 0; i < report.markers.size(); ++i) {
        std::printf("marker %zu: %s, %d new faces, at most %.3f mm off\n", i + 1,
                    toolkit::describe(report.markers[i].outcome), report.markers[i].new_faces,
                    deviations[i].largest);
    }
    return 0;
}
