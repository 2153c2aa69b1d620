// A hole with its surroundings as one indexed mesh, read from unconnected triangles and written
// back as a patch.
#pragma once

#include "kelvane/fill/geometry.hpp"
#include "kelvane/fill/hole_filling.hpp"

#include <vector>

namespace Mesh_M::fill {

/// The surroundings of a hole and its patch over common points.
struct HoleScene {
    std::vector<Point> points;
    std::vector<Triangle> surroundings; ///< wound as the mesh; may be empty
    std::vector<Triangle> patch;        ///< wound as the mesh; may be empty
    std::vector<int> border;            ///< the loop; no point occurs twice
    std::vector<char> movable;          ///< per point: an inner point of the patch
};

/// Reads `soup`, twelve doubles per triangle (normal, three corners), and `border`, three per
/// point. Corners that agree in all coordinates become one point; triangles with a corner twice are
/// dropped.
///
/// With `hole_included` the soup also holds the hole's own triangles, behind at most
/// `surrounding_faces` others, and the two are told apart: a triangle that traverses a border edge
/// along the loop is the hole's, one that traverses it against the loop is not, and triangles
/// joined without crossing the border belong together. Where that contradicts itself, the count
/// decides. Points of the hole that are neither on the border nor on an open outline become
/// movable.
///
/// False if a vector has the wrong length, a number is not finite, or the border has fewer than 3
/// points or two in one place, or the hole's triangles run along a side twice in one direction;
/// `scene` is then undefined.
bool read_scene(const std::vector<double>& soup, const std::vector<double>& border,
                bool hole_included, int surrounding_faces, HoleScene& scene);

/// Adds a patch over the scene's border; its inner points become movable.
void adopt_patch(const Patch& patch, HoleScene& scene);

/// The area vector of the border loop.
Point area_vector(const HoleScene& scene);

/// Writes the patch out: first every border point, in loop order, then the other points in use.
/// `normals` has one unit vector per face.
void write_patch(const HoleScene& scene, std::vector<MyPoint3>& points, std::vector<MyFace>& faces,
                 std::vector<MyPoint3>& normals, std::vector<int>& borderIndices);

} // namespace Mesh_M::fill
