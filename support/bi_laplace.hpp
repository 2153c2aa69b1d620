// The bi-Laplace equation of a fairing, solved the plain way: the yardstick for the library's own.
#pragma once

#include <Eigen/Core>

#include <array>
#include <vector>

namespace support {

/// Where the free points of a triangle mesh come to lie: the solution of the squared Laplacian with
/// cotangent weights and mixed areas (M. Meyer, M. Desbrun, P. Schröder, A. H. Barr, "Discrete
/// differential-geometry operators for triangulated 2-manifolds", 2003), all other points fixed.
/// Everything in double precision and from angles; points without a triangle have no say. Free
/// points stand at least two rings of triangles away from every outline that is not one of theirs.
std::vector<Eigen::Vector3d> solve_bi_laplace(const std::vector<Eigen::Vector3d>& points,
                                              const std::vector<std::array<int, 3>>& triangles,
                                              const std::vector<int>& free);

} // namespace support
