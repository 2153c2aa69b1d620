#include "kelvane/patch/fairing_rows.hpp"

#include <algorithm>

namespace KVN {

using Mesh_R::_edge;
using Mesh_R::_vert;

FairingRows::FairingRows(const std::vector<_vert*>& free,
                         const std::function<double(const _vert*)>& area,
                         const std::function<double(const _edge*)>& weight)
    : unknowns_(static_cast<int>(free.size())), sums_(free.size()), touched_(free.size(), 0) {
    numbers_.reserve(3 * free.size());
    for (_vert* v : free) {
        number_of(v);
    }
    // Neighbours get their numbers as the free vertices are worked through, so the first pass ends
    // where the second ring begins.
    std::size_t end = free.size();
    for (std::size_t i = 0; i < end; ++i) {
        const _vert* v = vertices_[i];
        Stencil stencil;
        stencil.scale = 0.5 / area(v);
        stencil.first = static_cast<int>(neighbours_.size());
        stencil.count = v->edgeCount;
        for (int k = 0; k < v->edgeCount; ++k) {
            const _edge* e = v->edges[k];
            const double g = weight(e);
            stencil.weight_sum += g;
            neighbours_.push_back({number_of(e->start == v ? e->end : e->start), g});
        }
        stencils_.push_back(stencil);
        if (i + 1 == free.size()) {
            end = vertices_.size();
        }
    }
}

int FairingRows::number_of(_vert* v) {
    const auto entry = numbers_.emplace(v, static_cast<int>(vertices_.size()));
    if (entry.second) {
        vertices_.push_back(v);
    }
    return entry.first->second;
}

void FairingRows::add_term(int vertex, double factor, double (&right)[3]) {
    if (vertex >= unknowns_) {
        const MemS::Point3v<float>& pos = vertices_[vertex]->pos;
        right[0] -= factor * pos.x;
        right[1] -= factor * pos.y;
        right[2] -= factor * pos.z;
    } else if (touched_[vertex] != 0) {
        sums_[vertex] += factor;
    } else {
        touched_[vertex] = 1;
        sums_[vertex] = factor;
        columns_.push_back(vertex);
    }
}

void FairingRows::expand(int row, std::vector<std::pair<int, double>>& entries,
                         double (&right)[3]) {
    // The operator at `vertex`, applied once and scaled.
    const auto apply = [&](int vertex, double factor) {
        const Stencil& s = stencils_[vertex];
        for (int k = s.first; k < s.first + s.count; ++k) {
            add_term(neighbours_[k].vertex, -(neighbours_[k].weight * s.scale * factor), right);
        }
        add_term(vertex, factor * (s.weight_sum * s.scale), right);
    };
    const Stencil& s = stencils_[row];
    for (int k = s.first; k < s.first + s.count; ++k) {
        apply(neighbours_[k].vertex, -(neighbours_[k].weight * s.scale));
    }
    apply(row, s.weight_sum * s.scale);

    std::sort(columns_.begin(), columns_.end());
    entries.clear();
    for (const int column : columns_) {
        entries.emplace_back(column, sums_[column]);
        touched_[column] = 0;
    }
    columns_.clear();
}

} // namespace KVN
