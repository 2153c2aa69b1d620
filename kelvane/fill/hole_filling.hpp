// Filling of a closed border loop with triangles.
//
// All three operations of Orbrel are pure: they share no state, allocate only what they return and
// their own scratch, and give the same bits for the same input on every run and thread. Any number
// of calls may run side by side. Lengths are in the caller's unit.
#pragma once

#include "kelvane/export.hpp"

#include <vector>

namespace Mesh_M {

/// A point or a vector of a patch.
struct MyPoint3 {
    double p[3] = {0.0, 0.0, 0.0}; ///< x, y, z
};

/// A triangle of a patch: three indices into the points that go with it, in the order of its
/// winding.
struct MyFace {
    int t_idx[3] = {0, 0, 0}; ///< indices of the corners, anticlockwise
};

/// A filled patch. The first `borderCount` points are the border's, in its order.
struct MyOFFDataNew {
    std::vector<MyPoint3> points; ///< those of the border first, in its order
    std::vector<MyFace> faces;    ///< over `points`
    int borderCount = 0;          ///< of the points
    int freeStart = 0;            ///< first point that a fairing may move; not below borderCount
    int innerCount = 0;           ///< number of points behind the border
};

/// How fillHole2 and fairing placed the inner points.
enum class Placement {
    continued, ///< on a smooth height field learnt from the surroundings
    blended,   ///< between that field and a fairing: part of it could not be foretold
    faired,    ///< faired on the mesh: the surroundings are no height field
    unchanged  ///< where the patch had them: nothing else was sound
};

/// The non-negative results of fillHole2 and fairing: a placement and, of a blended one, the share
/// of the fairing in percent, 0 to 100.
constexpr int placement_result(Placement placement, int fairing_percent = 0) {
    return static_cast<int>(placement) + 4 * fairing_percent;
}
constexpr Placement placement_of(int result) {
    return static_cast<Placement>(result % 4);
}
constexpr int fairing_percent_of(int result) {
    return result / 4;
}

/// The hole filler; has no state.
class KELVANE_EXPORT Orbrel {
  public:
    /// Fills the loop of k border points (3k doubles, x, y, z each, in loop order) with a
    /// topological disc of well-shaped triangles. Every triangle on a border edge traverses it
    /// along the loop; no inner edge joins two border points when k is above 3; the border points
    /// are kept as they are and no point is put on a border edge.
    ///
    /// Three rows of triangles continue the border's own edge lengths; behind them the wished
    /// length grows, slowly at first, towards 0.3 per unit of depth. Inside a round loop of 20
    /// edges lie about 30 points, of 50 about 180, of 500 about 4,200, of 2,000 about 18,000. Most
    /// loops are filled in time proportional to the result; strongly folded, narrow or uneven ones,
    /// and those with one long closing edge, by a minimum-weight triangulation of the border and
    /// its refinement, which takes several times as long.
    ///
    /// The inner points are meant for a bi-Laplace fairing in the mesh around them: where the
    /// border tells the curvature of the surface, they bulge more than that by the factor, sqrt(2),
    /// with which the fairing's result comes nearest to the surface.
    ///
    /// Returns 0 and overwrites `patch`; or gives up, returns a negative number and leaves `patch`
    /// as it was: fewer than 3 points, a length that is no multiple of 3, a coordinate that is not
    /// finite, an extent outside 1e-75 to 1e75, or a loop over which no disc was found.
    static int fillHoleWithoutFair(const std::vector<double>& border, MyOFFDataNew& patch);

    /// Fills the loop `border` as a continuation of the surface around it in position, tangent and
    /// curvature. How well such a continuation foretells the border itself decides how much of it
    /// is used; a fairing in position and tangent gives the rest. The triangles lie about the
    /// surface, with the inner points up to an edge's sagitta above it where it is curved.
    /// `neighbourhood` has twelve doubles per triangle of that surface: its normal and its three
    /// corners, wound as the mesh is.
    ///
    /// Returns a placement_result and fills the four lists: the patch's points, its triangles,
    /// one unit normal per triangle, and the indices of the points that are border points, whose
    /// coordinates are those given. On a negative result, as for two border points in one place,
    /// the four lists stay as they were.
    int fillHole2(const std::vector<double>& neighbourhood, const std::vector<double>& border,
                  std::vector<MyPoint3>& points, std::vector<MyFace>& faces,
                  std::vector<MyPoint3>& normals, std::vector<int>& borderIndices);

    /// Moves the inner points of a triangulation of the hole that is given so that it continues the
    /// surface around it, and returns the patch alone. `neighbourhood` has twelve doubles per
    /// triangle: first the surface around the hole, then the triangulation of the hole itself;
    /// `neighbourhoodFaces` tells how many of them form the surface and may count triangles that
    /// were left out on the way here, so the two are told apart by position: a triangle belongs to
    /// the hole if the outline of the surface, cut along `border`, separates it from the
    /// surroundings.
    ///
    /// Results and failures as for fillHole2; a triangulation of the hole that runs along one of
    /// its edges twice in one direction is refused as well.
    int fairing(const std::vector<double>& neighbourhood, const int& neighbourhoodFaces,
                const std::vector<double>& border, std::vector<MyPoint3>& points,
                std::vector<MyFace>& faces, std::vector<MyPoint3>& normals,
                std::vector<int>& borderIndices);
};

/// About what fillHoleWithoutFair costs for this border, as measured, in a unit of its own; for
/// sharing holes out to threads.
KELVANE_EXPORT double filling_cost(const std::vector<double>& border);

} // namespace Mesh_M
