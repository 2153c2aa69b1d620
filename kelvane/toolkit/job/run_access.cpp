#include "kelvane/toolkit/job/run_access.hpp"

#include "kelvane/toolkit/job/patch_soundness.hpp"

#include <algorithm>
#include <array>
#include <exception>
#include <set>

namespace KVN::toolkit {

namespace {

std::array<const _vert*, 3> sorted(const _vert* a, const _vert* b, const _vert* c) {
    std::array<const _vert*, 3> corners{a, b, c};
    std::sort(corners.begin(), corners.end(), std::less<>());
    return corners;
}

} // namespace

void RunAccess::observe(RepairMarkers& run, const RunObserver* observer) {
    run.observer = observer;
}

double RunAccess::marker_size(const RepairMarkers& run) {
    return run.markerSize;
}

const std::vector<RegionFinding>& RunAccess::findings(const RepairMarkers& run) {
    return run.regionFindings;
}

const std::vector<std::vector<_vert*>>& RunAccess::regions(const RepairMarkers& run) {
    return run.markRegions;
}

int RunAccess::joined_hole(const RepairMarkers& run, std::size_t region,
                           const std::vector<_vert*>& vertices) {
    const int hole = region < run.sharedHoles.size() ? run.sharedHoles[region] : -1;
    if (hole < 0) {
        return -1;
    }
    const std::vector<_vert*>& border = run.holeBorders[static_cast<std::size_t>(hole)];
    const std::set<const _vert*> on_border(border.begin(), border.end());
    std::size_t live = 0;
    std::size_t shared = 0;
    for (const _vert* v : vertices) {
        if (v->status != Mesh_R::status_deleted) {
            ++live;
            shared += on_border.count(v);
        }
    }
    return 2 * shared >= live ? hole : -1;
}

std::vector<HoleResult> RunAccess::holes_of_patches(const RepairMarkers& run,
                                                    std::int32_t first_face) {
    std::vector<HoleResult> results;
    std::int32_t next = first_face;
    const std::int32_t total = run.mesh->faces.total();
    for (std::size_t i = 0; i < run.patches.size(); ++i) {
        HoleResult result{run.holeMarkers[i], run.holeIsChain[i] != 0, run.holeBoundaryCount[i], 0,
                          0};
        const MyOFFDataNew& patch = run.patches[i];
        const std::vector<_vert*>& verts = run.patchVerts[i];
        result.new_vertices = static_cast<int>(patch.points.size()) - patch.borderCount;
        // Faces entered the store in the order of the patches, except those that existed already;
        // so a face of the patch is new if it is the next one in the store.
        for (const MyFace& face : patch.faces) {
            if (next == total) {
                break;
            }
            const _face& made = run.mesh->faces.at(next);
            const int* t = face.t_idx;
            if (sorted(made.verts[0], made.verts[1], made.verts[2]) ==
                sorted(verts[std::size_t(t[0])], verts[std::size_t(t[1])],
                       verts[std::size_t(t[2])])) {
                ++result.new_faces;
                ++next;
            }
        }
        results.push_back(result);
    }
    return results;
}

std::vector<HoleResult> RunAccess::repair_whole_holes(RepairMarkers& run, Method method,
                                                      int threads,
                                                      const std::function<void(RunStage)>& begins) {
    std::vector<HoleResult> results;
    if (!run.ready()) {
        return results;
    }
    begins(RunStage::discovery);
    run.setPointIndex();
    run.BoundaryData();
    run.size_hole_lists();

    begins(RunStage::fill);
    const int holes = static_cast<int>(run.holePoints.size());
    // Each hole works on its own slot and a mesh of its own; an exception must not leave the
    // region.
    std::exception_ptr failure;
#pragma omp parallel for schedule(dynamic) num_threads(threads)
    for (int i = 0; i < holes; ++i) {
        try {
            method == Method::high ? run.Repair_High_Resolution(i) : run.Repair_Low_Resolution(i);
        } catch (...) {
#pragma omp critical
            failure = std::current_exception();
        }
    }
    if (failure) {
        std::rethrow_exception(failure);
    }

    begins(RunStage::insertion);
    for (int hole = 0; hole < holes; ++hole) {
        const auto i = static_cast<std::size_t>(hole);
        HoleResult result{run.holeMarkers[i], run.holeIsChain[i] != 0, run.holeBoundaryCount[i], 0,
                          0};
        std::vector<int> places(run.holePoints[i].size(), -1);
        bool named = true;
        for (const int point : run.holeRingIndices[i]) {
            named = named && point >= 0 && point < static_cast<int>(places.size());
            if (named) {
                places[std::size_t(point)] =
                    run.getVertexIndex(run.holeBorders[i], run.holePoints[i][std::size_t(point)]);
            }
        }
        if (named &&
            is_sound_patch(*run.mesh, run.holeBorders[i],
                           {run.holePoints[i], run.holeFaces[i], run.holeFaceNormals[i], places})) {
            const std::int32_t vertices = run.mesh->vertices.total();
            const std::int32_t faces = run.mesh->faces.total();
            run.insertpatch_7(run.holeBorders[i], run.holePoints[i], run.holeFaces[i],
                              run.holeFaceNormals[i], run.holeRingIndices[i]);
            result.new_vertices = run.mesh->vertices.total() - vertices;
            result.new_faces = run.mesh->faces.total() - faces;
        }
        results.push_back(result);
    }

    begins(RunStage::normals);
    run.recompute_normals(threads);
    run.reset_edge_marks();
    begins(RunStage::done);
    return results;
}

} // namespace KVN::toolkit
