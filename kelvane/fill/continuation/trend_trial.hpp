// How far the trend of a hole's surroundings can be trusted, judged where the surface is known.
#pragma once

#include "kelvane/fill/continuation/height_model.hpp"

#include <Eigen/Core>

#include <vector>

namespace Mesh_M::fill {

/// Points of a surface over a plane.
struct Samples {
    std::vector<Eigen::Vector2d> places;
    Eigen::VectorXd heights;
};

/// The trust, 0 to 1, in a trend that was learnt from `samples`, against a plate that assumes
/// nothing of the surface (PlateField). The samples that `held` marks, one flag each, the row next
/// to the hole, are foretold from all others by both; the trust grows with the weight by which both
/// together come nearest (stacking: Wolpert 1992, Breiman 1996). 1 where there is too little for a
/// trial.
double trend_trust(const HeightModel& trend, const Samples& samples, const std::vector<char>& held);

} // namespace Mesh_M::fill
