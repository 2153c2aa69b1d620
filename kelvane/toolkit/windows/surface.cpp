#include "kelvane/toolkit/windows/surface.hpp"

#include "kelvane/toolkit/errors.hpp"

#include <cmath>
#include <string>

namespace KVN::toolkit {

Surface::~Surface() = default;

ScanSurface::ScanSurface(const Scan& scan) : scan_(scan) {
    if (scan.positions.size() % 3 != 0 || scan.triangles.size() % 3 != 0) {
        throw InputError("the scan's arrays do not hold three values per vertex and per face");
    }
}

void ScanSurface::positions_into(std::uint64_t first, std::uint64_t count, float* positions) const {
    const auto begin = scan_.positions.begin() + static_cast<std::ptrdiff_t>(3 * first);
    std::copy(begin, begin + static_cast<std::ptrdiff_t>(3 * count), positions);
}

void ScanSurface::corners_into(std::uint64_t first, std::uint64_t count,
                               std::vector<std::int32_t>& corners,
                               std::vector<std::uint64_t>& records) const {
    records.clear();
    const auto begin = scan_.triangles.begin() + static_cast<std::ptrdiff_t>(3 * first);
    corners.assign(begin, begin + static_cast<std::ptrdiff_t>(3 * count));
    const auto vertices = static_cast<std::int64_t>(scan_.vertex_count());
    for (std::size_t i = 0; i < corners.size(); ++i) {
        if (corners[i] < 0 || corners[i] >= vertices) {
            throw InputError("triangle " + std::to_string(first + i / 3) +
                             " names a vertex that does not exist: " + std::to_string(corners[i]));
        }
    }
}

double mean_side_length(const Surface& surface) {
    std::vector<float> positions; // of the vertices from `base` on
    std::uint64_t base = 0;
    if (!surface.loose_corners()) {
        positions.resize(3 * surface.vertex_count());
        surface.positions_into(0, surface.vertex_count(), positions.data());
    }
    double sum = 0.0;
    std::int64_t sides = 0;
    std::vector<std::int32_t> corners;
    std::vector<std::uint64_t> records;
    in_pieces(surface.face_count(), [&](std::uint64_t first, std::uint64_t count) {
        surface.corners_into(first, count, corners, records);
        if (surface.loose_corners()) {
            base = 3 * first;
            positions.resize(9 * count);
            surface.positions_into(base, 3 * count, positions.data());
        }
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const std::size_t next = i % 3 == 2 ? i - 2 : i + 1;
            const float* a = &positions[3 * (static_cast<std::uint64_t>(corners[i]) - base)];
            const float* b = &positions[3 * (static_cast<std::uint64_t>(corners[next]) - base)];
            const double dx = static_cast<double>(a[0]) - b[0];
            const double dy = static_cast<double>(a[1]) - b[1];
            const double dz = static_cast<double>(a[2]) - b[2];
            const double length = std::sqrt(dx * dx + dy * dy + dz * dz);
            if (std::isfinite(length)) {
                sum += length;
                ++sides;
            }
        }
    });
    return sides == 0 ? 0.0 : sum / static_cast<double>(sides);
}

} // namespace KVN::toolkit
