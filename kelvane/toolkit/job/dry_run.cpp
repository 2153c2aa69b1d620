#include "kelvane/toolkit/job/dry_run.hpp"

#include "kelvane/toolkit/job/repair_plan.hpp"
#include "kelvane/toolkit/windows/surface.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace KVN::toolkit {

namespace {

/// Distance in radii of the marker, so that a large one wins beside a small one.
double distance(const Marker& marker, const std::array<float, 3>& p) {
    return std::hypot(p[0] - marker.x, p[1] - marker.y, p[2] - marker.z) / marker.radius;
}

std::size_t nearest(const std::vector<Marker>& markers, const Surface& surface, std::uint64_t v) {
    std::array<float, 3> p{};
    surface.positions_into(v, 1, p.data());
    const auto closer = [&](const Marker& a, const Marker& b) {
        return distance(a, p) < distance(b, p);
    };
    return static_cast<std::size_t>(std::min_element(markers.begin(), markers.end(), closer) -
                                    markers.begin());
}

} // namespace

DryRun dry_run(const OpenScan& scan, const std::vector<Marker>& markers,
               const RepairOptions& options, Progress* progress) {
    const FileSurface surface(scan);
    DryRun dry;
    dry.cuts.resize(markers.size());
    const auto count = [&](const Splice& splice, RepairReport&) {
        for (const std::uint32_t v : splice.vertices_gone) {
            ++dry.cuts[nearest(markers, surface, v)].vertices;
        }
        std::vector<std::int32_t> corners;
        std::vector<std::uint64_t> records;
        for (const std::uint64_t f : splice.faces_gone) {
            surface.corners_into(f, 1, corners, records);
            if (!corners.empty()) {
                const auto corner = static_cast<std::uint64_t>(corners.front());
                ++dry.cuts[nearest(markers, surface, corner)].faces;
            }
        }
    };
    dry.report = repair_surface(surface, markers, options, progress, count);
    return dry;
}

} // namespace KVN::toolkit
