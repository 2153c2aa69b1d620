#include "kelvane/toolkit/job/repair_rounds.hpp"

#include "kelvane/toolkit/job/run_access.hpp"
#include "kelvane/toolkit/page/page_gathering.hpp"
#include "kelvane/toolkit/windows/reach.hpp"
#include "kelvane/toolkit/windows/splice_making.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace KVN::toolkit {

namespace {

constexpr int most_rounds = 8;        // before the whole mesh is taken
constexpr double edges_beyond = 12.0; // around vertices that a round lacked
// Around its border high and low copy three or four rings of surface.
constexpr int rings_copied = 3;

/// Ends a run that has shown what it lacks and whose result nobody wants.
struct RoundLost {};

/// Rings of surface around a border of which the run reads the adjacency. A closing that brings its
/// patch in the hole's own lists has made it with the surroundings in view.
int rings_for(Method method) {
    const Closing& closing = RunAccess::closings().at(static_cast<std::size_t>(method));
    return closing.border_by_coordinates ? rings_copied : 0;
}

std::vector<Capsule> widened(std::vector<Capsule> cylinders, const std::vector<Marker>& markers,
                             double margin, const WindowTuning& tuning) {
    for (std::size_t i = 0; i < cylinders.size(); ++i) {
        cylinders[i].radius +=
            tuning.margins_beyond * margin + tuning.radii_beyond * markers[i].radius;
    }
    return cylinders;
}

bool same(const Capsule& a, const Capsule& b) {
    return a.from == b.from && a.to == b.to && a.radius == b.radius;
}

template <class T>
std::vector<T> chosen(const std::vector<T>& list, const std::vector<std::size_t>& places) {
    std::vector<T> some;
    for (const std::size_t place : places) {
        some.push_back(list[place]);
    }
    return some;
}

void add(Mesh_M::BuildReport& sum, const Mesh_M::BuildReport& part) {
    sum.inserted += part.inserted;
    sum.out_of_range += part.out_of_range;
    sum.degenerate += part.degenerate;
    sum.duplicate += part.duplicate;
    sum.overfull += part.overfull;
}

} // namespace

RepairRounds::RepairRounds(const Surface& surface, const std::vector<Marker>& markers,
                           const RepairOptions& options, RepairReport& report, StageClock& clock)
    : surface_(surface), markers_(markers), options_(options), report_(report), clock_(clock),
      complete_(surface.vertex_count()) {}

Splice RepairRounds::finish(double margin, const WindowTuning& tuning) {
    const double used = effective_marker_size(margin, options_);
    cylinders_ = body_capsules(markers_, used, options_);
    whole_ = options_.whole_mesh;
    if (!whole_) {
        add_in_reach(surface_, Reach(widened(cylinders_, markers_, used, tuning)), complete_);
    }
    for (int round = 0;; ++round) {
        if (whole_ || round == most_rounds) {
            whole_ = true;
            complete_.add_all();
        }
        clock_.begin(Stage::build);
        Window window = collect_window(surface_, complete_);
        notes_ = {round + 1, window.vertices.size(), 0};
        if (window.overfull && !whole_) {
            whole_ = true;
            continue;
        }
        if (std::optional<Splice> splice = once(std::move(window), margin, tuning)) {
            return std::move(*splice);
        }
    }
}

std::optional<Splice> RepairRounds::once(Window window, double margin, const WindowTuning& tuning) {
    lacking_ = false;
    splices_.clear();
    steps_ = {};
    report_.loaded = {};
    report_.markers.assign(markers_.size(), {});
    // A page is made of the window as one.
    const bool apart = !whole_ && options_.page == nullptr;
    const auto threads = static_cast<std::size_t>(std::max(report_.threads, 1));
    const std::vector<WindowPart> parts =
        cut_apart(std::move(window), markers_.size(), reaches(),
                  apart ? tuning.triangles_per_part * threads * threads
                        : std::numeric_limits<std::size_t>::max());
    notes_.parts = parts.size();
    for (std::size_t i = 0; i < parts.size(); ++i) {
        clock_.set_part(i, parts.size());
        clock_.begin(Stage::build);
        try {
            run_part(parts[i], margin, !whole_ && tuning.guard);
        } catch (const WindowTooSmall& lack) {
            grow(parts[i].window, lack);
        } catch (const RoundLost&) {
            clock_.end();
        }
    }
    if (lacking_) {
        return std::nullopt;
    }
    report_.warnings = steps_.warnings();
    Splice splice = join_splices(std::move(splices_), surface_.vertex_count(),
                                 surface_.face_count(), report_.markers);
    if (options_.page != nullptr) {
        gather_page({parts[0].window, splice, markers_, report_.markers, report_.marker_size},
                    *options_.page);
    }
    return splice;
}

void RepairRounds::run_part(const WindowPart& part, double margin, bool guarded) {
    Mesh_M::Mesh mesh;
    Mesh_M::BuildReport loaded;
    const std::vector<std::int32_t> face_of = build_from(part.window, mesh, loaded);
    add(report_.loaded, loaded);
    clock_.begin(Stage::removal);
    MeshRun run(mesh, chosen(markers_, part.markers), margin, options_);
    report_.marker_size = run.marker_size();
    const std::vector<Capsule> cylinders = chosen(cylinders_, part.markers);
    const WindowGuard guard(part.window, cylinders, rings_for(options_.method));
    if (guarded) {
        run.look_first([&](const CutPlace& place) { guard.before_bodies(place); },
                       [&](const CutPlace& place) {
                           guard.before_search(place);
                           if (lacking_) {
                               throw RoundLost();
                           }
                       });
    }
    run.cut();
    run.close(report_.threads, ticking(clock_));
    clock_.end();
    if (guarded) {
        take_aims(further_capsules(run.removals(), part.markers, options_));
    }
    if (!lacking_) {
        take_results(part, mesh, face_of, run);
    }
}

void RepairRounds::take_results(const WindowPart& part, const Mesh_M::Mesh& mesh,
                                const std::vector<std::int32_t>& face_of, const MeshRun& run) {
    std::vector<MarkerReport> reports = run.reports();
    steps_.add(run.notes());
    PartSplice splice =
        make_splice({part.window, mesh, face_of, run}, options_.leave_open, reports);
    for (PatchRecords& patch : splice.patches) {
        patch.marker = part.markers[patch.marker];
    }
    splices_.push_back(std::move(splice));
    for (std::size_t i = 0; i < reports.size(); ++i) {
        report_.markers[part.markers[i]] = std::move(reports[i]);
    }
}

/// A round whose further cylinders have all been held by its window is a good one.
void RepairRounds::take_aims(const std::vector<MarkerReach>& aims) {
    const bool held = std::all_of(aims.begin(), aims.end(), [&](const MarkerReach& aim) {
        return std::any_of(aimed_.begin(), aimed_.end(), [&](const MarkerReach& known) {
            return same(aim.capsule, known.capsule);
        });
    });
    if (!held) {
        lacking_ = true;
        std::vector<Capsule> capsules;
        for (const MarkerReach& aim : aims) {
            capsules.push_back(aim.capsule);
        }
        add_in_reach(surface_, Reach(capsules), complete_);
        aimed_.insert(aimed_.end(), aims.begin(), aims.end());
    }
}

/// Adds what a part lacked, and the surface around it.
void RepairRounds::grow(const Window& window, const WindowTooSmall& lack) {
    lacking_ = true;
    add_vertices(surface_, window, lack.vertices, complete_);
    std::vector<Capsule> around;
    for (const std::int32_t v : lack.vertices) {
        const float* p = &window.positions[3 * static_cast<std::size_t>(v)];
        around.push_back({{p[0], p[1], p[2]}, {p[0], p[1], p[2]}, edges_beyond * lack.edge});
    }
    add_in_reach(surface_, Reach(around), complete_);
}

std::vector<MarkerReach> RepairRounds::reaches() const {
    std::vector<MarkerReach> all = aimed_;
    for (std::size_t i = 0; i < cylinders_.size(); ++i) {
        all.push_back({i, cylinders_[i]});
    }
    return all;
}

} // namespace KVN::toolkit
