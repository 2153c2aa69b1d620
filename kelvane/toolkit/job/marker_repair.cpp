#include "kelvane/toolkit/job/marker_repair.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/mesh_run.hpp"
#include "kelvane/toolkit/job/output_capture.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"
#include "kelvane/toolkit/scan/scan_mesh.hpp"

#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace KVN::toolkit {

namespace {

using Mesh_M::Mesh;

/// Notes how long each stage takes and tells the caller's Progress.
class StageClock {
  public:
    StageClock(RepairReport& report, Progress* progress, bool may_stop)
        : report_(report), progress_(progress), may_stop_(may_stop) {}

    void begin(Stage stage) {
        end();
        if (progress_ != nullptr) {
            progress_->begin(stage);
            if (may_stop_ || stage <= Stage::removal) {
                progress_->check();
            }
        }
        report_.times.push_back({stage, 0.0});
        running_ = true;
        started_ = Clock::now();
    }

    void end() {
        if (running_) {
            const std::chrono::duration<double> taken = Clock::now() - started_;
            report_.times.back().seconds = taken.count();
            running_ = false;
        }
    }

  private:
    using Clock = std::chrono::steady_clock;
    RepairReport& report_;
    Progress* progress_;
    bool may_stop_; // also after the first face is deleted
    bool running_ = false;
    Clock::time_point started_;
};

/// The runtime's default team for the calling thread's parallel regions, until the end of the
/// scope.
class TeamSize {
  public:
    explicit TeamSize(int threads) : before_(omp_get_max_threads()) {
        omp_set_num_threads(threads);
    }
    TeamSize(const TeamSize&) = delete;
    TeamSize& operator=(const TeamSize&) = delete;
    ~TeamSize() { omp_set_num_threads(before_); }

  private:
    int before_;
};

/// As many threads as were asked for, but no more than can have work at the same time: holes are
/// shared out one by one, faces by processor.
int team_for(const RepairOptions& options, std::size_t markers) {
    if (options.threads == 0) {
        return omp_get_max_threads();
    }
    constexpr std::size_t most_holes_at_once = 256;
    const int useful =
        std::max(omp_get_num_procs(), static_cast<int>(std::min(markers, most_holes_at_once)));
    return std::min(options.threads, useful);
}

Stage stage_of(RunStage stage) {
    switch (stage) {
    case RunStage::discovery:
        return Stage::discovery;
    case RunStage::fill:
        return Stage::fill;
    case RunStage::insertion:
        return Stage::insertion;
    case RunStage::fairing:
        return Stage::fairing;
    case RunStage::normals:
    case RunStage::done:
        break;
    }
    return Stage::normals;
}

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
    MeshRun run(mesh, markers, options.marker_size.value_or(2.0 * mean_edge_length(mesh)), options);
    report.marker_size = run.marker_size();
    run.cut();
    run.close(report.threads, [&clock](RunStage stage) {
        stage == RunStage::done ? clock.end() : clock.begin(stage_of(stage));
    });
    clock.end();
    report.markers = run.reports();
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
                                     "body_left"};
    return names[static_cast<int>(outcome)];
}

const char* describe(Outcome outcome) {
    constexpr const char* words[] = {"repaired as a loop",
                                     "repaired as an open chain",
                                     "repaired with a neighbour",
                                     "no vertex within reach",
                                     "out of plane or facing away",
                                     "cut, but no border was found",
                                     "cut, but not filled",
                                     "raised, and its foot was not found",
                                     "filled, but edges are left open",
                                     "filled, but a loose piece is left over it",
                                     "filled, but a body still stands there"};
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
    check_repair_arguments(markers, options);
    RepairReport report;
    StageClock clock(report, progress, true);
    Mesh mesh;
    clock.begin(Stage::build);
    report.short_faces = scan.short_faces;
    report.loaded = build_from(scan, mesh);
    run_repair(mesh, markers, options, report, clock);
    clock.begin(Stage::output);
    Scan repaired = scan_of(mesh);
    clock.end();
    scan = std::move(repaired);
    if (progress != nullptr) {
        progress->finish();
    }
    return report;
}

} // namespace KVN::toolkit
