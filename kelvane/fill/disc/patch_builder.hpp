// The stages that make a patch over a border loop, for use inside this library only.
//
// build_patch is the whole of it: rings that follow the border where they suit it, elsewhere
// triangulate_border and a refinement. All functions are pure: no shared state, the same bits for
// the same input.
#pragma once

#include "kelvane/fill/geometry.hpp"

#include <vector>

namespace Mesh_M::fill {

/// Reads a flat x, y, z list into points. False if it has fewer than 3 points, a length that is no
/// multiple of 3, or a coordinate that is not finite; `border` is then undefined.
bool read_border(const std::vector<double>& flat, std::vector<Point>& border);

/// Triangulates the loop without new points: minimum-weight triangulation of up to a few hundred
/// points, pieces of it for longer loops. The k - 2 triangles always form a disc combinatorially;
/// they are degenerate only where the loop leaves no choice. Needs at least 3 finite points.
std::vector<Triangle> triangulate_border(const std::vector<Point>& border);

/// The edge length that the patch should have at each border point: the mean of its two border
/// edges, held near the shorter one where the two differ much.
std::vector<double> border_sizes(const std::vector<Point>& border);

/// Inserts inner points into a triangulated disc, evens them out, and cuts all inner edges that
/// join two border points (k above 3). `sizes` gives the wished edge length at each border point;
/// inside it is interpolated and grows behind the first rows. Inner points that the patch has
/// already are kept or dropped as suits the sizes, so the call may be repeated on a patch whose
/// points were moved. With `keep_shape` inner points slide within the surface that the patch has on
/// entry; without it they go to a membrane over the loop. False, with `patch` unchanged, if no
/// valid disc came out.
bool refine_patch(Patch& patch, const std::vector<double>& sizes, bool keep_shape = false);

/// Whether a patch that is a disc over its border loop may be handed out: finite points, no
/// triangle of zero area (except on a border edge of zero length) and, for k above 3, no inner edge
/// between border points.
bool is_sound_patch(const Patch& patch);

/// A patch over a loop of at least 3 finite points, made in coordinates shifted and scaled to unit
/// size and back. Border points come back unchanged. False, with `patch` unchanged, if no disc was
/// found or the loop's extent is outside 1e-75 to 1e75.
bool build_patch(const std::vector<Point>& border, Patch& patch);

} // namespace Mesh_M::fill
