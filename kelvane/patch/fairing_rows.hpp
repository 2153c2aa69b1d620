// The rows of the bi-Laplace system of one patch, expanded from stencils that are evaluated once.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

#include <functional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace KVN {

/// Expands (L (L u))(r) for the free vertices r of a patch. L at a vertex i is
/// w(i) * sum over its edges e of g(e) * (u(i) - u(j(e))), w(i) = 0.5 / area(i).
///
/// The terms are formed and summed in the order of the plain recursion (PatchFairing::computeRow),
/// so that every sum has the same bits; but areas and weights are evaluated once per vertex, and
/// the terms of a row meet in a flat array. Reads the mesh only.
class FairingRows {
  public:
    /// `free` gives the unknowns in the order of their numbers, each once. `area` and `weight`
    /// evaluate one vertex and one edge.
    FairingRows(const std::vector<Mesh_R::_vert*>& free,
                const std::function<double(const Mesh_R::_vert*)>& area,
                const std::function<double(const Mesh_R::_edge*)>& weight);

    /// Row of unknown `row`: its matrix entries (column, value) by ascending column, each column
    /// once, into `entries`; the terms of fixed vertices, moved to the right, into `right` (x, y,
    /// z).
    void expand(int row, std::vector<std::pair<int, double>>& entries, double (&right)[3]);

  private:
    /// A vertex with its operator L.
    struct Stencil {
        double scale = 0.0;      ///< w
        double weight_sum = 0.0; ///< sum of g
        int first = 0;           ///< of its entries in neighbours_
        int count = 0;
    };
    struct Neighbour {
        int vertex; ///< local number
        double weight;
    };

    int number_of(Mesh_R::_vert* v);
    void add_term(int vertex, double factor, double (&right)[3]);

    int unknowns_;
    std::vector<Mesh_R::_vert*> vertices_; ///< free ones first, then what their stencils reach
    std::unordered_map<const Mesh_R::_vert*, int> numbers_;
    std::vector<Stencil> stencils_; ///< of the free vertices and their neighbours
    std::vector<Neighbour> neighbours_;
    std::vector<double> sums_;  ///< per unknown, of the row being expanded
    std::vector<char> touched_; ///< per unknown
    std::vector<int> columns_;  ///< touched unknowns of the row
};

} // namespace KVN
