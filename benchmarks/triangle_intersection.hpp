// Pairs of faces of a mesh that run through each other.
#pragma once

#include "triangle_mesh.hpp"

#include <utility>
#include <vector>

namespace KVN::bench {

/// True when the two triangles have more in common than the corners of equal index: one cuts
/// through the other, or they overlap in one plane. Mere touching does not count. Volumes below
/// 1e-12 of the product of the lengths that span them count as zero.
bool faces_intersect(const TriangleMesh& mesh, int f, int g);

/// All intersecting pairs with at least one face of `chosen` (one flag per face), each pair once,
/// the chosen face first, in ascending order.
std::vector<std::pair<int, int>> intersecting_pairs(const TriangleMesh& mesh,
                                                    const std::vector<char>& chosen);

} // namespace KVN::bench
