// How good the patches of a repair are, measured on plain arrays against the known surface.
//
// Definitions
//   distance     from the patch's faces to the true surface. Each face is sampled at its corners,
//                edge midpoints and barycentre with the weights 1/20, 2/15 and 9/20 of its area
//                (exact for polynomials of degree 3); rms is the root of the weighted mean square,
//                the maximum is over all samples.
//   local edge   mean length of the edges along which the patch meets the old surface.
//   normals      angle between a face's normal and that of the true surface at the point closest to
//                the face's barycentre.
//   new vertices distance of the patch's own vertices from the true surface, rms and maximum: how
//                well they were placed. Unlike the distance of the faces it knows nothing of the
//                sagitta of flat triangles on a curved surface and of the noise of the border.
//   seam         angle between the normals of the two faces at an edge where patch meets old
//                surface.
//   outline      distance of the patch's edges with one face from the outline of the true surface:
//                root of the mean square over their length. Where a patch ends short of the surface
//                the distance above does not tell, this does.
//   aspect       sqrt(3)/2 * longest edge / shortest altitude: 1 for an equilateral triangle.
//   degenerate   aspect above 1000.
//   flipped      normal at 90 degrees or more from the truth's, or winding against a neighbour's.
#pragma once

#include "mesh_truth.hpp"
#include "outline.hpp"

#include <string>
#include <vector>

namespace KVN::bench {

/// The result of a repair. `origin` tells for every vertex which vertex of the scan it is, or -1.
struct RepairedMesh {
    TriangleMesh mesh;
    std::vector<int> origin;
};

/// Of one patch, or of one marker that got more than one.
struct PatchMetrics {
    int faces = 0;
    double local_edge = 0;                            ///< mm; 0 when the patch meets no old face
    double rms = 0, max = 0;                          ///< mm
    double vertex_rms = 0, vertex_max = 0;            ///< mm, at the new vertices
    double normal_max = 0;                            ///< degrees
    double seam_rms = 0, seam_mean = 0, seam_max = 0; ///< degrees
    double aspect_p95 = 0, aspect_max = 0;
    double outline_rms = 0; ///< mm; 0 on a closed hole
    int open_edges = 0;   ///< edges with one face: 0 on a closed hole, the new rim on an open scan
    int non_manifold = 0; ///< edges with more than two faces
    int degenerate = 0, flipped = 0;
    int intersections = 0; ///< pairs of a patch face and any other face
};

struct RepairMetrics {
    std::vector<PatchMetrics> markers; ///< one entry per marker; `faces` 0 where nothing was filled
    int left_open = 0;                 ///< edges that had two faces before the cut and have one now
    bool untouched = false;            ///< see untouched_vertices_kept
};

/// The faces of a result that the scan does not have, in pieces that hang together over edges.
struct Patches {
    std::vector<std::vector<int>> pieces;
    std::vector<int> marker_of_piece; ///< the one whose centre is closest to the piece's middle
    std::vector<int> piece_of_face;   ///< -1 for a face of the scan

    int marker_of_face(int f) const {
        return piece_of_face[f] < 0 ? -1 : marker_of_piece[piece_of_face[f]];
    }
};

Patches find_patches(const TriangleMesh& scan, const RepairedMesh& repaired,
                     const std::vector<Vector3d>& centres);

/// Finds the patches and measures them, those of one marker together. `centres` are the markers'.
RepairMetrics measure_repair(const TriangleMesh& scan, const RepairedMesh& repaired,
                             const std::vector<Vector3d>& centres, const TruthSurface& truth,
                             const Outline& outline);

/// True when the vertices with an origin come first, in the scan's order and with its bits, and
/// every vertex of the scan that is farther from all centres than `reaches` (one per centre) is
/// among them.
bool untouched_vertices_kept(const TriangleMesh& scan, const RepairedMesh& repaired,
                             const std::vector<Vector3d>& centres,
                             const std::vector<double>& reaches);

/// `origin` of a result whose first vertices are the scan's, in its order: found by comparing bits.
std::vector<int> match_origins(const TriangleMesh& scan, const TriangleMesh& repaired);

} // namespace KVN::bench
