// The run from marker regions to recomputed normals.
#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/patch/patch_fairing.hpp"
#include "kelvane/repair/parallel_holes.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace KVN {

namespace {

// The places in the border of a patch that begins with it.
std::vector<int> places_in_order(const MyOFFDataNew& patch) {
    std::vector<int> in_border(patch.points.size(), -1);
    std::iota(in_border.begin(), in_border.begin() + patch.borderCount, 0);
    return in_border;
}

// 0 or less: the runtime's default team.
int team_size(int threads) {
    return threads > 0 ? threads : omp_get_max_threads();
}

} // namespace

void RepairMarkers::MarkerRepairprocessing(int threads) {
    run(closings().front(), threads, {});
}

void RepairMarkers::run(const Closing& closing, int threads, const RunPlaces& places) {
    if (!ready()) {
        return;
    }
    const auto begin = [&places](RunStage stage) {
        if (places.stage_begins) {
            places.stage_begins(stage);
        }
    };
    if (places.after_cut) {
        CutPlace place{*mesh, markers, markerSize, markRegions, notes};
        places.after_cut(place);
    }
    check_stage("the cut");
    begin(RunStage::discovery);
    setPointIndex();
    BoundaryData();
    size_hole_lists();
    if (places.after_search) {
        SearchPlace place{*mesh, holeBorders, holePoints, holeFaces, holeBoundaryCount, notes};
        places.after_search(place);
    }
    check_stage("the search");
    begin(RunStage::fill);
    close_holes(closing, threads);
    begin(RunStage::insertion);
    join_holes(closing, places);
    check_stage("the insertion");
    if (closing.fair != nullptr) {
        begin(RunStage::fairing);
        (this->*closing.fair)(omp_get_max_threads(), places);
    }
    begin(RunStage::normals);
    recompute_normals(threads);
    reset_edge_marks();
    check_stage("the normals");
    begin(RunStage::done);
}

void RepairMarkers::setPointIndex() {
    const int total = mesh->vertices.total();
    for (int i = 0; i < total; ++i) {
        _vert& v = mesh->vertices.at(i);
        if (v.status != Mesh_R::status_deleted) {
            v.index = i;
        }
    }
}

// Gives every hole its place in the lists that the later stages fill.
void RepairMarkers::size_hole_lists() {
    const std::size_t holes = holePoints.size();
    holeRingIndices.resize(holes);
    patches.resize(holes);
    patchVerts.resize(holes);
    notes.holes.resize(holes);
}

// All holes side by side, each on its own lists.
void RepairMarkers::close_holes(const Closing& closing, int threads) {
    const int team = team_size(threads);
    std::vector<double> costs(holePoints.size());
    for (std::size_t i = 0; team > 1 && i < costs.size(); ++i) {
        costs[i] = Mesh_M::filling_cost(flat_border(i));
    }
    for_each_hole(balanced_order(costs, team), threads,
                  [&](int i) { notes.holes[i].closing_result = (this->*closing.close)(i); });
}

// Fills one hole. Only the border goes in; the neighbourhood is not used here. A hole that could
// not be filled keeps an empty patch.
int RepairMarkers::fill_hole(int i) {
    return Mesh_M::Orbrel::fillHoleWithoutFair(flat_border(i), patches[i]);
}

// The coordinates of a hole's border, one after the other.
std::vector<double> RepairMarkers::flat_border(std::size_t i) const {
    // A whole-hole repair may have left fewer points than the border had.
    const std::size_t k = std::min<std::size_t>(holeBoundaryCount[i], holePoints[i].size());
    std::vector<double> border(3 * k);
    for (std::size_t j = 0; j < k; ++j) {
        std::copy(holePoints[i][j].p, holePoints[i][j].p + 3,
                  border.begin() + 3 * static_cast<std::ptrdiff_t>(j));
    }
    return border;
}

// Serial and in hole order: the stores grow here, and a patch may meet edges of an earlier one.
void RepairMarkers::join_holes(const Closing& closing, const RunPlaces& places) {
    const int holes = static_cast<int>(holePoints.size());
    for (int i = 0; i < holes; ++i) {
        HoleNote& note = notes.holes[i];
        note.refused = places.before_join && !offer(closing, i, places);
        note.first_vertex = mesh->vertices.total();
        note.first_face = mesh->faces.total();
        if (note.refused) {
            patches[i] = MyOFFDataNew();
        } else {
            (this->*closing.join)(i);
        }
        note.new_vertices = mesh->vertices.total() - note.first_vertex;
        note.new_faces = mesh->faces.total() - note.first_face;
    }
}

// Shows one hole's patch at the last place; false where it is turned down.
bool RepairMarkers::offer(const Closing& closing, int i, const RunPlaces& places) {
    const bool apart = closing.border_by_coordinates;
    JoinPlace place{*mesh,
                    i,
                    holeBorders[i],
                    apart ? holePoints[i] : patches[i].points,
                    apart ? holeFaces[i] : patches[i].faces,
                    apart ? &holeFaceNormals[i] : nullptr,
                    apart ? &holeRingIndices[i] : nullptr,
                    apart ? places_by_coordinates(i) : places_in_order(patches[i]),
                    notes.holes[i]};
    return places.before_join(place);
}

// Of the points of a whole-hole result, their places in the border.
std::vector<int> RepairMarkers::places_by_coordinates(int i) {
    const int count = static_cast<int>(holePoints[i].size());
    std::vector<int> in_border(count, -1);
    for (const int point : holeRingIndices[i]) {
        if (point < 0 || point >= count) {
            return {};
        }
        in_border[point] = getVertexIndex(holeBorders[i], holePoints[i][point]);
    }
    return in_border;
}

void RepairMarkers::join_patch(int i) {
    insertpatch_new(i, patches[i]);
}

// Every patch reads the positions that the insertion left, and nothing is written before the last
// one is solved: the result does not depend on which thread is first where holes lie close
// together, and a solve that throws leaves all positions as they were.
void RepairMarkers::fair_patches(int threads, const RunPlaces& places) {
    const int holes = static_cast<int>(holePoints.size());
    std::vector<PatchFairing> fairings;
    std::vector<double> costs; // measured: the factorisation grows about so
    fairings.reserve(holes);
    costs.reserve(holes);
    for (int i = 0; i < holes; ++i) {
        fairings.emplace_back(mesh, patches[i], patchVerts[i], sizeAdjustable);
        const auto points = static_cast<double>(patches[i].points.size());
        costs.push_back(points * std::cbrt(points));
    }
    for_each_hole(balanced_order(costs, team_size(threads)), 0,
                  [&](int i) { fairings[i].solve(); });
    for (int i = 0; i < holes; ++i) {
        if (places.before_move) {
            HoleNote& note = notes.holes[i];
            note.unfaired = !places.before_move({holeBorders[i], fairings[i].moves(), note});
            if (note.unfaired) {
                continue;
            }
        }
        fairings[i].write();
    }
}

void RepairMarkers::recompute_normals(int threads) {
    const int total = mesh->faces.total();
#pragma omp parallel for schedule(static) num_threads(threads)
    for (int i = 0; i < total; ++i) {
        _face& face = mesh->faces.at(i);
        if (face.status != Mesh_R::status_deleted) {
            face.normal =
                Mesh_M::face_normal(face.verts[0]->pos, face.verts[1]->pos, face.verts[2]->pos);
        }
    }
    mesh->vertices.R_cal_vector();
}

// Frees the edges that the hole search walked.
void RepairMarkers::reset_edge_marks() {
    const int total = mesh->edges.total();
#pragma omp parallel for schedule(static)
    for (int i = 0; i < total; ++i) {
        _edge& edge = mesh->edges.at(i);
        if (edge.status == Mesh_R::status_walked) {
            edge.status = Mesh_R::status_normal;
        }
    }
}

} // namespace KVN
