#include "kelvane/fill/continuation/disc_polynomials.hpp"

#include <Eigen/Cholesky>

#include <cmath>

namespace Mesh_M::fill {

namespace {

constexpr int degrees = DiscPolynomials::greatest_degree + 1;

// Products of Chebyshev polynomials of x and y by their common degree.
Eigen::VectorXd chebyshev_products(double along_x, double along_y, int degree) {
    double x[degrees] = {1.0, along_x};
    double y[degrees] = {1.0, along_y};
    for (int k = 2; k <= degree; ++k) {
        x[k] = 2.0 * x[1] * x[k - 1] - x[k - 2];
        y[k] = 2.0 * y[1] * y[k - 1] - y[k - 2];
    }
    Eigen::VectorXd values(DiscPolynomials::term_count(degree));
    for (int d = 0, term = 0; d <= degree; ++d) {
        for (int k = 0; k <= d; ++k, ++term) {
            values[term] = x[d - k] * y[k];
        }
    }
    return values;
}

// Gram-Schmidt over the unit disc by way of the Cholesky factor of the Gram matrix. The quadrature
// takes rings of equal area and is far finer than the polynomials.
Eigen::MatrixXd orthonormalise() {
    constexpr int rings = 24;
    constexpr int spokes = 24;
    constexpr int degree = DiscPolynomials::greatest_degree;
    constexpr int terms = DiscPolynomials::term_count(degree);
    Eigen::MatrixXd values(rings * spokes, terms);
    for (int i = 0; i < rings; ++i) {
        const double r = std::sqrt((i + 0.5) / rings);
        for (int j = 0; j < spokes; ++j) {
            const double angle = 2.0 * M_PI * (j + 0.5 * (i % 2)) / spokes;
            values.row(i * spokes + j) =
                chebyshev_products(r * std::cos(angle), r * std::sin(angle), degree).transpose();
        }
    }
    const Eigen::MatrixXd gram = values.transpose() * values / (rings * spokes);
    const Eigen::LLT<Eigen::MatrixXd> factor(gram);
    Eigen::MatrixXd orthonormal = Eigen::MatrixXd::Identity(terms, terms);
    factor.matrixL().solveInPlace(orthonormal);
    return orthonormal;
}

// The factor is triangular and the terms go by degree: lower degrees are its top left corner.
const Eigen::MatrixXd& all_orthonormal() {
    static const Eigen::MatrixXd table = orthonormalise();
    return table;
}

} // namespace

DiscPolynomials::DiscPolynomials(const Eigen::Vector2d& centre, double radius, int degree)
    : centre_(centre), radius_(radius), degree_(degree),
      orthonormal_(all_orthonormal().topLeftCorner(terms(), terms())) {
    for (int d = 0; d <= degree; ++d) {
        degrees_.insert(degrees_.end(), static_cast<std::size_t>(d) + 1, d);
    }
}

Eigen::VectorXd DiscPolynomials::products(const Eigen::Vector2d& place) const {
    return chebyshev_products((place.x() - centre_.x()) / radius_,
                              (place.y() - centre_.y()) / radius_, degree_);
}

Eigen::VectorXd DiscPolynomials::operator()(const Eigen::Vector2d& place) const {
    return orthonormal_.triangularView<Eigen::Lower>() * products(place);
}

Eigen::VectorXd DiscPolynomials::to_products(const Eigen::VectorXd& coefficients) const {
    return orthonormal_.triangularView<Eigen::Lower>().transpose() * coefficients;
}

} // namespace Mesh_M::fill
