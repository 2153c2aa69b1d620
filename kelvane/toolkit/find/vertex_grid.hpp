// Which points lie near a place.
#pragma once

#include <Eigen/Core>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace KVN::toolkit {

/// Points by cells of a cubic grid. Points that are not finite are left out.
class VertexGrid {
  public:
    VertexGrid(const std::vector<float>& positions, double cell) : cell_(cell) {
        for (std::size_t v = 0; v < positions.size() / 3; ++v) {
            const Eigen::Vector3d p(positions[3 * v], positions[3 * v + 1], positions[3 * v + 2]);
            if (p.allFinite()) {
                cells_[key(place(p))].push_back(static_cast<std::int32_t>(v));
            }
        }
    }

    /// Calls `visit(point)` for the points of the 27 cells around `p`, which hold all within a cell
    /// length.
    template <class Visit>
    void around(const Eigen::Vector3d& p, const Visit& visit) const {
        const std::array<std::int64_t, 3> at = place(p);
        for (std::int64_t z = at[2] - 1; z <= at[2] + 1; ++z) {
            for (std::int64_t y = at[1] - 1; y <= at[1] + 1; ++y) {
                for (std::int64_t x = at[0] - 1; x <= at[0] + 1; ++x) {
                    const auto found = cells_.find(key({x, y, z}));
                    if (found != cells_.end()) {
                        std::for_each(found->second.begin(), found->second.end(), visit);
                    }
                }
            }
        }
    }

    /// The first point of every cell, ascending.
    std::vector<std::int32_t> one_per_cell() const {
        std::vector<std::int32_t> firsts;
        firsts.reserve(cells_.size());
        for (const auto& entry : cells_) {
            firsts.push_back(entry.second.front());
        }
        std::sort(firsts.begin(), firsts.end());
        return firsts;
    }

  private:
    std::array<std::int64_t, 3> place(const Eigen::Vector3d& p) const {
        std::array<std::int64_t, 3> at{};
        for (int k = 0; k < 3; ++k) {
            const double cell = std::floor(p[k] / cell_);
            at[static_cast<std::size_t>(k)] =
                static_cast<std::int64_t>(std::clamp(cell, -1e6, 1e6));
        }
        return at;
    }
    // 21 bits each, the middle of which is the origin.
    static std::uint64_t key(const std::array<std::int64_t, 3>& at) {
        std::uint64_t joined = 0;
        for (const std::int64_t i : at) {
            joined = joined << 21 | static_cast<std::uint64_t>(i + (1 << 20));
        }
        return joined;
    }

    double cell_;
    std::unordered_map<std::uint64_t, std::vector<std::int32_t>> cells_;
};

} // namespace KVN::toolkit
