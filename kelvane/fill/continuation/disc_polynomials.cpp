#include "kelvane/fill/continuation/disc_polynomials.hpp"

#include <Eigen/Cholesky>

#include <cmath>

namespace Mesh_M::fill {

// Gram-Schmidt over the disc by way of the Cholesky factor of the Gram matrix. The quadrature takes
// rings of equal area and is far finer than the polynomials.
DiscPolynomials::DiscPolynomials(const Eigen::Vector2d& centre, double radius, int degree)
    : centre_(centre), radius_(radius), degree_(degree) {
    constexpr int rings = 24;
    constexpr int spokes = 24;
    for (int d = 0; d <= degree; ++d) {
        degrees_.insert(degrees_.end(), static_cast<std::size_t>(d) + 1, d);
    }

    Eigen::MatrixXd values(rings * spokes, terms());
    for (int i = 0; i < rings; ++i) {
        const double r = radius * std::sqrt((i + 0.5) / rings);
        for (int j = 0; j < spokes; ++j) {
            const double angle = 2.0 * M_PI * (j + 0.5 * (i % 2)) / spokes;
            const Eigen::Vector2d offset(r * std::cos(angle), r * std::sin(angle));
            values.row(i * spokes + j) = products(centre + offset).transpose();
        }
    }
    const Eigen::MatrixXd gram = values.transpose() * values / (rings * spokes);
    const Eigen::LLT<Eigen::MatrixXd> factor(gram);
    orthonormal_ = Eigen::MatrixXd::Identity(terms(), terms());
    factor.matrixL().solveInPlace(orthonormal_);
}

Eigen::VectorXd DiscPolynomials::products(const Eigen::Vector2d& place) const {
    double x[greatest_degree + 1] = {1.0};
    double y[greatest_degree + 1] = {1.0};
    x[1] = (place.x() - centre_.x()) / radius_;
    y[1] = (place.y() - centre_.y()) / radius_;
    for (int k = 2; k <= degree_; ++k) {
        x[k] = 2.0 * x[1] * x[k - 1] - x[k - 2];
        y[k] = 2.0 * y[1] * y[k - 1] - y[k - 2];
    }
    Eigen::VectorXd values(terms());
    for (int d = 0, term = 0; d <= degree_; ++d) {
        for (int k = 0; k <= d; ++k, ++term) {
            values[term] = x[d - k] * y[k];
        }
    }
    return values;
}

Eigen::VectorXd DiscPolynomials::operator()(const Eigen::Vector2d& place) const {
    return orthonormal_.triangularView<Eigen::Lower>() * products(place);
}

Eigen::VectorXd DiscPolynomials::to_products(const Eigen::VectorXd& coefficients) const {
    return orthonormal_.triangularView<Eigen::Lower>().transpose() * coefficients;
}

} // namespace Mesh_M::fill
