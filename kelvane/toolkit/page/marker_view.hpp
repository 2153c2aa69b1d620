// A marker's neighbourhood before and after a repair, small enough for a page.
#pragma once

#include "kelvane/export.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// Triangles of both surfaces over one list of points, in which the shared ones come first, then
/// those that are gone, then the new ones. What both surfaces have in common stands here once.
/// Lengths are in the scan's unit.
struct MarkerView {
    using Corners = std::array<std::uint16_t, 3>; ///< places in the list of points
    using Line = std::array<std::uint16_t, 2>;    ///< places in the list of points

    std::array<float, 3> origin{}; ///< of the positions: near the marker's place
    std::array<float, 3> normal{}; ///< the marker's, of length 1
    float radius = 0.0F;           ///< the marker's
    float step = 0.0F;             ///< length that one unit of `positions` stands for
    float farthest = 0.0F;         ///< distance that 255 in `distances` stands for

    std::uint32_t shared_points = 0;                    ///< on both surfaces
    std::uint32_t gone_points = 0;                      ///< of the old surface alone
    std::vector<std::array<std::int16_t, 3>> positions; ///< from `origin`, in steps

    std::vector<Corners> shared_faces; ///< on both surfaces
    std::vector<Corners> gone_faces;   ///< of the old surface alone
    std::vector<Corners> new_faces;    ///< of the new surface alone

    std::vector<Line> border;     ///< where new faces meet old ones
    std::vector<Line> rim_before; ///< edges with a face on one side only
    std::vector<Line> rim_after;  ///< the same on the new surface

    /// Per gone point how far it lies from the new surface, per new point how far from the old one.
    std::vector<std::uint8_t> distances;
    /// Per point of the old surface the largest angle between the faces at one of its edges, a
    /// quarter of a degree each, 255 also for more.
    std::vector<std::uint8_t> bends_before;
    std::vector<std::uint8_t> bends_after; ///< shared points, then new ones

    /// Of the new surface alone.
    std::uint32_t new_points() const {
        return static_cast<std::uint32_t>(positions.size()) - shared_points - gone_points;
    }
};

/// The view as bytes, little endian: nine floats (origin, normal, radius, step, farthest); nine
/// counts of 32 bits (shared, gone and new points, shared, gone and new faces, lines of border, rim
/// before, rim after); positions, faces and lines of 16 bits in the order of the members; a byte
/// each of distances, bends before, bends after.
KELVANE_EXPORT std::string to_bytes(const MarkerView& view);

/// Text of `bytes` in base 64 (RFC 4648, section 4).
KELVANE_EXPORT std::string base64(const std::string& bytes);

} // namespace KVN::toolkit
