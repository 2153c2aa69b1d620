#include "kelvane/toolkit/job/marker_repair.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/output_capture.hpp"
#include "kelvane/toolkit/job/run_access.hpp"
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

void check_arguments(const std::vector<Marker>& markers, const RepairOptions& options) {
    if (options.marker_size &&
        !(std::isfinite(*options.marker_size) && *options.marker_size >= 0)) {
        throw InputError("the marker size must be a finite length of 0 or more");
    }
    if (options.resolution && !(std::isfinite(*options.resolution) && *options.resolution > 0)) {
        throw InputError("the resolution must be a finite length above 0");
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
    default:
        return Stage::normals;
    }
}

std::int64_t live_vertices(const Mesh& mesh) {
    std::int64_t live = 0;
    for (std::int32_t i = 0; i < mesh.vertices.total(); ++i) {
        live += mesh.vertices.at(i).status != Mesh_R::status_deleted ? 1 : 0;
    }
    return live;
}

/// Each marker's outcome from what its region met and what came of the holes. `regions` are the
/// vertices around each cut, as the removal left them.
std::vector<MarkerReport> judge(const RepairMarkers& run, const std::vector<HoleResult>& holes,
                                const std::vector<std::vector<_vert*>>& regions,
                                std::size_t marker_count) {
    std::vector<MarkerReport> reports(marker_count);
    const std::vector<RegionFinding>& findings = RunAccess::findings(run);
    for (std::size_t m = 0; m < findings.size(); ++m) {
        if (findings[m] == RegionFinding::none_accepted) {
            reports[m].outcome = Outcome::all_facing_away;
        } else if (findings[m] == RegionFinding::cut) {
            reports[m].outcome = Outcome::no_border_found;
            const int joined = RunAccess::joined_hole(run, m, regions[m]);
            if (joined >= 0) {
                reports[m].outcome = holes[static_cast<std::size_t>(joined)].new_faces > 0
                                         ? Outcome::repaired_with_neighbour
                                         : Outcome::not_filled;
            }
        }
    }
    for (const HoleResult& hole : holes) {
        MarkerReport& report = reports[static_cast<std::size_t>(hole.marker)];
        const Outcome closed = hole.is_chain ? Outcome::repaired_chain : Outcome::repaired_loop;
        report.outcome = hole.new_faces > 0 ? closed : Outcome::not_filled;
        report.border_vertices = hole.border_vertices;
        report.new_vertices = hole.new_vertices;
        report.new_faces = hole.new_faces;
    }
    return reports;
}

/// Fills, joins and fairs the holes by the driver of the library.
std::vector<HoleResult> repair_fast(RepairMarkers& run, const Mesh& mesh, int threads,
                                    const std::function<void(RunStage)>& begins) {
    std::int32_t first_face = mesh.faces.total();
    RunObserver observer;
    observer.stage_begins = [&](RunStage stage) {
        if (stage == RunStage::insertion) {
            first_face = mesh.faces.total();
        }
        begins(stage);
    };
    RunAccess::observe(run, &observer);
    run.MarkerRepairprocessing(threads);
    RunAccess::observe(run, nullptr);
    return RunAccess::holes_of_patches(run, first_face);
}

void run_repair(Mesh& mesh, const std::vector<Marker>& markers, const RepairOptions& options,
                RepairReport& report, StageClock& clock) {
    report.threads = team_for(options, markers.size());
    report.vertices_before = live_vertices(mesh);
    report.faces_before = mesh.faces.liveCount;
    const TeamSize team(report.threads);
    OutputCapture capture;

    clock.begin(Stage::removal);
    const double margin = options.marker_size.value_or(2.0 * mean_edge_length(mesh));
    std::vector<Marker> list = markers;
    RepairMarkers run(&mesh, list, margin, options.size_adjustable ? 1 : 0, nullptr, 0);
    if (options.resolution) {
        run.setResolution(*options.resolution);
    }
    report.marker_size = RunAccess::marker_size(run);
    run.DeleteMarkRegion();
    const std::vector<std::vector<_vert*>> regions = RunAccess::regions(run);

    const std::function<void(RunStage)> begins = [&](RunStage stage) {
        stage == RunStage::done ? clock.end() : clock.begin(stage_of(stage));
    };
    const std::vector<HoleResult> holes =
        options.method == Method::fast
            ? repair_fast(run, mesh, report.threads, begins)
            : RunAccess::repair_whole_holes(run, options.method, report.threads, begins);
    clock.end();

    report.markers = judge(run, holes, regions, markers.size());
    report.vertices_after = live_vertices(mesh);
    report.faces_after = mesh.faces.liveCount;
    report.diagnostics = capture.lines();
}

} // namespace

const char* to_string(Method method) {
    constexpr const char* names[] = {"fast", "high", "low"};
    return names[static_cast<int>(method)];
}

const char* to_string(Outcome outcome) {
    constexpr const char* names[] = {"repaired_loop",
                                     "repaired_chain",
                                     "repaired_with_neighbour",
                                     "no_vertex_within_reach",
                                     "all_facing_away",
                                     "no_border_found",
                                     "not_filled"};
    return names[static_cast<int>(outcome)];
}

const char* describe(Outcome outcome) {
    constexpr const char* words[] = {"repaired as a loop",          "repaired as an open chain",
                                     "repaired with a neighbour",   "no vertex within reach",
                                     "out of plane or facing away", "cut, but no border was found",
                                     "cut, but not filled"};
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
    check_arguments(markers, options);
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
    check_arguments(markers, options);
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
