#include "kelvane/toolkit/job/mesh_run.hpp"

#include "kelvane/toolkit/bodies/place_look.hpp"
#include "kelvane/toolkit/job/patch_bound.hpp"
#include "kelvane/toolkit/job/patch_mending.hpp"
#include "kelvane/toolkit/job/patch_soundness.hpp"
#include "kelvane/toolkit/job/run_access.hpp"
#include "kelvane/toolkit/report/border_words.hpp"
#include "kelvane/toolkit/rims/rim_closing.hpp"

#include <algorithm>
#include <utility>

namespace KVN::toolkit {

namespace {

RepairMarkers repairer(Mesh_M::Mesh* mesh, std::vector<Marker> markers, double marker_size,
                       const RepairOptions& options) {
    RepairMarkers run(mesh, markers, marker_size, options.size_adjustable ? 1 : 0, nullptr, 0);
    if (options.resolution) {
        run.setResolution(*options.resolution);
    }
    return run;
}

/// Takes slivers and flipped faces out of a patch that its method has made with the surface around
/// it in view; false where they resist. One that is faired later is not final yet.
bool mend(JoinPlace& place) {
    if (place.normals == nullptr || place.border_places.size() != place.points.size()) {
        return true;
    }
    std::vector<int> in_border;
    for (const int point : *place.border_points) {
        in_border.push_back(place.border_places[static_cast<std::size_t>(point)]);
    }
    const PatchMending mending =
        mend_patch(place.points, place.faces, *place.normals, *place.border_points);
    // Points may have gone; the list of border points keeps its order.
    place.border_places.assign(place.points.size(), -1);
    for (std::size_t k = 0; k < in_border.size(); ++k) {
        place.border_places[static_cast<std::size_t>((*place.border_points)[k])] = in_border[k];
    }
    return mending != PatchMending::refused;
}

Outcome outcome_of(const HoleNote& hole, bool own) {
    if (hole.new_faces == 0) {
        return Outcome::not_filled;
    }
    if (!own) {
        return Outcome::repaired_with_neighbour;
    }
    return hole.is_chain ? Outcome::repaired_chain : Outcome::repaired_loop;
}

Outcome outcome_of(PlaceFault fault, Outcome repaired) {
    switch (fault) {
    case PlaceFault::none:
        break;
    case PlaceFault::open_edges:
        return Outcome::edges_left_open;
    case PlaceFault::part_left:
        return Outcome::part_left;
    case PlaceFault::body_left:
        return Outcome::body_left;
    }
    return repaired;
}

/// The hole through which a marker's place was closed, or -1.
int closed_hole(const RegionNote& region, const std::vector<HoleNote>& holes) {
    const int hole = region.hole >= 0 ? region.hole : region.joined_hole;
    return hole >= 0 && holes[static_cast<std::size_t>(hole)].new_faces > 0 ? hole : -1;
}

double body_height(const RepairOptions& options, const Marker& marker) {
    return options.body_height.value_or(default_body_radii * marker.radius);
}

MarkerReport report_of(const RegionNote& region, const std::vector<HoleNote>& holes) {
    MarkerReport report;
    switch (region.finding) {
    case RegionFinding::no_vertex_in_reach:
        report.outcome = Outcome::no_vertex_within_reach;
        break;
    case RegionFinding::none_accepted:
        report.outcome = Outcome::all_facing_away;
        break;
    case RegionFinding::cut:
        report.outcome = Outcome::no_border_found;
        report.search = region.trace.walks.empty() ? "" : sentence(nearest(region.trace)->verdict);
        break;
    }
    if (region.hole >= 0) {
        const HoleNote& hole = holes[static_cast<std::size_t>(region.hole)];
        report.outcome = outcome_of(hole, true);
        report.border_vertices = hole.border_vertices;
        report.new_vertices = hole.new_vertices + (hole.new_faces > 0 ? hole.rim_vertices : 0);
        report.new_faces = hole.new_faces;
        report.unfaired = hole.unfaired;
        report.search.clear();
    } else if (region.finding == RegionFinding::cut && region.joined_hole >= 0) {
        report.outcome = outcome_of(holes[static_cast<std::size_t>(region.joined_hole)], false);
        report.search.clear();
    }
    return report;
}

} // namespace

MeshRun::MeshRun(Mesh_M::Mesh& mesh, const std::vector<Marker>& markers, double marker_size,
                 const RepairOptions& options)
    : mesh_(mesh), run_(repairer(&mesh, markers, marker_size, options)), options_(options) {}

double effective_marker_size(double margin, const RepairOptions& options) {
    return RunAccess::marker_size(repairer(nullptr, {}, margin, options));
}

void MeshRun::look_first(std::function<void(const CutPlace&)> before_bodies,
                         std::function<void(const CutPlace&)> before_search) {
    before_bodies_ = std::move(before_bodies);
    before_search_ = std::move(before_search);
}

double MeshRun::marker_size() const {
    return RunAccess::marker_size(run_);
}

void MeshRun::keep_walks() {
    RunAccess::keep_walks(run_);
}

void MeshRun::close(int threads, const std::function<void(RunStage)>& stage_begins) {
    RunPlaces places;
    places.stage_begins = [&](RunStage stage) {
        if (stage == RunStage::done) {
            finish_rims(borders(), notes());
            faults_ = look();
        }
        if (stage_begins) {
            stage_begins(stage);
        }
    };
    places.after_cut = [this](CutPlace& place) {
        if (before_bodies_) {
            before_bodies_(place);
        }
        if (!options_.flat_only) {
            removals_ = remove_bodies(place, near(), options_.body_height.value_or(0));
        }
        if (before_search_) {
            before_search_(place);
        }
    };
    places.after_search = [this](SearchPlace& place) {
        rims_ = close_rims(place, options_.straight_rims);
    };
    places.before_join = [](JoinPlace& place) {
        return mend(place) &&
               is_sound_patch(place.mesh, place.border,
                              {place.points, place.faces, place.normals, place.border_places});
    };
    places.before_move = [](const FairPlace& place) {
        const PatchBound bound(place.border);
        return place.moves.empty() == (place.note.new_vertices == 0) &&
               std::all_of(place.moves.begin(), place.moves.end(),
                           [&](const auto& move) { return bound.holds(move.second); });
    };
    RunAccess::process(run_, options_.method, threads, places);
}

VerticesNear MeshRun::near() const {
    return [this](float x, float y, float z, double radius) {
        return RunAccess::vertices_within(run_, x, y, z, radius);
    };
}

std::vector<PlaceFault> MeshRun::look() const {
    const std::vector<Marker>& markers = RunAccess::markers(run_);
    std::vector<PlaceFault> faults(markers.size(), PlaceFault::none);
    for (std::size_t i = 0; i < notes().regions.size(); ++i) {
        const RegionNote& region = notes().regions[i];
        const int hole = closed_hole(region, notes().holes);
        if (hole >= 0) {
            const BodyAim aim =
                removals_.empty() ? BodyAim{markers[i], marker_size()} : removals_[i].aim;
            const MarkerCylinder cylinder(aim.marker, aim.margin,
                                          body_height(options_, markers[i]));
            faults[i] = look_at_place(mesh_, cylinder, near(), region,
                                      notes().holes[static_cast<std::size_t>(hole)]);
        }
    }
    return faults;
}

const RunNotes& MeshRun::notes() const {
    return RunAccess::notes(run_);
}

const std::vector<std::vector<_vert*>>& MeshRun::borders() const {
    return RunAccess::borders(run_);
}

bool MeshRun::is_near_border(int hole) const {
    const PatchBound bound(borders()[static_cast<std::size_t>(hole)]);
    const HoleNote& note = notes().holes[static_cast<std::size_t>(hole)];
    for (std::int32_t i = 0; i < note.new_vertices; ++i) {
        if (!bound.holds(mesh_.vertices.at(note.first_vertex + i).pos)) {
            return false;
        }
    }
    return true;
}

// What the closing said of the patch, where it says anything.
std::string MeshRun::placement_of(const RegionNote& region) const {
    const Closing& closing = RunAccess::closings().at(static_cast<std::size_t>(options_.method));
    if (!closing.border_by_coordinates || region.hole < 0) {
        return {};
    }
    const HoleNote& hole = notes().holes[static_cast<std::size_t>(region.hole)];
    return hole.new_faces > 0 && hole.closing_result >= 0 ? describe_placement(hole.closing_result)
                                                          : "";
}

std::vector<MarkerReport> MeshRun::reports() const {
    std::vector<MarkerReport> reports(RunAccess::markers(run_).size());
    for (std::size_t i = 0; i < notes().regions.size(); ++i) {
        reports[i] = report_of(notes().regions[i], notes().holes);
        reports[i].placement = placement_of(notes().regions[i]);
        reports[i].outcome = outcome_of(faults_.at(i), reports[i].outcome);
        const int hole = closed_hole(notes().regions[i], notes().holes);
        if (hole >= 0 && notes().regions[i].hole == hole) {
            reports[i].rim = rims_.at(static_cast<std::size_t>(hole));
        }
        if (hole >= 0 && !is_near_border(hole)) {
            reports[i].outcome = Outcome::wild_patch;
        }
        if (i < removals_.size()) {
            reports[i].body = removals_[i].taken;
            if (removals_[i].finding == BodyFinding::not_bounded) {
                reports[i].outcome = Outcome::body_not_bounded;
                reports[i].search.clear();
            }
        }
    }
    return reports;
}

} // namespace KVN::toolkit
