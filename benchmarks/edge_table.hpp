// The edges of a mesh with the faces that use them.
#pragma once

#include "triangle_mesh.hpp"

#include <algorithm>
#include <tuple>
#include <vector>

namespace KVN::bench {

/// One face's use of the edge between the vertices `low` < `high`; `forward` when it runs that way.
struct EdgeUse {
    std::int32_t low, high;
    std::int32_t face;
    bool forward;
};

/// All edge uses, those of one edge side by side, by ascending vertices and faces.
class EdgeTable {
  public:
    explicit EdgeTable(const TriangleMesh& mesh) {
        table.reserve(3 * std::size_t(mesh.faces()));
        for (int f = 0; f < mesh.faces(); ++f) {
            const auto t = mesh.face(f);
            for (int i = 0; i < 3; ++i) {
                const auto a = t[i], b = t[(i + 1) % 3];
                table.push_back({std::min(a, b), std::max(a, b), f, a < b});
            }
        }
        std::sort(table.begin(), table.end(), [](const EdgeUse& x, const EdgeUse& y) {
            return std::tie(x.low, x.high, x.face) < std::tie(y.low, y.high, y.face);
        });
    }

    /// Calls `visit(begin, end)` with the uses of each edge in turn.
    template <class Visit>
    void for_each(Visit visit) const {
        for (std::size_t i = 0; i < table.size();) {
            std::size_t j = i + 1;
            while (j < table.size() && same_edge(table[i], table[j])) {
                ++j;
            }
            visit(table.data() + i, table.data() + j);
            i = j;
        }
    }

    /// Number of faces on the edge between two vertices.
    int uses(int a, int b) const {
        const EdgeUse probe{std::min(a, b), std::max(a, b), 0, false};
        const auto range =
            std::equal_range(table.begin(), table.end(), probe, [](const auto& x, const auto& y) {
                return std::tie(x.low, x.high) < std::tie(y.low, y.high);
            });
        return static_cast<int>(range.second - range.first);
    }

  private:
    static bool same_edge(const EdgeUse& x, const EdgeUse& y) {
        return x.low == y.low && x.high == y.high;
    }
    std::vector<EdgeUse> table;
};

} // namespace KVN::bench
