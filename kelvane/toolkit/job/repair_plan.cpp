#include "kelvane/toolkit/job/repair_plan.hpp"

#include "kelvane/toolkit/bodies/body_removal.hpp"
#include "kelvane/toolkit/job/coarse_coordinates.hpp"
#include "kelvane/toolkit/job/mesh_run.hpp"
#include "kelvane/toolkit/job/output_capture.hpp"
#include "kelvane/toolkit/job/run_access.hpp"
#include "kelvane/toolkit/job/scan_counts.hpp"
#include "kelvane/toolkit/job/team_size.hpp"
#include "kelvane/toolkit/job/working_scale.hpp"
#include "kelvane/toolkit/page/page_gathering.hpp"
#include "kelvane/toolkit/windows/reach.hpp"
#include "kelvane/toolkit/windows/splice_making.hpp"
#include "kelvane/toolkit/windows/window.hpp"
#include "kelvane/toolkit/windows/window_guard.hpp"

#include <algorithm>
#include <cmath>
#include <optional>

namespace KVN::toolkit {

namespace {

// Wide enough for the views of a page, which are cropped at three radii.
constexpr double radii_beyond_for_page = 2.0;
constexpr int most_rounds = 8;        // before the whole mesh is taken
constexpr double edges_beyond = 12.0; // around vertices that a round lacked
// Around its border high and low copy three or four rings of surface.
constexpr int rings_copied = 3;

/// Per marker, its cylinder as far as bodies are looked for: of radius and margin around the axis.
std::vector<Capsule> cylinders_of(const std::vector<Marker>& markers, double margin,
                                  const RepairOptions& options) {
    std::vector<Capsule> cylinders;
    for (const Marker& m : markers) {
        const double height = options.body_height.value_or(default_body_radii * m.radius);
        const double length =
            std::sqrt(static_cast<double>(m.nx) * m.nx + static_cast<double>(m.ny) * m.ny +
                      static_cast<double>(m.nz) * m.nz);
        const double scale = length > 0.0 ? height / length : 0.0;
        const auto end = [&](double sign) {
            return std::array<float, 3>{static_cast<float>(m.x + sign * scale * m.nx),
                                        static_cast<float>(m.y + sign * scale * m.ny),
                                        static_cast<float>(m.z + sign * scale * m.nz)};
        };
        // The ends are rounded to float: a little more radius makes up for it.
        const double rounding = 1e-6 * (std::fabs(m.x) + std::fabs(m.y) + std::fabs(m.z) + height);
        cylinders.push_back({end(-1.0), end(1.0), m.radius + margin + rounding});
    }
    return cylinders;
}

std::vector<Capsule> widened(std::vector<Capsule> cylinders, const std::vector<Marker>& markers,
                             double margin, const WindowTuning& tuning) {
    for (std::size_t i = 0; i < cylinders.size(); ++i) {
        cylinders[i].radius +=
            tuning.margins_beyond * margin + tuning.radii_beyond * markers[i].radius;
    }
    return cylinders;
}

/// Thrown after a run that has looked for bodies beyond the listed cylinders for the first time.
struct FurtherAims {
    std::vector<Capsule> cylinders;
};

std::vector<Capsule> further_cylinders(const std::vector<BodyRemoval>& removals,
                                       const RepairOptions& options) {
    constexpr double edges_read =
        6.0; // around such a cylinder, with the neighbours of what is read
    std::vector<Capsule> cylinders;
    for (const BodyRemoval& removal : removals) {
        for (const BodyAim& aim : removal.further) {
            cylinders.push_back(
                cylinders_of({aim.marker}, aim.margin + edges_read * aim.edge, options).front());
        }
    }
    return cylinders;
}

bool same(const Capsule& a, const Capsule& b) {
    return a.from == b.from && a.to == b.to && a.radius == b.radius;
}

/// Adds what a round lacked, and the surface around it.
void grow(const Surface& surface, const Window& window, const WindowTooSmall& lack,
          VertexBits& complete) {
    add_vertices(surface, window, lack.vertices, complete);
    std::vector<Capsule> around;
    for (const std::int32_t v : lack.vertices) {
        const float* p = &window.positions[3 * static_cast<std::size_t>(v)];
        around.push_back({{p[0], p[1], p[2]}, {p[0], p[1], p[2]}, edges_beyond * lack.edge});
    }
    add_in_reach(surface, Reach(around), complete);
}

/// Rings of surface around a border of which the run reads the adjacency. A closing that brings its
/// patch in the hole's own lists has made it with the surroundings in view.
int rings_for(Method method) {
    const Closing& closing = RunAccess::closings().at(static_cast<std::size_t>(method));
    return closing.border_by_coordinates ? rings_copied : 0;
}

/// One job under way: rounds over growing windows until one of them is finished.
class Rounds {
  public:
    Rounds(const Surface& surface, const std::vector<Marker>& markers, const RepairOptions& options,
           RepairReport& report, StageClock& clock)
        : surface_(surface), markers_(markers), options_(options), report_(report), clock_(clock),
          complete_(surface.vertex_count()) {}

    Splice finish(double margin, const WindowTuning& tuning) {
        const double used = effective_marker_size(margin, options_);
        const std::vector<Capsule> cylinders = cylinders_of(markers_, used, options_);
        whole_ = options_.whole_mesh;
        if (!whole_) {
            add_in_reach(surface_, Reach(widened(cylinders, markers_, used, tuning)), complete_);
        }
        for (int round = 0;; ++round) {
            if (whole_ || round == most_rounds) {
                whole_ = true;
                complete_.add_all();
            }
            clock_.begin(Stage::build);
            const Window window = collect_window(surface_, complete_);
            notes_ = {round + 1, window.vertices.size()};
            if (window.overfull && !whole_) {
                whole_ = true;
                continue;
            }
            const WindowGuard guard(window, cylinders, rings_for(options_.method));
            try {
                return once(window, margin, whole_ || !tuning.guard ? nullptr : &guard);
            } catch (const WindowTooSmall& lack) {
                grow(surface_, window, lack, complete_);
            } catch (const FurtherAims& aims) {
                add_in_reach(surface_, Reach(aims.cylinders), complete_);
                aimed_.insert(aimed_.end(), aims.cylinders.begin(), aims.cylinders.end());
            }
        }
    }

    const WindowNotes& notes() const { return notes_; }

  private:
    Splice once(const Window& window, double margin, const WindowGuard* guard) {
        Mesh_M::Mesh mesh;
        const std::vector<std::int32_t> face_of = build_from(window, mesh, report_.loaded);
        clock_.begin(Stage::removal);
        MeshRun run(mesh, markers_, margin, options_);
        report_.marker_size = run.marker_size();
        if (guard != nullptr) {
            run.look_first([guard](const CutPlace& place) { guard->before_bodies(place); },
                           [guard](const CutPlace& place) { guard->before_search(place); });
        }
        run.cut();
        run.close(report_.threads, ticking(clock_));
        clock_.end();
        if (guard != nullptr) {
            check_aims(further_cylinders(run.removals(), options_));
        }
        report_.markers = run.reports();
        report_.warnings = warnings(run.notes());
        Splice splice =
            make_splice({window, mesh, face_of, run}, options_.leave_open, report_.markers);
        if (options_.page != nullptr) {
            gather_page({window, splice, markers_, report_.markers, run.marker_size()},
                        *options_.page);
        }
        return splice;
    }

    /// A round whose further cylinders have all been held by its window is a good one.
    void check_aims(const std::vector<Capsule>& cylinders) const {
        const bool held = std::all_of(cylinders.begin(), cylinders.end(), [&](const Capsule& c) {
            return std::any_of(aimed_.begin(), aimed_.end(),
                               [&](const Capsule& known) { return same(c, known); });
        });
        if (!held) {
            throw FurtherAims{cylinders};
        }
    }

    const Surface& surface_;
    const std::vector<Marker>& markers_;
    const RepairOptions& options_;
    RepairReport& report_;
    StageClock& clock_;
    VertexBits complete_;
    std::vector<Capsule> aimed_; ///< further cylinders that the window holds
    bool whole_ = false;
    WindowNotes notes_;
};

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
    Rounds rounds(working, working_markers, working_options, report, clock);
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
