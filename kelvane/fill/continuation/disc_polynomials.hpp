// Polynomials in two variables that are orthonormal on a disc, ordered by degree.
#pragma once

#include <Eigen/Core>

#include <vector>

namespace Mesh_M::fill {

/// The terms of one degree span a space that no rotation of the plane leaves (they are Zernike
/// polynomials up to a rotation within each degree), so that a weight by degree favours no
/// direction.
class DiscPolynomials {
  public:
    static constexpr int greatest_degree = 10;

    DiscPolynomials() = default;

    /// Terms of degree 0 to `degree` (at most greatest_degree) on the disc around `centre`.
    DiscPolynomials(const Eigen::Vector2d& centre, double radius, int degree);

    static constexpr int term_count(int degree) { return (degree + 1) * (degree + 2) / 2; }

    int terms() const { return term_count(degree_); }
    const Eigen::Vector2d& centre() const { return centre_; }
    double radius() const { return radius_; }
    int degree_of(int term) const { return degrees_[static_cast<std::size_t>(term)]; }

    /// The values of all terms at a place; places outside of the disc are allowed.
    Eigen::VectorXd operator()(const Eigen::Vector2d& place) const;

    /// Coefficients of the terms as coefficients of the products that the terms are made of, with
    /// which a sum of all terms costs one scalar product.
    Eigen::VectorXd to_products(const Eigen::VectorXd& coefficients) const;

    /// The products themselves at a place.
    Eigen::VectorXd products(const Eigen::Vector2d& place) const;

  private:
    Eigen::Vector2d centre_ = Eigen::Vector2d::Zero();
    double radius_ = 1.0;
    int degree_ = 0;
    std::vector<int> degrees_;
    Eigen::MatrixXd orthonormal_; ///< from products of Chebyshev polynomials to the terms
};

} // namespace Mesh_M::fill
