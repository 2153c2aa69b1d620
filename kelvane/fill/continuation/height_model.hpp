// A smooth height field z(x, y) learnt from scattered, noisy samples.
#pragma once

#include "kelvane/fill/continuation/arc_fit.hpp"
#include "kelvane/fill/continuation/disc_polynomials.hpp"

#include <Eigen/Core>

#include <vector>

namespace Mesh_M::fill {

/// Bayesian polynomial regression on a disc. Polynomials up to degree 2 are free, higher degrees
/// have a zero-mean normal prior whose variance falls with the degree. How it falls, its scale, the
/// noise of the samples and whether curvatures rather stay constant (ArcExcess) are weighed by the
/// restricted likelihood of the samples, so that exact samples are met to rounding, noisy ones are
/// averaged, and nothing has to be set. Samples that lie apart from the rest lose weight.
class HeightModel {
  public:
    /// Learns from samples at `places` with heights `heights`; the model is asked among them.
    /// Deviations below the length `resolution` never count as outliers.
    /// False if there are too few samples or they do not fix a quadric.
    bool fit(const std::vector<Eigen::Vector2d>& places, const Eigen::VectorXd& heights,
             double resolution);

    double operator()(const Eigen::Vector2d& place) const;

    /// What the model foretells at `asked` if it is given the heights at `known` alone, with the
    /// prior that it has learnt from all.
    Eigen::VectorXd foretell(const std::vector<Eigen::Vector2d>& known,
                             const Eigen::VectorXd& heights,
                             const std::vector<Eigen::Vector2d>& asked) const;

  private:
    struct Evidence;
    struct Mixture;
    static int choose_degree(std::size_t samples);
    bool solve(const Eigen::MatrixXd& design, const Eigen::VectorXd& heights,
               const Eigen::VectorXd& excess, const Eigen::VectorXd& weights, bool may_arc);
    bool average(Mixture& mixture, Eigen::VectorXd& prior);

    DiscPolynomials basis_;
    ArcExcess arc_;
    double arc_share_ = 0.0;
    Eigen::VectorXd coefficients_;
    Eigen::VectorXd folded_;         ///< the same for the basis' products
    std::vector<std::size_t> falls_; ///< still in the running, by their place in the table
    Eigen::VectorXd precision_;      ///< of the likeliest prior, per term, in units of the noise's
};

} // namespace Mesh_M::fill
