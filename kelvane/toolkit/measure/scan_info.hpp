// What can be counted and measured on a scan.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <array>
#include <cstdint>

namespace KVN::toolkit {

/// Lengths of edges, each edge counted once; edges with an end that is not finite are left out.
struct EdgeLengths {
    double min = 0.0;    ///< shortest
    double mean = 0.0;   ///< over all edges
    double median = 0.0; ///< over all edges
    double max = 0.0;    ///< longest
};

/// What a scan holds.
struct ScanInfo {
    std::int64_t vertices = 0;    ///< as in the file
    std::int64_t faces = 0;       ///< as in the file, polygons as triangles, short faces left out
    std::int64_t edges = 0;       ///< each counted once
    std::array<float, 3> lower{}; ///< bounds of the finite vertices; zero if there are none
    std::array<float, 3> upper{}; ///< greatest coordinates
    EdgeLengths edge_lengths;     ///< in the mesh's unit
    std::int64_t boundary_edges = 0;      ///< with one face
    std::int64_t boundary_loops = 0;      ///< closed; loops that touch in a vertex count apart
    std::int64_t non_manifold_edges = 0;  ///< with more than two faces
    std::int64_t components = 0;          ///< connected by shared vertices; faces only
    std::int64_t isolated_vertices = 0;   ///< in no face
    std::int64_t non_finite_vertices = 0; ///< with a coordinate that is no number
    std::int64_t short_faces = 0;         ///< faces of the file with too few corners, left out
    Mesh_M::BuildReport loaded;           ///< faces that a mesh takes and refuses, by reason
};

/// Measures `scan` as a mesh of the library sees it. Takes the memory of such a mesh while it runs.
KELVANE_EXPORT ScanInfo scan_info(const Scan& scan);

/// The mean length of all live edges with finite ends, or 0 if there are none.
KELVANE_EXPORT double mean_edge_length(const Mesh_M::Mesh& mesh);
KELVANE_EXPORT double mean_edge_length(const Scan& scan); ///< over all edges
/// The mean length of the sides of all live faces, so that an inner edge counts twice; 0 without a
/// side of finite length.
KELVANE_EXPORT double mean_side_length(const Mesh_M::Mesh& mesh);

} // namespace KVN::toolkit
