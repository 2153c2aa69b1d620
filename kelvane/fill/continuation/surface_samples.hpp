// Points of a surface over a plane, by their distance from a hole.
#pragma once

#include <Eigen/Core>

#include <vector>

namespace Mesh_M::fill {

struct SurfaceSamples {
    std::vector<Eigen::Vector2d> places;
    Eigen::VectorXd heights;
    std::vector<int> rings; ///< edges to the border: 0 on it
};

/// The samples on rings `first` to `last`, in their order; where there are more than `greatest`,
/// so many of them, evenly spread.
SurfaceSamples pick_rings(const SurfaceSamples& samples, int first, int last, std::size_t greatest);

} // namespace Mesh_M::fill
