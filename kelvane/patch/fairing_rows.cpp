#include "kelvane/patch/fairing_rows.hpp"

#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/kernel/record_words.hpp"
#include "kelvane/patch/cotangent_weights.hpp"

namespace KVN {

using Mesh_R::_edge;
using Mesh_R::_vert;

namespace {

// What to make room for, per free vertex; only the number of allocations depends on them. The two
// rings around a patch of n vertices hold some 7 sqrt(n) more, as many as the patch itself at 50.
constexpr std::size_t vertices_per_unknown = 2;
constexpr std::size_t stencils_margin = 64;
constexpr std::size_t edges_per_vertex = 7;

} // namespace

FairingRows::FairingRows(const std::vector<_vert*>& free)
    : unknowns_(static_cast<int>(free.size())), numbers_(vertices_per_unknown * free.size()),
      entry_of_(free.size(), -1) {
    for (_vert* v : free) {
        numbers_.number_of(v);
    }
    distinct_ = numbers_.size() == unknowns_;
    if (!distinct_) {
        return;
    }
    stencils_.reserve(vertices_per_unknown * free.size() + stencils_margin);
    neighbours_.reserve(edges_per_vertex * (vertices_per_unknown * free.size() + stencils_margin));
    for (int i = 0; i < unknowns_; ++i) {
        add_stencil(i);
    }
    // Their neighbours have got their numbers by now; what these meet is known by position only.
    const int end = numbers_.size();
    for (int i = unknowns_; i < end; ++i) {
        add_stencil(i);
    }
}

void FairingRows::add_stencil(int vertex) {
    const _vert* v = numbers_[vertex];
    Stencil stencil;
    stencil.scale = 0.5 / mixed_area(v);
    stencil.weight_sum = 0.0;
    stencil.first = static_cast<int>(neighbours_.size());
    for (int k = 0; k < v->edgeCount; ++k) {
        const _edge* e = v->edges[k];
        const int other = numbers_.number_of(Mesh_R::other_end(e, v));
        const double g = weight_towards(other, e);
        stencil.weight_sum += g;
        neighbours_.push_back({e, other, g});
    }
    stencil.end = static_cast<int>(neighbours_.size());
    stencils_.push_back(stencil);
}

// The weight of `e`, taken over from the vertex at its other end where that has its stencil.
double FairingRows::weight_towards(int vertex, const _edge* e) const {
    if (vertex < static_cast<int>(stencils_.size())) {
        const Stencil& s = stencils_[vertex];
        for (int k = s.first; k < s.end; ++k) {
            if (neighbours_[k].edge == e) {
                return neighbours_[k].weight;
            }
        }
    }
    return edge_weight(e);
}

void FairingRows::add_term(int vertex, double factor, std::vector<std::pair<int, double>>& entries,
                           double (&right)[3]) {
    if (vertex >= unknowns_) {
        const MemS::Point3v<float>& pos = numbers_[vertex]->pos;
        right[0] -= factor * pos.x;
        right[1] -= factor * pos.y;
        right[2] -= factor * pos.z;
    } else if (entry_of_[vertex] >= 0) {
        entries[entry_of_[vertex]].second += factor;
    } else {
        entry_of_[vertex] = static_cast<int>(entries.size());
        entries.emplace_back(vertex, factor);
    }
}

// The operator at `vertex`, applied once and scaled.
void FairingRows::apply(int vertex, double factor, std::vector<std::pair<int, double>>& entries,
                        double (&right)[3]) {
    const Stencil& s = stencils_[vertex];
    for (int k = s.first; k < s.end; ++k) {
        add_term(neighbours_[k].vertex, -(neighbours_[k].weight * s.scale * factor), entries,
                 right);
    }
    add_term(vertex, factor * (s.weight_sum * s.scale), entries, right);
}

void FairingRows::expand(int row, std::vector<std::pair<int, double>>& entries,
                         double (&right)[3]) {
    entries.clear();
    const Stencil& s = stencils_[row];
    // The operator means nothing on a new rim, which has surface on one side only. It is taken to
    // go on there as it is at the row's vertex, so that the difference of both is nothing: the
    // patch keeps its curvature up to the rim, and its triangles their shape (aspect ratios of 1.7
    // instead of 4.1).
    double beyond = 0.0;
    for (int k = s.first; k < s.end; ++k) {
        if (has_mark(numbers_[neighbours_[k].vertex], Mesh_R::on_new_rim)) {
            beyond += neighbours_[k].weight;
        } else {
            apply(neighbours_[k].vertex, -(neighbours_[k].weight * s.scale), entries, right);
        }
    }
    apply(row, (s.weight_sum - beyond) * s.scale, entries, right);
    for (const auto& [column, value] : entries) {
        entry_of_[column] = -1;
    }
}

} // namespace KVN
