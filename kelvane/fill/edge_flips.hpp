// Delaunay flips on a disc in space.
#pragma once

#include "kelvane/fill/disc_mesh.hpp"

namespace Mesh_M::fill {

/// Flips inner edges until all that were handed in, and all around those that were flipped, are
/// Delaunay: the angles opposite to an edge sum up to 180 degrees at most. A flip that would fold
/// the surface is left out.
class EdgeFlipper {
  public:
    /// With `avoidChords` no flip makes an inner edge between two border points.
    EdgeFlipper(DiscMesh& mesh, bool avoidChords) : mesh(mesh), avoidChords(avoidChords) {}

    /// Hands in one edge; takes effect with the next run.
    void suspect(int h) { suspects.push_back(h); }
    void suspectAll();
    /// Works the edges off; returns those that were flipped (valid until the next run).
    const std::vector<int>& run();

  private:
    bool shouldFlip(int h) const;

    DiscMesh& mesh;
    bool avoidChords;
    std::vector<int> suspects;
    std::vector<int> flipped;
};

} // namespace Mesh_M::fill
