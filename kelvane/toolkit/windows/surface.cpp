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
    std::vector<float> positions(3 * surface.vertex_count());
    surface.positions_into(0, surface.vertex_count(), positions.data());
    double sum = 0.0;
    std::int64_t sides = 0;
    for_each_triangle(surface, [&](const std::int32_t* corners, std::uint64_t) {
        for (int k = 0; k < 3; ++k) {
            const float* a = &positions[3 * static_cast<std::size_t>(corners[k])];
            const float* b = &positions[3 * static_cast<std::size_t>(corners[(k + 1) % 3])];
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
