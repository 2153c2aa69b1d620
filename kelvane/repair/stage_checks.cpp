// What every stage of a run must leave behind, checked in builds that ask for it: a walk over the
// whole mesh after each stage is far too slow otherwise.
#include "kelvane/kernel/mesh_check.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <cstdio>
#include <cstdlib>

namespace KVN {

#ifdef KELVANE_CHECK_STAGES

namespace {

void require(bool holds, const char* stage, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "kelvane: after %s: %s\n", stage, what);
        std::abort();
    }
}

} // namespace

void RepairMarkers::check_stage(const char* stage) const {
    const Mesh_M::MeshCheck mesh_now = Mesh_M::check_mesh(*mesh, Mesh_M::Marks::of_a_run);
    require(mesh_now.sound(), stage, mesh_now.fault.c_str());
    const std::size_t holes = holePoints.size();
    require(holeBorders.size() == holes && holeFaces.size() == holes &&
                holeFaceNormals.size() == holes && holeBoundaryCount.size() == holes,
            stage, "the lists of the holes differ in length");
    for (const std::vector<_vert*>& border : holeBorders) {
        require(border.size() >= 3, stage, "a border has fewer than 3 vertices");
        for (const _vert* v : border) {
            require(v != nullptr && v->status != Mesh_R::status_deleted, stage,
                    "a border holds a vertex that is gone");
        }
    }
    for (std::size_t i = 0; i < patches.size() && i < patchVerts.size(); ++i) {
        require(patchVerts[i].empty() || patchVerts[i].size() == patches[i].points.size(), stage,
                "a patch and its vertices differ in length");
    }
}

#else

void RepairMarkers::check_stage(const char*) const {}

#endif

} // namespace KVN
