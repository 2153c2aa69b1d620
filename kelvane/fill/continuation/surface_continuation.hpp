// Places the inner points of a patch so that it continues the surface around the hole.
#pragma once

#include "kelvane/fill/continuation/neighbourhood_surface.hpp"

namespace Mesh_M::fill {

/// The method that a patch was placed by, in the order in which they are tried.
enum class Continuation {
    height_field, ///< a smooth height field learnt from the surroundings
    triharmonic,  ///< fairing on the mesh; surroundings that are no height field
    biharmonic,
    unchanged ///< none gave a sound patch; the points are where they were
};

/// Moves the movable points of a scene; everything else stays. A method whose result is not finite,
/// strays from the patch it was given, or folds a triangle over is refused and the next one taken.
Continuation continue_surface(HoleScene& scene);

} // namespace Mesh_M::fill
