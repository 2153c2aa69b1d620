#include "kelvane/fill/continuation/plate_field.hpp"

#include "kelvane/fill/continuation/arc_fit.hpp"

#include <Eigen/LU>

#include <cmath>

namespace Mesh_M::fill {

namespace {

// r^2 log r^2, twice the fundamental solution of the biharmonic equation up to a constant.
double plate_kernel(double squared) {
    return squared > 0.0 ? squared * std::log(squared) : 0.0;
}

} // namespace

bool PlateField::fit(const std::vector<Eigen::Vector2d>& places, const Eigen::VectorXd& heights) {
    const auto count = static_cast<Eigen::Index>(places.size());
    if (count < 3) {
        return false;
    }
    const Disc disc = enclose(places);
    centre_ = disc.centre;
    scale_ = 1.0 / disc.radius;
    places_.clear();
    for (const Eigen::Vector2d& place : places) {
        places_.emplace_back(scale_ * (place - centre_));
    }
    Eigen::MatrixXd system = Eigen::MatrixXd::Zero(count + 3, count + 3);
    for (Eigen::Index i = 0; i < count; ++i) {
        const Eigen::Vector2d& p = places_[static_cast<std::size_t>(i)];
        for (Eigen::Index j = 0; j < i; ++j) {
            system(i, j) = system(j, i) =
                plate_kernel((p - places_[static_cast<std::size_t>(j)]).squaredNorm());
        }
        system.row(i).tail<3>() << 1.0, p.x(), p.y();
    }
    system.bottomLeftCorner(3, count) = system.topRightCorner(count, 3).transpose();
    Eigen::VectorXd right = Eigen::VectorXd::Zero(count + 3);
    right.head(count) = heights;
    weights_ = system.partialPivLu().solve(right);
    return weights_.allFinite();
}

double PlateField::operator()(const Eigen::Vector2d& place) const {
    const Eigen::Vector2d p = scale_ * (place - centre_);
    const auto count = static_cast<Eigen::Index>(places_.size());
    double sum = weights_[count] + weights_[count + 1] * p.x() + weights_[count + 2] * p.y();
    for (Eigen::Index i = 0; i < count; ++i) {
        sum += weights_[i] * plate_kernel((p - places_[static_cast<std::size_t>(i)]).squaredNorm());
    }
    return sum;
}

} // namespace Mesh_M::fill
