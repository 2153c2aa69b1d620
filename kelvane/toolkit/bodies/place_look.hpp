// The look at a repaired place, before it is called repaired.
#pragma once

#include "kelvane/repair/run_notes.hpp"
#include "kelvane/toolkit/bodies/body_report.hpp"
#include "kelvane/toolkit/bodies/marker_cylinder.hpp"

namespace KVN::toolkit {

/// What is wrong with a marker's place after the run, by what stands in the marker's cylinder:
/// - an edge that the removal for this marker opened has still one face only. Edges that were open
///   before, the scan's outline and other holes, are no fault;
/// - a loose piece of surface is left, near the marker's plane or over the surface around it;
/// - what hangs together with the patch stands higher than the surface around lets expect: the
///   walls of a body, or a border that does not lie on that surface.
///
/// `region` and `hole` are the marker's notes of the run, `hole` that of the neighbour with which
/// its cut was closed where it has none of its own. Reads what remove_bodies reads around a
/// marker, and the patch; nothing is changed.
PlaceFault look_at_place(const Mesh& mesh, const MarkerCylinder& cylinder, const VerticesNear& near,
                         const RegionNote& region, const HoleNote& hole);

} // namespace KVN::toolkit
