// Points that are equal become one.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace KVN::toolkit {

/// Numbers finite points by first appearance: points of equal coordinates, also 0 and -0, are one
/// vertex, which is added to the positions.
class PointWeld {
  public:
    static constexpr std::uint32_t none = 0xFFFFFFFF;

    /// `positions` may hold points already, which are all different. They must not change but here.
    explicit PointWeld(std::vector<float>& positions) : positions_(positions) { fit(); }

    std::uint32_t operator()(const std::array<float, 3>& point) {
        if (positions_.size() / 3 * 2 >= table_.size()) {
            fit();
        }
        std::uint32_t& known = table_[slot_of(point)];
        if (known == none) {
            known = static_cast<std::uint32_t>(positions_.size() / 3);
            positions_.insert(positions_.end(), point.begin(), point.end());
        }
        return known;
    }

    /// The number of a point, or `none`.
    std::uint32_t find(const std::array<float, 3>& point) const { return table_[slot_of(point)]; }

    /// Equal for equal points.
    static std::size_t hash(const std::array<float, 3>& point) {
        std::uint64_t h = 0;
        for (const float value : point) {
            std::uint32_t bits = 0;
            const float plain = value + 0.0F; // -0 equals 0
            std::memcpy(&bits, &plain, sizeof bits);
            h = (h ^ bits) * 0x9E3779B97F4A7C15U; // 2^64 / golden ratio
            h ^= h >> 29;
        }
        return static_cast<std::size_t>(h);
    }

  private:
    /// Where the point stands, or the empty slot where it would.
    std::size_t slot_of(const std::array<float, 3>& point) const {
        std::size_t slot = hash(point) & (table_.size() - 1);
        while (table_[slot] != none) {
            const float* known = &positions_[3 * std::size_t{table_[slot]}];
            if (known[0] == point[0] && known[1] == point[1] && known[2] == point[2]) {
                break;
            }
            slot = (slot + 1) & (table_.size() - 1);
        }
        return slot;
    }

    /// Makes the table at least twice as long as is needed.
    void fit() {
        std::size_t size = 1024;
        while (size < 4 * (positions_.size() / 3)) {
            size *= 2;
        }
        table_.assign(size, none);
        for (std::size_t v = 0; v < positions_.size() / 3; ++v) {
            const float* p = &positions_[3 * v];
            table_[slot_of({p[0], p[1], p[2]})] = static_cast<std::uint32_t>(v);
        }
    }

    std::vector<float>& positions_;
    std::vector<std::uint32_t> table_;
};

} // namespace KVN::toolkit
