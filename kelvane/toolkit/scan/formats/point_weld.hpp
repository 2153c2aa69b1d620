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
    explicit PointWeld(std::vector<float>& positions) : positions_(positions), table_(1024, none) {}

    std::uint32_t operator()(const std::array<float, 3>& point) {
        if (positions_.size() / 3 * 2 >= table_.size()) {
            grow();
        }
        std::size_t slot = hash(point) & (table_.size() - 1);
        while (table_[slot] != none) {
            const float* known = &positions_[3 * std::size_t{table_[slot]}];
            if (known[0] == point[0] && known[1] == point[1] && known[2] == point[2]) {
                return table_[slot];
            }
            slot = (slot + 1) & (table_.size() - 1);
        }
        table_[slot] = static_cast<std::uint32_t>(positions_.size() / 3);
        positions_.insert(positions_.end(), point.begin(), point.end());
        return table_[slot];
    }

  private:
    static constexpr std::uint32_t none = 0xFFFFFFFF;

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

    void grow() {
        table_.assign(2 * table_.size(), none);
        for (std::size_t v = 0; v < positions_.size() / 3; ++v) {
            const float* p = &positions_[3 * v];
            std::size_t slot = hash({p[0], p[1], p[2]}) & (table_.size() - 1);
            while (table_[slot] != none) {
                slot = (slot + 1) & (table_.size() - 1);
            }
            table_[slot] = static_cast<std::uint32_t>(v);
        }
    }

    std::vector<float>& positions_;
    std::vector<std::uint32_t> table_;
};

} // namespace KVN::toolkit
