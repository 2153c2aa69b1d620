// The rows of the bi-Laplace system of one patch, expanded from stencils that are evaluated once.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"
#include "kelvane/patch/vertex_numbers.hpp"

#include <utility>
#include <vector>

namespace KVN {

/// Expands (L (L u))(r) for the free vertices r of a patch. L at a vertex i is
/// w(i) * sum over its edges e of g(e) * (u(i) - u(j(e))), w(i) = 0.5 / mixed_area(i) and
/// g = edge_weight.
///
/// The terms are formed and summed in the order of the plain recursion (PatchFairing::computeRow),
/// so that every sum has the same bits; but every area and every weight is evaluated once, and the
/// terms of a row meet in a flat array. Reads the mesh only.
class FairingRows {
  public:
    /// `free` gives the unknowns in the order of their numbers.
    explicit FairingRows(const std::vector<Mesh_R::_vert*>& free);

    /// False when `free` named a vertex twice; nothing may be expanded then.
    bool distinct() const { return distinct_; }

    /// Row of unknown `row`: its matrix entries (column, value), each column once, in the order in
    /// which the columns were met, into `entries`; the terms of fixed vertices, moved to the
    /// right, are added to `right` (x, y, z).
    void expand(int row, std::vector<std::pair<int, double>>& entries, double (&right)[3]);

  private:
    /// A vertex with its operator L.
    struct Stencil {
        double scale;      ///< w
        double weight_sum; ///< sum of g
        int first;         ///< of its entries in neighbours_
        int end;           ///< one past the last
    };
    struct Neighbour {
        const Mesh_R::_edge* edge;
        int vertex; ///< its number
        double weight;
    };

    void add_stencil(int vertex);
    double weight_towards(int vertex, const Mesh_R::_edge* e) const;
    void apply(int vertex, double factor, std::vector<std::pair<int, double>>& entries,
               double (&right)[3]);
    void add_term(int vertex, double factor, std::vector<std::pair<int, double>>& entries,
                  double (&right)[3]);

    int unknowns_;
    bool distinct_;
    VertexNumbers numbers_;         ///< free vertices first, then what their stencils reach
    std::vector<Stencil> stencils_; ///< of the free vertices and their neighbours
    std::vector<Neighbour> neighbours_;
    std::vector<int> entry_of_; ///< per unknown: its entry in the row being expanded, or -1
};

} // namespace KVN
