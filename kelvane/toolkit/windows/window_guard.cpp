#include "kelvane/toolkit/windows/window_guard.hpp"

#include "kelvane/kernel/record_words.hpp"
#include "kelvane/toolkit/bodies/marker_cylinder.hpp"
#include "kelvane/toolkit/rims/rim_curve.hpp"

#include <algorithm>
#include <cmath>
#include <deque>

namespace KVN::toolkit {

namespace {

// Edges by which a marker's cylinder is widened: what stands around it is read for four.
constexpr double widening = 5.0;
// A walk gives up so many edges away from marked vertices, as the search has it: a share of the
// region's vertices, but never fewer than the least.
constexpr double patience_share = 0.3;
constexpr double least_patience = 20.0;
// Edges by which a walk may go beyond that: up to three that its start is moved on, one after the
// patience is spent, one from the region to the first.
constexpr int beyond_patience = 5;
static_assert(rim_edges_learnt < static_cast<int>(least_patience),
              "the rim beside a chain is read after the search and lies within its walks");

bool is_boundary(const _edge* e) {
    return e->faceCount == 1;
}

/// Steps outward from vertices, each vertex once.
class Outward {
  public:
    explicit Outward(std::size_t vertices) : seen_(vertices, 0) {}

    void start(const _vert* v) { reach(v, 0); }

    /// Follows the edges that `follows` accepts for `depth` steps, from complete vertices only.
    template <class Follows>
    void walk(int depth, const std::vector<char>& complete, const Follows& follows) {
        std::deque<std::pair<const _vert*, int>> open;
        for (const _vert* v : reached_) {
            open.emplace_back(v, 0);
        }
        while (!open.empty()) {
            const auto [v, steps] = open.front();
            open.pop_front();
            if (steps == depth || complete[static_cast<std::size_t>(v->index)] == 0) {
                continue;
            }
            for (int i = 0; i < v->edgeCount; ++i) {
                const _vert* next = Mesh_R::other_end(v->edges[i], v);
                if (follows(v->edges[i]) && reach(next, steps + 1)) {
                    open.emplace_back(next, steps + 1);
                }
            }
        }
    }

    std::vector<std::int32_t> incomplete(const std::vector<char>& complete) const {
        std::vector<std::int32_t> found;
        for (const _vert* v : reached_) {
            if (complete[static_cast<std::size_t>(v->index)] == 0) {
                found.push_back(v->index);
            }
        }
        return found;
    }

  private:
    bool reach(const _vert* v, int) {
        char& seen = seen_[static_cast<std::size_t>(v->index)];
        if (seen != 0) {
            return false;
        }
        seen = 1;
        reached_.push_back(v);
        return true;
    }

    std::vector<char> seen_;
    std::vector<const _vert*> reached_;
};

} // namespace

WindowGuard::WindowGuard(const Window& window, const std::vector<Capsule>& cylinders, int rings)
    : window_(window), cylinders_(cylinders), rings_(rings) {}

void WindowGuard::require(const Mesh& mesh, std::vector<std::int32_t> incomplete) const {
    if (incomplete.empty()) {
        return;
    }
    std::vector<_vert*> vertices;
    for (const std::int32_t v : incomplete) {
        vertices.push_back(&mesh.vertices.at(v));
    }
    throw WindowTooSmall{std::move(incomplete), mean_edge_at(vertices)};
}

void WindowGuard::before_bodies(const CutPlace& place) const {
    std::vector<Capsule> widened = cylinders_;
    for (std::size_t i = 0; i < widened.size() && i < place.regions.size(); ++i) {
        widened[i].radius += widening * mean_edge_at(place.regions[i]);
    }
    const Reach reach(widened);
    const auto inside = [&](std::size_t v) { return reach.holds(&window_.positions[3 * v]); };
    std::vector<std::int32_t> incomplete;
    for (std::size_t v = 0; v < window_.vertices.size(); ++v) {
        if (window_.complete[v] != 0) {
            continue;
        }
        // Of an incomplete vertex at least the edges to complete ones are known.
        const _vert& vertex = place.mesh.vertices.at(static_cast<std::int32_t>(v));
        bool is_read = inside(v);
        for (int k = 0; k < vertex.edgeCount && !is_read; ++k) {
            is_read = inside(
                static_cast<std::size_t>(Mesh_R::other_end(vertex.edges[k], &vertex)->index));
        }
        if (is_read) {
            incomplete.push_back(static_cast<std::int32_t>(v));
        }
    }
    for (const RegionNote& region : place.notes.regions) {
        for (const _vert* v : region.ring) {
            if (window_.complete[static_cast<std::size_t>(v->index)] == 0) {
                incomplete.push_back(v->index);
            }
        }
    }
    require(place.mesh, std::move(incomplete));
}

void WindowGuard::before_search(const CutPlace& place) const {
    Outward outward(window_.vertices.size());
    std::size_t largest = 0;
    for (std::size_t i = 0; i < place.regions.size(); ++i) {
        largest = std::max(largest, place.regions[i].size());
        for (const _vert* v : place.regions[i]) {
            outward.start(v);
        }
    }
    const double patience = std::max(patience_share * static_cast<double>(largest), least_patience);
    outward.walk(static_cast<int>(patience) + beyond_patience, window_.complete, is_boundary);
    outward.walk(rings_, window_.complete, [](const _edge*) { return true; });
    require(place.mesh, outward.incomplete(window_.complete));
}

} // namespace KVN::toolkit
