#include "kelvane/toolkit/job/repair_plan.hpp"

#include "kelvane/toolkit/job/output_capture.hpp"
#include "kelvane/toolkit/job/repair_rounds.hpp"
#include "kelvane/toolkit/job/scan_counts.hpp"
#include "kelvane/toolkit/job/team_size.hpp"
#include "kelvane/toolkit/job/working_scale.hpp"

#include <algorithm>

namespace KVN::toolkit {

namespace {

// Wide enough for the views of a page, which are cropped at three radii.
constexpr double radii_beyond_for_page = 2.0;

} // namespace

Splice plan_repair(const Surface& surface, const std::vector<Marker>& markers,
                   const RepairOptions& options, RepairReport& report, StageClock& clock,
                   const WindowTuning& tuning, WindowNotes* notes) {
    report.threads = team_for(options, markers.size());
    const TeamSize team(report.threads);
    OutputCapture capture;
    clock.begin(Stage::build);
    const double margin =
        options.marker_size ? *options.marker_size : 2.0 * mean_side_length(surface);
    const double scale = working_scale(markers);
    const ScaledSurface working(surface, scale);
    const std::vector<Marker> working_markers = scaled(markers, scale);
    const RepairOptions working_options = scaled(options, scale);
    RepairRounds rounds(working, working_markers, working_options, report, clock);
    WindowTuning wide = tuning;
    if (options.page != nullptr) {
        wide.radii_beyond = std::max(wide.radii_beyond, radii_beyond_for_page);
    }
    Splice splice = rounds.finish(margin * scale, wide);
    scale_back(splice, scale);
    scale_back(report, scale);
    if (options.page != nullptr) {
        scale_back(*options.page, scale);
    }
    if (notes != nullptr) {
        *notes = rounds.notes();
    }
    note_counts(surface, splice, report);
    report.short_faces = static_cast<std::int64_t>(surface.short_faces());
    report.diagnostics = capture.lines();
    return splice;
}

RepairReport repair_surface(const Surface& surface, const std::vector<Marker>& markers,
                            const RepairOptions& options, Progress* progress,
                            const SpliceOutput& output) {
    check_repair_arguments(markers, options);
    RepairReport report;
    StageClock clock(report, progress, true);
    const Splice splice = plan_repair(surface, markers, options, report, clock);
    clock.begin(Stage::output);
    output(splice, report);
    clock.end();
    if (progress != nullptr) {
        progress->finish();
    }
    return report;
}

} // namespace KVN::toolkit
