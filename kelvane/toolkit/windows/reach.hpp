// The part of space around the markers of which a window holds every vertex.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// All points within `radius` of the segment between two points.
struct Capsule {
    std::array<float, 3> from;
    std::array<float, 3> to;
    double radius;
};

/// Answers whether a point lies in any of many capsules, in time that hardly depends on their
/// number: a grid over their bounding box lists the capsules at each cell.
class Reach {
  public:
    /// Capsules with a coordinate or radius that is not finite are left out.
    explicit Reach(const std::vector<Capsule>& capsules);

    bool holds(const float* point) const;
    /// The capsules that hold the point, by their places in the list that was given.
    void list(const float* point, std::vector<std::uint32_t>& capsules) const;

  private:
    int cell(double value, int axis) const;

    /// Whether `visit` returns true for one of the capsules that hold the point.
    template <class Visit>
    bool any_of(const float* point, const Visit& visit) const;

    std::vector<Capsule> capsules_;
    std::vector<std::uint32_t> places_; ///< of the capsules in the list that was given
    std::array<double, 3> lower_{};
    std::array<double, 3> upper_{};
    std::array<double, 3> per_cell_{}; ///< cells per unit of length
    std::array<int, 3> cells_{};
    std::vector<std::uint32_t> begin_; ///< per cell, its first entry of `entries_`; one more
    std::vector<std::uint32_t> entries_;
};

} // namespace KVN::toolkit
