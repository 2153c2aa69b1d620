// A scan as the windows read it: in its order and in pieces, whether it is in memory or in a file.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace KVN::toolkit {

class KELVANE_EXPORT Surface {
  public:
    Surface() = default;
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;
    virtual ~Surface();

    virtual std::uint64_t vertex_count() const = 0;
    virtual std::uint64_t face_count() const = 0; ///< face records
    /// Records without a triangle.
    virtual std::uint64_t short_faces() const = 0;
    /// As OpenScan::loose_corners().
    virtual bool loose_corners() const { return false; }
    /// As OpenScan::has_properties().
    virtual bool has_properties() const = 0;
    /// As OpenScan::positions_into() and OpenScan::corners_into().
    virtual void positions_into(std::uint64_t first, std::uint64_t count,
                                float* positions) const = 0;
    virtual void corners_into(std::uint64_t first, std::uint64_t count,
                              std::vector<std::int32_t>& corners,
                              std::vector<std::uint64_t>& records) const = 0;
};

/// Arrays, which must outlive the object. Indices are checked as they are read: a triangle that
/// names no vertex is an InputError.
class KELVANE_EXPORT ScanSurface : public Surface {
  public:
    /// Throws InputError for arrays that do not hold three values per vertex and per face.
    explicit ScanSurface(const Scan& scan);
    std::uint64_t vertex_count() const override { return scan_.vertex_count(); }
    std::uint64_t face_count() const override { return scan_.face_count(); }
    std::uint64_t short_faces() const override { return 0; }
    bool has_properties() const override {
        return !scan_.vertex_properties.empty() || !scan_.face_properties.empty();
    }
    void positions_into(std::uint64_t first, std::uint64_t count, float* positions) const override;
    void corners_into(std::uint64_t first, std::uint64_t count, std::vector<std::int32_t>& corners,
                      std::vector<std::uint64_t>& records) const override;

  private:
    const Scan& scan_;
};

/// An open file, which must outlive the object.
class KELVANE_EXPORT FileSurface : public Surface {
  public:
    explicit FileSurface(const OpenScan& file) : file_(file) {}
    std::uint64_t vertex_count() const override { return file_.vertex_count(); }
    std::uint64_t face_count() const override { return file_.face_count(); }
    std::uint64_t short_faces() const override { return file_.short_faces(); }
    bool loose_corners() const override { return file_.loose_corners(); }
    bool has_properties() const override { return file_.has_properties(); }
    void positions_into(std::uint64_t first, std::uint64_t count, float* positions) const override {
        file_.positions_into(first, count, positions);
    }
    void corners_into(std::uint64_t first, std::uint64_t count, std::vector<std::int32_t>& corners,
                      std::vector<std::uint64_t>& records) const override {
        file_.corners_into(first, count, corners, records);
    }

  private:
    const OpenScan& file_;
};

/// Calls `visit(first, count)` for pieces of `total` records, in order.
template <class Visit>
void in_pieces(std::uint64_t total, const Visit& visit) {
    constexpr std::uint64_t piece = 1 << 16; // records: well below a megabyte, above any overhead
    for (std::uint64_t first = 0; first < total; first += piece) {
        visit(first, std::min(piece, total - first));
    }
}

/// Calls `visit(corners, record)` for every triangle of the surface, in order; `corners` are three
/// vertices.
template <class Visit>
void for_each_triangle(const Surface& surface, const Visit& visit) {
    std::vector<std::int32_t> corners;
    std::vector<std::uint64_t> records;
    in_pieces(surface.face_count(), [&](std::uint64_t first, std::uint64_t count) {
        surface.corners_into(first, count, corners, records);
        for (std::size_t t = 0; t < corners.size() / 3; ++t) {
            visit(&corners[3 * t], records.empty() ? first + t : records[t]);
        }
    });
}

/// The mean length of the sides of all triangles, in their order: an inner edge counts twice. In
/// the scan's unit; 0 without a side of finite length. Holds all positions for the time of the
/// call, 12 bytes per vertex, unless corners are loose.
KELVANE_EXPORT double mean_side_length(const Surface& surface);

} // namespace KVN::toolkit
