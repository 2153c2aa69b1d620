#include "kelvane/toolkit/job/mesh_run.hpp"

#include "kelvane/toolkit/job/patch_soundness.hpp"
#include "kelvane/toolkit/job/run_access.hpp"
#include "kelvane/toolkit/report/border_words.hpp"

#include <algorithm>

namespace KVN::toolkit {

namespace {

RepairMarkers repairer(Mesh_M::Mesh& mesh, std::vector<Marker> markers, double marker_size,
                       const RepairOptions& options) {
    RepairMarkers run(&mesh, markers, marker_size, options.size_adjustable ? 1 : 0, nullptr, 0);
    if (options.resolution) {
        run.setResolution(*options.resolution);
    }
    return run;
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
        report = {
            outcome_of(hole, true), hole.border_vertices, hole.new_vertices, hole.new_faces, {}};
    } else if (region.finding == RegionFinding::cut && region.joined_hole >= 0) {
        report = {
            outcome_of(holes[static_cast<std::size_t>(region.joined_hole)], false), 0, 0, 0, {}};
    }
    return report;
}

} // namespace

MeshRun::MeshRun(Mesh_M::Mesh& mesh, const std::vector<Marker>& markers, double marker_size,
                 const RepairOptions& options)
    : run_(repairer(mesh, markers, marker_size, options)), options_(options) {}

double MeshRun::marker_size() const {
    return RunAccess::marker_size(run_);
}

void MeshRun::keep_walks() {
    RunAccess::keep_walks(run_);
}

void MeshRun::close(int threads, const std::function<void(RunStage)>& stage_begins) {
    RunPlaces places;
    places.stage_begins = stage_begins;
    places.before_join = [](JoinPlace& place) {
        return is_sound_patch(place.mesh, place.border,
                              {place.points, place.faces, place.normals, place.border_places});
    };
    RunAccess::process(run_, options_.method, threads, places);
}

const RunNotes& MeshRun::notes() const {
    return RunAccess::notes(run_);
}

const std::vector<std::vector<_vert*>>& MeshRun::borders() const {
    return RunAccess::borders(run_);
}

std::vector<MarkerReport> MeshRun::reports() const {
    std::vector<MarkerReport> reports(RunAccess::markers(run_).size());
    std::transform(notes().regions.begin(), notes().regions.end(), reports.begin(),
                   [&](const RegionNote& region) { return report_of(region, notes().holes); });
    return reports;
}

} // namespace KVN::toolkit
