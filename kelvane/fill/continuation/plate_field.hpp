// The height field of least bending through given heights.
#pragma once

#include <Eigen/Core>

#include <vector>

namespace Mesh_M::fill {

/// Thin plate spline (Duchon 1977): assumes nothing of the surface but that it bends little, and so
/// continues position and tangent only.
class PlateField {
  public:
    /// Meets all heights. False, with the field undefined, for fewer than 3 places, places on one
    /// line, or two in one place.
    bool fit(const std::vector<Eigen::Vector2d>& places, const Eigen::VectorXd& heights);

    double operator()(const Eigen::Vector2d& place) const;

  private:
    std::vector<Eigen::Vector2d> places_;
    Eigen::VectorXd weights_; ///< one per place, then those of 1, x and y
    Eigen::Vector2d centre_ = Eigen::Vector2d::Zero();
    double scale_ = 1.0; ///< to a size of about one
};

} // namespace Mesh_M::fill
