// Closes one hole of a small temporary mesh by ear clipping and makes the closing surface dense and
// even.
#pragma once

#include "kelvane/names.hpp"

#include <Eigen/Core>

#include <cstdint>
#include <vector>

namespace KVN {

/// One object serves one hole: construct, fill_front() once, destroy. `boundary` is the hole's
/// border in walking order, and its vertices are the first records of the mesh's vertex store, in
/// that order. The input's vertices never move and its edges are never split, collapsed or flipped
/// by the remesh. Nothing is reported: a front that cannot be closed leaves the hole partly open.
class HoleTriangulator {
  public:
    /// Marks every live record of `mesh` as input to be kept; this overwrites its whole `flags`
    /// byte. The mesh stays the caller's and may be gone before this object ends.
    HoleTriangulator(Mesh* mesh, std::vector<_vert*>& boundary);
    ~HoleTriangulator();

    /// Clips ears along the boundary until it is closed, refines the faces so made to the density
    /// of their surroundings, then remeshes and relaxes them in ten cycles.
    void fill_front();

  private:
    // hole_triangulator.cpp
    /// Clips ears until two entries are left or none is on offer; appends the faces made.
    void clip_front(std::vector<_face*>& new_faces);

    // ear_clipping.cpp
    /// The unsigned angle between two vectors of any length, 0 to pi.
    static double vector_angle(const Eigen::Vector3d& u, const Eigen::Vector3d& v);
    /// How bad it is to close the closed loop `front` at entry `i`: the opening angle plus the two
    /// bends against the surface, in radians, with fixed values for the degenerate cases. The
    /// largest double means that there is no ear.
    double ear_cost(const std::vector<_vert*>& front, int i);
    /// The same for one vertex between its two neighbours in the front.
    double corner_cost(const _vert* prev, const _vert* cur, const _vert* next) const;
    /// Adds the face (a, b, c) with the missing ones of its edges. Null, with nothing changed,
    /// where an edge would get a third face; also for a null or repeated vertex or one whose lists
    /// are full.
    _face* add_ear(_vert* a, _vert* b, _vert* c);

    // front_refinement.cpp
    /// Splits the faces of `new_faces` at their centroids down to the density of the surface around
    /// them, with a relaxation by flips after every pass; appends the faces made.
    void refine_patch(std::vector<_face*>& new_faces);
    int split_large_faces(std::vector<_face*>& new_faces, std::vector<_edge*>& innerEdges);
    int split_at_centroid(_face* face, MemS::Point3v<float> centroid, float size,
                          std::vector<_face*>& new_faces, std::vector<_edge*>& innerEdges);
    void relax_edges(const std::vector<_edge*>& innerEdges);

    // edge_flip.cpp
    /// True for an edge with two faces whose opposite vertices differ and are not joined.
    bool can_flip(_edge* e);
    /// Turns `e` to the other diagonal of its two faces, in place; twice puts it back. False, with
    /// nothing changed, where that cannot be.
    bool flip_edge(_edge* e);

    // patch_remesh.cpp
    /// Ten cycles of split, collapse, flip and relaxation towards the boundary's mean edge length.
    void remesh_patch();
    void split_long_edges(float lmax);
    void split_edge(_edge* e);
    void collapse_short_edges(float lmin);
    void collapse_edge(_edge* e);
    bool can_collapse(_edge* e);
    bool flip_lowers_valence(_edge* e);
    void flip_for_valence();

    // front_relaxation.cpp
    /// Moves all free vertices at once to the least-squares solution of "the uniform Laplacian is
    /// zero" at every free and every boundary vertex. The result depends on the connectivity and
    /// the kept positions only. Where the factorisation fails nothing moves.
    void relax_patch();

    std::vector<std::vector<_vert*>> reservedLoops; ///< always empty
    Mesh* mesh;
    std::vector<_vert*> boundary;

    /// Live faces above which no further vertex is made. The passes have no limit of their own on
    /// what they make; this one only keeps a wild coordinate from taking all memory, and lies far
    /// above what they make of a border without one (0.19 n^2 faces for n even edges).
    std::int64_t memory_guard;
};

} // namespace KVN
