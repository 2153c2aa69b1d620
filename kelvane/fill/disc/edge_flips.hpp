// Delaunay flips on a disc in space.
#pragma once

#include "kelvane/fill/disc/disc_mesh.hpp"

namespace Mesh_M::fill {

/// Flips inner edges until all that were handed in, and all around those that were flipped, are
/// Delaunay: the angles opposite to an edge sum up to 180 degrees at most. A flip that would fold
/// the surface is left out.
class EdgeFlipper {
  public:
    /// With `avoid_chords` no flip makes an inner edge between two border points.
    EdgeFlipper(DiscMesh& mesh, bool avoid_chords) : mesh(mesh), avoid_chords(avoid_chords) {}

    /// Hands in one edge; takes effect with the next run.
    void suspect(int h) { suspects.push_back(h); }
    /// Works the edges off; returns those that were flipped (valid until the next run).
    const std::vector<int>& run();
    /// Works off all edges of the mesh.
    void run_on_all();

  private:
    bool should_flip(int h) const;
    void work_off(std::size_t& budget);

    DiscMesh& mesh;
    bool avoid_chords;
    std::vector<int> suspects;
    std::vector<int> flipped;
};

} // namespace Mesh_M::fill
