// Turning one filled hole into records of the mesh.
#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/patch/face_insertion.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <iostream>

namespace KVN {

void RepairMarkers::insertpatch_new(const int& ith, const MyOFFDataNew& patch) {
    constexpr std::uint32_t added_by_patch = 0xFFFF0008;
    const int n = static_cast<int>(patch.points.size());
    if (n < 1) {
        return;
    }
    std::vector<_vert*>& slots = patchVerts[ith];
    slots.assign(n, nullptr);
    for (int k = 0; k < patch.borderCount; ++k) {
        slots[k] = holeBorders[ith][k];
        if (slots[k] == nullptr) {
            std::cout << "V_all_org[ith][i] == nullptr\n";
        }
    }
    for (int k = patch.borderCount; k < n; ++k) {
        const double* p = patch.points[k].p;
        MemS::Point3v<float> position(static_cast<float>(p[0]), static_cast<float>(p[1]),
                                      static_cast<float>(p[2]));
        slots[k] = mesh->vertices.insert_vert(position);
        slots[k]->tag = added_by_patch;
    }
    for (const MyFace& triangle : patch.faces) {
        _vert* const corners[3] = {slots[triangle.t_idx[0]], slots[triangle.t_idx[1]],
                                   slots[triangle.t_idx[2]]};
        if (!insertion::has_room(corners)) {
            continue;
        }
        // The edges stay, even where the face turns out to exist.
        const insertion::TriangleEdges edges = insertion::find_or_make_edges(*mesh, corners);
        if (insertion::face_exists(*mesh, edges.ab, corners)) {
            continue;
        }
        MemS::Point3v<float> normal =
            Mesh_M::face_normal(corners[0]->pos, corners[1]->pos, corners[2]->pos);
        for (_vert* corner : corners) {
            corner->normal = normal;
        }
        insertion::add_face(*mesh, corners, edges, normal);
    }
    insertion::average_normals(slots);
}

} // namespace KVN
