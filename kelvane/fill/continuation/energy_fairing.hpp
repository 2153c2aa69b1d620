// Fairing of a patch on the mesh itself, for surroundings that are no height field.
#pragma once

#include "kelvane/fill/continuation/neighbourhood_surface.hpp"

namespace Mesh_M::fill {

enum class FairingOrder { biharmonic = 2, triharmonic = 3 };

/// Moves the movable points to the minimum of the integral of the squared Laplacian (biharmonic) or
/// of its squared gradient (triharmonic) over patch and surroundings, with cotangent weights that
/// are taken anew from the points in each of `rounds`. Points on an open outline take part as data
/// only.
///
/// False, with the points in an undefined state, if the system cannot be solved or does not settle
/// to finite numbers.
bool fair_by_energy(HoleScene& scene, FairingOrder order, int rounds);

} // namespace Mesh_M::fill
