// Slivers and flipped faces of a finished patch, taken out before it is joined.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/fill/hole_filling.hpp"

#include <vector>

namespace KVN::toolkit {

enum class PatchMending {
    sound,  ///< nothing to mend, nothing changed
    mended, ///< all faults are gone
    refused ///< some fault resists, nothing changed
};

/// Takes the faults of judge_patch(), at the single precision of the mesh, out of a patch: by edge
/// flips, collapses of inner points and moves of inner points into the middle of their neighbours,
/// the shortest run of them that lessens the faults first. Faces that run through each other
/// without being slivers or turned are not looked for.
///
/// The patch is a disc, the lists as Orbrel::fairing returns them. The border's points, edges and
/// number stay; an edge between two border points is made only in the place of another
/// one, and whether the mesh has it already is for is_sound_patch() to ask. Inner points that a
/// collapse took away leave the list, so that indices change, and all normals are recomputed, unit
/// length. Refuses lists that do not belong together. Thread-safe; linear in the patch's faces
/// without faults.
KELVANE_EXPORT PatchMending mend_patch(std::vector<Mesh_M::MyPoint3>& points,
                                       std::vector<Mesh_M::MyFace>& faces,
                                       std::vector<Mesh_M::MyPoint3>& normals,
                                       std::vector<int>& border_indices);

} // namespace KVN::toolkit
