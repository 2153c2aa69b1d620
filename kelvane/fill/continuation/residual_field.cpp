#include "kelvane/fill/continuation/residual_field.hpp"

#include "kelvane/fill/continuation/shifted_tridiagonal.hpp"

#include <cmath>

namespace Mesh_M::fill {

namespace {

double matern(double distance, double range) {
    const double t = std::sqrt(3.0) * distance / range;
    return (1.0 + t) * std::exp(-t);
}

} // namespace

void ResidualField::fit(const std::vector<Eigen::Vector2d>& places,
                        const Eigen::VectorXd& residuals, double spacing) {
    // Ranges in units of the sample spacing.
    constexpr double ranges[] = {1.5, 3.0, 6.0};
    const auto count = static_cast<Eigen::Index>(places.size());
    places_.clear();
    const double power = residuals.squaredNorm();
    if (count < 2 || !(spacing > 0.0) || !(power > 0.0) || !std::isfinite(power)) {
        return;
    }

    const auto samples = static_cast<double>(count);
    double best = samples * std::log(power / samples); // no pattern at all
    Eigen::MatrixXd kernel(count, count);
    for (const double factor : ranges) {
        const double range = factor * spacing;
        for (Eigen::Index i = 0; i < count; ++i) {
            for (Eigen::Index j = 0; j <= i; ++j) {
                const double distance =
                    (places[static_cast<std::size_t>(i)] - places[static_cast<std::size_t>(j)])
                        .norm();
                kernel(i, j) = matern(distance, range);
            }
        }
        ShiftedTridiagonal solver(kernel); // reads the lower part only
        const Eigen::VectorXd rotated = solver.rotate(residuals);
        for (double exponent = -5.0; exponent <= 2.0; exponent += 0.25) {
            const double ratio = std::pow(10.0, exponent); // noise variance to field variance
            solver.shift(ratio);
            const double cost = samples * std::log(solver.quadratic(rotated) * ratio / samples) +
                                solver.log_determinant();
            if (!(cost < best)) {
                continue;
            }
            best = cost;
            range_ = range;
            places_ = places;
            coefficients_ = solver.rotate_back(solver.solve(rotated));
        }
    }
}

double ResidualField::operator()(const Eigen::Vector2d& place) const {
    double sum = 0.0;
    for (std::size_t i = 0; i < places_.size(); ++i) {
        sum += coefficients_[static_cast<Eigen::Index>(i)] *
               matern((place - places_[i]).norm(), range_);
    }
    return sum;
}

} // namespace Mesh_M::fill
