// Taking off the body of a raised marker: between the cut, which takes the marker's face off, and
// the search for its hole. Magnets, pads, domes and balls stand on the surface; the cut alone
// leaves their walls and feet, and what was found of their undersides.
#pragma once

#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/toolkit/bodies/body_report.hpp"
#include "kelvane/toolkit/bodies/marker_cylinder.hpp"

#include <vector>

namespace KVN::toolkit {

/// Where a body was looked for: as listed, or along the normal of the surface that was found below
/// it, and with the margin that takes in what the body has torn.
struct BodyAim {
    Marker marker{};
    double margin = 0;
    double edge = 0; ///< mean length around the marker's cut; 0: not measured
};

/// One marker's body and what came of it.
struct BodyRemoval {
    BodyFinding finding = BodyFinding::none;
    TakenBody taken;
    BodyAim aim; ///< for the look at the place after the repair
    /// The aims that were tried beyond the listed one: what else was read of the mesh.
    std::vector<BodyAim> further;
};

/// To how many radii above and below its plane a marker's body is looked for, unless told
/// otherwise.
constexpr double default_body_radii = 8.0;

/// Removes what stands on the places of all markers whose finding is `cut`, marker after marker.
///
/// With R the marker's radius and margin and H `body_height` (0: default_body_radii times the
/// marker's radius), a body is what hangs together, within the cylinder of radius R and half height
/// H around the marker's axis, with the vertices around its cut, and stands higher than the surface
/// around the cylinder lets expect. It goes with all faces at its vertices, down to its foot and
/// out to R, so that the border is about the circle of radius R on the surface. Where that surface
/// is turned against the marker by more than 8 degrees, its normal takes the place of the
/// marker's; where the body has torn small holes beside its foot, R grows by up to 4e to hold
/// them. Loose pieces in the cylinder go, but for those well below the surface. Markers with a
/// margin above 1.5 radii lose the loose pieces near their plane only.
///
/// Where something went, the faces join the region's note and the region becomes the live vertices
/// around the wider cut, all marked with flag bit 2. Where nothing went, no bit of mesh or region
/// is changed. A body whose foot is not found is left alone, and its region is emptied, so that
/// nothing is filled there.
///
/// Reads the edges and faces of vertices no farther than 4e from a ball that it asks of `near`, and
/// the positions and normals of their neighbours; e is the mean length of the edges at the vertices
/// of the region after the cut. The balls of the first look cover the cylinder as listed, further
/// ones follow where its axis is turned or its radius grows. Vertices are taken in the order of the
/// store, so that a part of a mesh which holds all that is read, in the same order, gives the same
/// result to the bit.
std::vector<BodyRemoval> remove_bodies(CutPlace& place, const VerticesNear& near,
                                       double body_height);

} // namespace KVN::toolkit
