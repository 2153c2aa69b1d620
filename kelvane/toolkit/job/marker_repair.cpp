#include "kelvane/toolkit/job/marker_repair.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/coarse_coordinates.hpp"
#include "kelvane/toolkit/job/mesh_run.hpp"
#include "kelvane/toolkit/job/output_capture.hpp"
#include "kelvane/toolkit/job/repair_plan.hpp"
#include "kelvane/toolkit/job/stage_clock.hpp"
#include "kelvane/toolkit/job/team_size.hpp"
#include "kelvane/toolkit/job/working_scale.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"
#include "kelvane/toolkit/scan/splice_arrays.hpp"
#include "kelvane/toolkit/windows/surface.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace KVN::toolkit {

namespace {

using Mesh_M::Mesh;

std::int64_t live_vertices(const Mesh& mesh) {
    std::int64_t live = 0;
    for (std::int32_t i = 0; i < mesh.vertices.total(); ++i) {
        live += mesh.vertices.at(i).status != Mesh_R::status_deleted ? 1 : 0;
    }
    return live;
}

void run_repair(Mesh& mesh, const std::vector<Marker>& markers, const RepairOptions& options,
                RepairReport& report, StageClock& clock) {
    report.threads = team_for(options, markers.size());
    report.vertices_before = live_vertices(mesh);
    report.faces_before = mesh.faces.liveCount;
    const TeamSize team(report.threads);
    OutputCapture capture;

    clock.begin(Stage::removal);
    const double margin = options.marker_size.value_or(2.0 * mean_side_length(mesh));
    const double scale = working_scale(markers);
    const ScaledMesh working(mesh, scale);
    const RepairOptions working_options = scaled(options, scale);
    MeshRun run(mesh, scaled(markers, scale), margin * scale, working_options);
    report.marker_size = run.marker_size();
    run.cut();
    run.close(report.threads, ticking(clock));
    clock.end();
    report.markers = run.reports();
    CoordinateSteps steps;
    steps.add(run.notes());
    report.warnings = steps.warnings();
    scale_back(report, scale);
    report.vertices_after = live_vertices(mesh);
    report.faces_after = mesh.faces.liveCount;
    report.diagnostics = capture.lines();
}

} // namespace

void check_repair_arguments(const std::vector<Marker>& markers, const RepairOptions& options) {
    if (options.marker_size &&
        !(std::isfinite(*options.marker_size) && *options.marker_size >= 0)) {
        throw InputError("the marker size must be a finite length of 0 or more");
    }
    if (options.resolution && !(std::isfinite(*options.resolution) && *options.resolution > 0)) {
        throw InputError("the resolution must be a finite length above 0");
    }
    if (options.body_height && !(std::isfinite(*options.body_height) && *options.body_height > 0)) {
        throw InputError("the body height must be a finite length above 0");
    }
    if (options.threads < 0) {
        throw InputError("the number of threads must be 0 or more");
    }
    for (std::size_t i = 0; i < markers.size(); ++i) {
        if (!(std::isfinite(markers[i].radius) && markers[i].radius > 0)) {
            throw InputError("marker " + std::to_string(i + 1) +
                             ": the radius must be a finite length above 0");
        }
    }
}

const char* to_string(Outcome outcome) {
    constexpr const char* names[] = {"repaired_loop",
                                     "repaired_chain",
                                     "repaired_with_neighbour",
                                     "no_vertex_within_reach",
                                     "all_facing_away",
                                     "no_border_found",
                                     "not_filled",
                                     "body_not_bounded",
                                     "edges_left_open",
                                     "part_left",
                                     "body_left",
                                     "wild_patch",
                                     "left_with_neighbour"};
    return names[static_cast<int>(outcome)];
}

const char* describe(Outcome outcome) {
    constexpr const char* words[] = {"repaired as a loop",
                                     "repaired as an open chain",
                                     "repaired with a neighbour",
                                     "no vertex within reach",
                                     "out of plane or facing away",
                                     "no border was found",
                                     "could not be filled",
                                     "raised, and its foot was not found",
                                     "the fill leaves edges open",
                                     "a loose piece of surface stays over the place",
                                     "a body still stands on the place",
                                     "the patch has no place near its border",
                                     "not without a neighbour that cannot be repaired"};
    return words[static_cast<int>(outcome)];
}

bool is_repaired(Outcome outcome) {
    return outcome <= Outcome::repaired_with_neighbour;
}

int RepairReport::repaired() const {
    return static_cast<int>(
        std::count_if(markers.begin(), markers.end(),
                      [](const MarkerReport& m) { return is_repaired(m.outcome); }));
}

double RepairReport::seconds() const {
    double sum = 0.0;
    for (const StageTime& time : times) {
        sum += time.seconds;
    }
    return sum;
}

RepairReport repair_mesh(Mesh& mesh, const std::vector<Marker>& markers,
                         const RepairOptions& options, Progress* progress) {
    check_repair_arguments(markers, options);
    RepairReport report;
    StageClock clock(report, progress, false);
    run_repair(mesh, markers, options, report, clock);
    if (progress != nullptr) {
        progress->finish();
    }
    return report;
}

RepairReport repair_scan(Scan& scan, const std::vector<Marker>& markers,
                         const RepairOptions& options, Progress* progress) {
    RepairReport report = repair_surface(
        ScanSurface(scan), markers, options, progress,
        [&scan](const Splice& splice, RepairReport&) { apply_splice(scan, splice); });
    report.short_faces = scan.short_faces;
    return report;
}

RepairReport repair_file(const OpenScan& scan, const std::vector<Marker>& markers,
                         const RepairOptions& options, const std::filesystem::path& output,
                         Progress* progress) {
    return repair_surface(FileSurface(scan), markers, options, progress,
                          [&](const Splice& splice, RepairReport& report) {
                              report.not_kept = write_spliced(scan, splice, output);
                          });
}

} // namespace KVN::toolkit
