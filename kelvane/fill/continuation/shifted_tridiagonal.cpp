#include "kelvane/fill/continuation/shifted_tridiagonal.hpp"

#include <algorithm>
#include <cmath>

namespace Mesh_M::fill {

ShiftedTridiagonal::ShiftedTridiagonal(const Eigen::MatrixXd& matrix)
    : reduction_(matrix), diagonal_(reduction_.diagonal()), below_(reduction_.subDiagonal()),
      pivots_(matrix.rows()), factors_(below_.size()) {
    top_ = 1e-300;
    for (Eigen::Index i = 0; i < diagonal_.size(); ++i) {
        const double before = i > 0 ? std::abs(below_[i - 1]) : 0.0;
        const double behind = i < below_.size() ? std::abs(below_[i]) : 0.0;
        top_ = std::max(top_, std::max(diagonal_[i], std::max(before, behind)));
    }
}

Eigen::VectorXd ShiftedTridiagonal::rotate(const Eigen::VectorXd& vector) const {
    return reduction_.matrixQ().adjoint() * vector;
}

Eigen::VectorXd ShiftedTridiagonal::rotate_back(const Eigen::VectorXd& vector) const {
    return reduction_.matrixQ() * vector;
}

void ShiftedTridiagonal::shift(double value) {
    shift_ = value;
    pivots_[0] = std::max(diagonal_[0], 0.0) + value;
    for (Eigen::Index i = 0; i < below_.size(); ++i) {
        factors_[i] = below_[i] / pivots_[i];
        // No pivot of an exact matrix is less than the shift; rounding must not make it so.
        pivots_[i + 1] = std::max(diagonal_[i + 1] + value - factors_[i] * below_[i], value);
    }
}

double ShiftedTridiagonal::log_determinant() const {
    // One logarithm for several pivots, as many as no product of overflows.
    constexpr Eigen::Index together = 8;
    double sum = 0.0;
    for (Eigen::Index i = 0; i < pivots_.size(); i += together) {
        const Eigen::Index count = std::min(together, pivots_.size() - i);
        sum += std::log((pivots_.segment(i, count) / shift_).prod());
    }
    return sum;
}

double ShiftedTridiagonal::quadratic(const Eigen::VectorXd& x) const {
    double rest = x[0];
    double sum = rest * rest / pivots_[0];
    for (Eigen::Index i = 0; i < below_.size(); ++i) {
        rest = x[i + 1] - factors_[i] * rest;
        sum += rest * rest / pivots_[i + 1];
    }
    return sum;
}

Eigen::VectorXd ShiftedTridiagonal::solve(const Eigen::VectorXd& x) const {
    Eigen::VectorXd result = x;
    for (Eigen::Index i = 0; i < below_.size(); ++i) {
        result[i + 1] -= factors_[i] * result[i];
    }
    result.array() /= pivots_.array();
    for (Eigen::Index i = below_.size(); i-- > 0;) {
        result[i] -= factors_[i] * result[i + 1];
    }
    return result;
}

} // namespace Mesh_M::fill
