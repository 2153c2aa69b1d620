// A short-range correction field over scattered residuals.
#pragma once

#include <Eigen/Core>

#include <vector>

namespace Mesh_M::fill {

/// Kriging of residuals in the plane with a Matern kernel of smoothness 3/2 (Rasmussen & Williams
/// 2006). Range, scale and noise are those of the greatest likelihood: residuals without a pattern
/// give a field near zero, residuals that follow from place to place are met and fade away within
/// the range.
class ResidualField {
  public:
    /// `spacing` is the mean distance of neighbouring samples. No samples give the zero field.
    void fit(const std::vector<Eigen::Vector2d>& places, const Eigen::VectorXd& residuals,
             double spacing);

    double operator()(const Eigen::Vector2d& place) const;

  private:
    std::vector<Eigen::Vector2d> places_;
    Eigen::VectorXd coefficients_;
    double range_ = 1.0;
};

} // namespace Mesh_M::fill
