// Inserts and removes inner points of a disc until its edges have the wished lengths.
#pragma once

#include "kelvane/fill/disc/edge_flips.hpp"
#include "kelvane/fill/disc/size_field.hpp"

namespace Mesh_M::fill {

class PatchRefiner {
  public:
    explicit PatchRefiner(DiscMesh& mesh);

    /// Brings a coarse triangulation down to the sizes, which `field` gives to the new points.
    void bisect_long_edges(SizeField& field);
    /// One pass each of the isotropic remeshing of a mesh that is nearly as wished; a new point
    /// gets the mean size of its edge.
    void split_long_edges();
    void collapse_short_edges();
    /// Delaunay flips all over the mesh that make no chord.
    void flip_edges();
    /// Puts a point on every inner edge that joins two border points.
    void cut_chords();

  private:
    double ratio(int h) const;
    bool is_flat(int h) const;
    int bisect(int h);
    bool may_bisect(int h) const;
    bool leaves_height(int h) const;
    bool may_collapse(int h) const;

    DiscMesh& mesh;
    std::size_t point_limit; ///< no more points than this, whatever the sizes ask for
};

} // namespace Mesh_M::fill
