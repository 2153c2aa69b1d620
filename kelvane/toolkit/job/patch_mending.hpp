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

/// Looks for faces with an aspect ratio above 300 (sqrt(3)/2 * longest edge / shortest altitude) or
/// a normal that turns by more than 85 degrees from the mean of the faces around it, all at the
/// single precision of the mesh, and takes them out by edge flips and by collapses of inner points
/// inside the patch. Faces that run through each other without either sign are not looked for.
///
/// The patch is a disc, the lists as Orbrel::fairing returns them. The border's points, edges and
/// number stay, the inner points that stay keep their places; no edge is made between two border
/// points. Inner points that a collapse took away leave the list, so that indices change, and all
/// normals are recomputed, unit length. Refuses lists that do not belong together. Thread-safe;
/// linear in the patch's faces without faults, and per fault.
KELVANE_EXPORT PatchMending mend_patch(std::vector<Mesh_M::MyPoint3>& points,
                                       std::vector<Mesh_M::MyFace>& faces,
                                       std::vector<Mesh_M::MyPoint3>& normals,
                                       std::vector<int>& border_indices);

} // namespace KVN::toolkit
