// The edge length that a patch is to have at each of its points.
//
// On the border it is given by the border's own edges; inside it is interpolated smoothly, its
// slope is bounded, so that triangles grow and shrink gradually, and behind the rows at the border
// it grows with the depth.
#pragma once

#include "kelvane/fill/disc/disc_mesh.hpp"

namespace Mesh_M::fill {

class SizeField {
  public:
    /// Sets the sizes of the border points of `mesh` and a first guess at all inner ones.
    SizeField(DiscMesh& mesh, const std::vector<double>& border_sizes);

    /// Sets the size of a new point from its neighbours.
    void add_point(int point);

    /// Evens the sizes out over the mesh as it stands, and learns of points that were put in
    /// without add_point. Points that were removed keep theirs.
    void update();

  private:
    double interpolate(int point) const;
    void limit_slopes();
    void measure_depths();
    void store(int point);

    DiscMesh& mesh;
    double mean_size;          ///< of the border
    std::vector<double> base;  ///< interpolated border sizes
    std::vector<double> depth; ///< distance to the border along edges
};

} // namespace Mesh_M::fill
