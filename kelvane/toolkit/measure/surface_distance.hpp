// Distance from points to a triangulated surface.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <array>
#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// A point of the surface.
struct SurfacePoint {
    double distance;                ///< from the point asked for; infinite for an empty surface
    std::int32_t triangle;          ///< face of the scan, or -1
    std::array<double, 3> position; ///< the nearest point itself
};

/// Answers nearest-point queries on the triangles of a scan, by a tree of bounding boxes. Triangles
/// with a corner that is not finite are left out. Queries change nothing and may run side by side.
/// Copies what it needs of the scan.
class KELVANE_EXPORT SurfaceDistance {
  public:
    /// Builds the tree, in the order of the number of triangles times its logarithm.
    explicit SurfaceDistance(const Scan& scan);

    /// The unsigned distance to the nearest triangle; infinite for an empty surface or a point that
    /// is not finite.
    double distance(double x, double y, double z) const { return closest(x, y, z).distance; }

    /// The nearest point; among equally near triangles the one that the tree meets first.
    SurfacePoint closest(double x, double y, double z) const;

  private:
    struct Node { // a leaf holds triangles [first, first + count), an inner node two nodes from
                  // `first`
        std::array<double, 3> lower;
        std::array<double, 3> upper;
        std::int32_t first;
        std::int32_t count;
    };
    void build(std::int32_t node, std::int32_t begin, std::int32_t end);

    std::vector<std::array<double, 9>> corners_; // three points per triangle, in tree order
    std::vector<std::int32_t> triangles_;        // index in the scan, in tree order
    std::vector<Node> nodes_;
};

} // namespace KVN::toolkit
