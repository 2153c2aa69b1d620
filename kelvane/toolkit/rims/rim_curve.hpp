// The stretch of a scan's rim that a marker hides, from the rim on both sides of it.
#pragma once

#include "kelvane/toolkit/rims/rim_report.hpp"

#include <Eigen/Core>

#include <vector>

namespace KVN::toolkit {

/// Rim on one side of a gap: its first point is the end of the gap, each further one an edge away.
using RimSide = std::vector<Eigen::Vector3d>;

/// How many edges of each side are wanted; more are not used.
constexpr int rim_edges_learnt = 10;

struct RimCurve {
    RimClosing closing;
    /// Strictly between the gap's ends, from the first side's to the second's, at equal distances
    /// near the mean length of the rim's edges. Empty unless `closing` is curved.
    std::vector<Eigen::Vector3d> points;
};

/// Fits one smooth curve to both sides and samples it in the gap. It passes through the gap's ends
/// and averages the noise of all other points. Lengths in the points' unit; any unit will do.
KELVANE_EXPORT RimCurve continue_rim(const RimSide& from, const RimSide& to);

} // namespace KVN::toolkit
