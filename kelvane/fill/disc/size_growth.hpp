// How the wished edge length grows from the border of a patch inward.
#pragma once

namespace Mesh_M::fill {

/// The wished edge length at a depth, both in units of the border's. It stays even for three rows,
/// where the seam is shaped and the fairing's equations reach, and then grows, slowly at first:
/// what the middle is determined by lies ever farther off, and points there cost most.
inline double growth_at(double depth) {
    constexpr double even_depth = 2.6;     // three rows of equilateral triangles
    constexpr double greatest_slope = 0.3; // steeper growth shows in the triangles' shape
    constexpr double gentle_depth = 6.0;   // until half of that is reached
    const double behind = depth - even_depth;
    return behind > 0.0 ? 1.0 + greatest_slope * behind * behind / (behind + gentle_depth) : 1.0;
}

} // namespace Mesh_M::fill
