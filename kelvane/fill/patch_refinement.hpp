// Inserts and removes inner points of a disc until its edges have the lengths of its size field.
#pragma once

#include "kelvane/fill/edge_flips.hpp"
#include "kelvane/fill/size_field.hpp"

namespace Mesh_M::fill {

class PatchRefiner {
  public:
    PatchRefiner(DiscMesh& mesh, SizeField& field);

    /// Brings a coarse triangulation down to the sizes.
    void bisectLongEdges();
    /// One pass each of the isotropic remeshing of a mesh that is nearly as wished.
    void splitLongEdges();
    void collapseShortEdges();
    /// Delaunay flips all over the mesh that make no chord.
    void flipEdges();
    /// Puts a point on every inner edge that joins two border points.
    void cutChords();

  private:
    double ratio(int h) const;
    bool isFlat(int h) const;
    int bisect(int h);
    bool mayBisect(int h) const;
    bool leavesHeight(int h) const;
    bool mayCollapse(int h) const;

    DiscMesh& mesh;
    SizeField& field;
    std::size_t pointLimit; ///< no more points than this, whatever the sizes ask for
};

} // namespace Mesh_M::fill
