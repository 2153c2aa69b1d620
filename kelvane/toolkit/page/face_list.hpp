// The surfaces before and after a repair as one list of faces over one list of points.
#pragma once

#include "kelvane/toolkit/scan/splice.hpp"
#include "kelvane/toolkit/windows/window.hpp"

#include <array>
#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// On which of the two surfaces something is.
enum class Part : std::uint8_t { shared, gone, added };
/// The surface before or after.
enum class Side : std::uint8_t { before, after };

/// True if what belongs to `part` is on the surface `side`.
inline bool is_on(Part part, Side side) {
    return part == Part::shared || (part == Part::gone) == (side == Side::before);
}

/// A face of either surface.
struct PartFace {
    std::array<std::uint32_t, 3> corners; ///< places in the list of points
    Part part;
    std::int64_t added = -1; ///< place among the new faces of the splice, or -1
};

/// Points and faces of a window and of what a splice makes of it.
struct FaceList {
    std::vector<std::array<float, 3>> points; ///< those of the window, then the new ones
    std::vector<Part> parts;                  ///< per point
    std::vector<char> whole;                  ///< per point: all its faces are in the list
    std::vector<PartFace> faces;
};

/// All of it.
FaceList list_faces(const Window& window, const Splice& splice);

/// The faces of a list that have a corner in a part of space, found fast for many such parts.
class FaceSearch {
  public:
    /// Over `list`, which must outlive the object.
    explicit FaceSearch(const FaceList& list);

    /// The faces with a corner for which `holds(point)` is true, in order, over their own points.
    /// `holds` accepts nothing outside of `lower` to `upper` along x.
    template <class Holds>
    FaceList cropped(double lower, double upper, const Holds& holds) const {
        std::vector<std::uint32_t> found;
        for (std::size_t i = first_from(lower - widest_); i < by_x_.size(); ++i) {
            const auto& corners = list_.faces[by_x_[i]].corners;
            if (list_.points[corners[0]][0] > upper + widest_) {
                break;
            }
            if (holds(list_.points[corners[0]]) || holds(list_.points[corners[1]]) ||
                holds(list_.points[corners[2]])) {
                found.push_back(by_x_[i]);
            }
        }
        return only(std::move(found));
    }

  private:
    std::size_t first_from(double x) const;
    FaceList only(std::vector<std::uint32_t> faces) const;

    const FaceList& list_;
    std::vector<std::uint32_t> by_x_; ///< faces by the x of their first corner
    double widest_ = 0.0;             ///< extent of a face along x
};

} // namespace KVN::toolkit
