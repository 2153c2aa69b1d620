// What is told about bodies that stood on a marker's place, and about what a repair left there.
#pragma once

namespace KVN::toolkit {

/// What was taken off a marker's place beyond the cut. All 0 on a flat place.
struct TakenBody {
    int islands = 0; ///< loose pieces of the marker itself
    int specks = 0;  ///< loose pieces that hung over it
    int walls = 0;   ///< pieces that stood on the surface
    int faces = 0;   ///< of all these, with what of the surface went along
    /// Height over the marker's centre, along its normal, of the surface on which the body stood;
    /// negative where the marker is listed at the top. In the mesh's unit, 0 if nothing was taken.
    double base_height = 0.0;
};

/// What the removal of a body came to.
enum class BodyFinding {
    none,        ///< nothing stands on the place
    taken,       ///< taken off down to its foot
    not_bounded, ///< raised, but its foot was not found: nothing was touched
};

/// What a look at a repaired place finds wrong with it.
enum class PlaceFault {
    none,
    open_edges, ///< edges that the cut or the removal opened are still open
    part_left,  ///< a loose piece of surface is left over the place
    body_left,  ///< surface that hangs together with the patch stands higher than the base
};

} // namespace KVN::toolkit
