// Moves the free vertices of one inserted patch onto the solution of a discrete bi-Laplace
// equation.
#pragma once

#include "kelvane/names.hpp"

#include <map>
#include <utility>
#include <vector>

namespace KVN {

/// One patch, one solve. The patch's vertices from `patch.freeStart` on are free; every other
/// vertex of the mesh is fixed data. For each free vertex r and each coordinate, (L (L u))(r) = 0
/// with the cotangent Laplacian L over mixed Voronoi areas (Meyer, Desbrun, Schroeder, Barr 2003),
/// clamped cotangents, and the weights of the positions before the solve: the patch continues the
/// surface in position and tangent direction. The equations reach two rings into the surrounding
/// mesh.
///
/// Reads the mesh, writes `pos` of the free vertices only. Objects for different patches may
/// solve() side by side, as long as none of them writes before the last of them has read.
class PatchFairing {
  public:
    /// Keeps references to all of its arguments: they must outlive the object.
    PatchFairing(Mesh* mesh, const MyOFFDataNew& patch, const std::vector<_vert*>& vertices,
                 char sizeAdjustable);

    /// solve() and then write(). Returns 0, also when the system had no solution and nothing moved;
    /// -1 when an entry of the system is infinite, with a line on std::cout and nothing moved.
    int fair();

    /// Sets the system up and solves it; moves nothing. Result as for fair().
    int solve();
    /// What solve() found: the free vertices and where they go. Empty without a solution.
    const std::vector<std::pair<_vert*, MemS::Point3v<float>>>& moves() const { return solution; }
    /// Moves the free vertices to what solve() found. Does nothing when it found no solution.
    void write() const;

  private:
    /// Adds the operator's row for `v`, expanded `depth` times and scaled by `multiplier`, to row
    /// `row`: to `coefficients` where it meets free vertices (those in `ids`), to bx, by, bz where
    /// it meets fixed ones. The definition of a row, by plain recursion; solve() gets the same bits
    /// from FairingRows, which evaluates every area and weight once.
    void computeRow(_vert* v, int row, double& bx, double& by, double& bz, double multiplier,
                    const std::map<_vert*, int>& ids, unsigned depth);
    /// Sum over the faces of `e` of the clamped cotangent of the angle opposite `e`.
    double edgeWeight(const _edge* e);
    /// Mixed Voronoi area of `v`; 0 with fewer than two faces.
    double mixedArea(const _vert* v);

    std::map<std::pair<int, int>, double>
        coefficients; ///< what computeRow adds up, by (row, column)
    Mesh* mesh;
    const MyOFFDataNew* patch;
    const std::vector<_vert*>* vertices;
    char sizeAdjustable;
    std::vector<std::pair<_vert*, MemS::Point3v<float>>> solution; ///< see moves()
};

} // namespace KVN
