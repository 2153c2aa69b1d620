// The run from marker regions to recomputed normals.
#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/patch/patch_fairing.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <algorithm>

namespace KVN {

void RepairMarkers::MarkerRepairprocessing(int threads) {
    if (!ready()) {
        return;
    }
    note(RunStage::discovery);
    setPointIndex();
    BoundaryData();
    size_hole_lists();
    note(RunStage::fill);
    fill_holes(threads);
    note(RunStage::insertion);
    insert_patches();
    note(RunStage::fairing);
    fair_patches();
    note(RunStage::normals);
    recompute_normals(threads);
    reset_edge_marks();
    note(RunStage::done);
}

void RepairMarkers::note(RunStage stage) const {
    if (observer != nullptr && observer->stage_begins) {
        observer->stage_begins(stage);
    }
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
}

// Fills all holes, each by itself. Only the border goes in; the neighbourhood is not used here. A
// hole that could not be filled keeps an empty patch.
void RepairMarkers::fill_holes(int threads) {
    const int holes = static_cast<int>(holePoints.size());
#pragma omp parallel for schedule(static) num_threads(threads)
    for (int i = 0; i < holes; ++i) {
        // A whole-hole repair may have left fewer points than the border had.
        const int k = std::min(holeBoundaryCount[i], static_cast<int>(holePoints[i].size()));
        std::vector<double> border(3 * static_cast<std::size_t>(k));
        for (int j = 0; j < k; ++j) {
            for (int axis = 0; axis < 3; ++axis) {
                border[3 * static_cast<std::size_t>(j) + axis] = holePoints[i][j].p[axis];
            }
        }
        Mesh_M::Orbrel::fillHoleWithoutFair(border, patches[i]);
    }
}

// Serial and in hole order: the stores grow here, and a patch may meet edges of an earlier one.
void RepairMarkers::insert_patches() {
    const int holes = static_cast<int>(holePoints.size());
    for (int i = 0; i < holes; ++i) {
        insertpatch_new(i, patches[i]);
    }
}

// Every patch reads the positions that the insertion left, and nothing is written before the last
// one is solved: the result does not depend on which thread is first where holes lie close
// together.
void RepairMarkers::fair_patches() {
    const int holes = static_cast<int>(holePoints.size());
    std::vector<PatchFairing> fairings;
    fairings.reserve(holes);
    for (int i = 0; i < holes; ++i) {
        fairings.emplace_back(mesh, patches[i], patchVerts[i], sizeAdjustable);
    }
#pragma omp parallel
    {
#pragma omp for schedule(static)
        for (int i = 0; i < holes; ++i) {
            fairings[i].solve();
        }
#pragma omp for schedule(static)
        for (int i = 0; i < holes; ++i) {
            fairings[i].write();
        }
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
