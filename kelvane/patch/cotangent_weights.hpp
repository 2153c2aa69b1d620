// The two quantities of the cotangent Laplacian: the weight of an edge and the area of a vertex.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

namespace KVN {

/// Sum over the faces of `e` of the cotangent of the angle opposite `e`, each clamped to that of 3
/// degrees. Not halved. 0 without faces; a degenerate face adds nothing.
double edge_weight(const Mesh_R::_edge* e);

/// Mixed Voronoi area of `v` (Meyer, Desbrun, Schroeder, Barr 2003), with clamped cotangents, in
/// squared mesh units; 0 with fewer than two faces.
double mixed_area(const Mesh_R::_vert* v);

} // namespace KVN
