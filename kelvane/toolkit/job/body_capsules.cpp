#include "kelvane/toolkit/job/body_capsules.hpp"

#include <cmath>

namespace KVN::toolkit {

namespace {

constexpr double edges_read = 6.0; // around such a cylinder, with the neighbours of what is read

} // namespace

std::vector<Capsule> body_capsules(const std::vector<Marker>& markers, double margin,
                                   const RepairOptions& options) {
    std::vector<Capsule> cylinders;
    for (const Marker& m : markers) {
        const double height = options.body_height.value_or(default_body_radii * m.radius);
        const double length =
            std::sqrt(static_cast<double>(m.nx) * m.nx + static_cast<double>(m.ny) * m.ny +
                      static_cast<double>(m.nz) * m.nz);
        const double scale = length > 0.0 ? height / length : 0.0;
        const auto end = [&](double sign) {
            return std::array<float, 3>{static_cast<float>(m.x + sign * scale * m.nx),
                                        static_cast<float>(m.y + sign * scale * m.ny),
                                        static_cast<float>(m.z + sign * scale * m.nz)};
        };
        // The ends are rounded to float: a little more radius makes up for it.
        const double rounding = 1e-6 * (std::fabs(m.x) + std::fabs(m.y) + std::fabs(m.z) + height);
        cylinders.push_back({end(-1.0), end(1.0), m.radius + margin + rounding});
    }
    return cylinders;
}

std::vector<MarkerReach> further_capsules(const std::vector<BodyRemoval>& removals,
                                          const std::vector<std::size_t>& markers,
                                          const RepairOptions& options) {
    std::vector<MarkerReach> reaches;
    for (std::size_t i = 0; i < removals.size(); ++i) {
        for (const BodyAim& aim : removals[i].further) {
            const double margin = aim.margin + edges_read * aim.edge;
            reaches.push_back({markers[i], body_capsules({aim.marker}, margin, options).front()});
        }
    }
    return reaches;
}

} // namespace KVN::toolkit
