// Whether a finished patch fits the hole that it was made for.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/fill/hole_filling.hpp"
#include "kelvane/kernel/mesh_kernel.hpp"

#include <vector>

namespace KVN::toolkit {

/// A patch that is about to be joined to a mesh.
struct PatchCandidate {
    const std::vector<Mesh_M::MyPoint3>& points;  ///< border and new ones
    const std::vector<Mesh_M::MyFace>& faces;     ///< over `points`
    const std::vector<Mesh_M::MyPoint3>* normals; ///< one per face; null: not given
    /// Per point, its place in the border, or -1 for a new vertex.
    const std::vector<int>& border_place;
};

/// True if the patch is a topological disc over `border` (in walking order, the closing vertex not
/// repeated) that harms no edge of `mesh`: all numbers finite, indices in range, every border
/// vertex used, each border edge traversed once along the border and open in the mesh, whose one
/// face there runs against it, every other edge shared by two of the patch's faces in opposite
/// directions and not in the mesh already. Where no edge joins the last
/// border vertex to the first, the border is an open chain, and the patch may end in the open
/// between these two.
KELVANE_EXPORT bool is_sound_patch(const Mesh_M::Mesh& mesh,
                                   const std::vector<Mesh_R::_vert*>& border,
                                   const PatchCandidate& patch);

} // namespace KVN::toolkit
