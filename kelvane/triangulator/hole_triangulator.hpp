// Closes one hole of a small temporary mesh by ear clipping and makes the closing surface dense and
// even.
#pragma once

#include "kelvane/fill/hole_filling.hpp"
#include "kelvane/kernel/mesh_kernel.hpp"

#include <Eigen/Core>

#include <vector>

namespace KVN {

using Mesh_M::Mesh;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

/// One object serves one hole: construct, fill_front() once, destroy. `boundary` is the hole's border
/// in walking order, and its vertices are the first records of the mesh's vertex store, in that
/// order. The input's vertices never move and its edges are never split, collapsed or flipped by the
/// remesh. Nothing is reported: a front that cannot be closed leaves the hole partly open.
class HoleTriangulator {
  public:
    /// Marks every live record of `mesh` as input to be kept; this overwrites its whole `flags` byte.
    /// The mesh stays the caller's and may be gone before this object ends.
    HoleTriangulator(Mesh* mesh, std::vector<_vert*>& boundary);
    ~HoleTriangulator();

    /// Clips ears along the boundary until it is closed, refines the faces so made to the density of
    /// their surroundings, then remeshes and relaxes them in ten cycles.
    void fill_front();

  private:
    // ear_clipping.cpp
    static double vector_angle(const Eigen::Vector3d& u, const Eigen::Vector3d& v);
    double ear_cost(const std::vector<_vert*>& front, int i);
    _face* add_ear(_vert* a, _vert* b, _vert* c);

    // patch_refinement.cpp
    void refine_patch(std::vector<_face*>& newFaces);

    // edge_flip.cpp
    bool can_flip(_edge* e);
    bool flip_edge(_edge* e);

    // patch_remesh.cpp
    void remesh_patch();
    void split_long_edges(float lmax);
    void split_edge(_edge* e);
    void collapse_short_edges(float lmin);
    bool can_collapse(_edge* e);
    bool flip_lowers_valence(_edge* e);

    // patch_relaxation.cpp
    void relax_patch();

    Mesh* mesh;
    std::vector<_vert*> boundary;
};

} // namespace KVN
