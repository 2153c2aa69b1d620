// What a page measures at one marker's place.
#pragma once

#include "kelvane/toolkit/page/edge_bends.hpp"
#include "kelvane/toolkit/page/face_list.hpp"
#include "kelvane/toolkit/page/repair_page.hpp"

#include <array>
#include <optional>
#include <vector>

namespace KVN::toolkit {

/// The part of space that a view shows: around the marker's axis, from below its place to above it.
class ViewCrop {
  public:
    /// `margin` as it was added to the radius for the cut, `base_height` as in TakenBody.
    ViewCrop(const Marker& marker, double margin, double base_height);

    /// False where the marker's centre, normal or radius is of no use; holds nothing then.
    bool is_valid() const { return valid_; }
    bool holds(const std::array<float, 3>& point) const;
    /// The range along x that holds all of it.
    std::array<double, 2> x_range() const;
    /// Halfway between the marker and the surface that it stood on.
    std::array<double, 3> middle() const { return middle_; }
    std::array<double, 3> axis() const { return axis_; } ///< of length 1

  private:
    bool valid_ = false;
    std::array<double, 3> middle_{};
    std::array<double, 3> axis_{};
    double across_ = 0.0; ///< farthest from the axis
    double along_ = 0.0;  ///< farthest from the middle
};

/// Both surfaces around a place, measured. Index 0 is before, 1 after.
struct MeasuredPlace {
    FaceList list;
    std::vector<double> distances; ///< per point from the other surface; shared ones 0
    std::array<std::vector<BentEdge>, 2> edges;
    std::array<std::vector<double>, 2> bends; ///< per point, largest of its edges, degrees
};

MeasuredPlace measure_place(FaceList list);

/// Of the patch whose faces are [first, first + count) of the splice's new ones; none if it is
/// empty.
std::optional<PlaceFigures> figures_of(const MeasuredPlace& place, std::int64_t first, int count);

} // namespace KVN::toolkit
