// Systems A + s I with one symmetric A and many shifts s.
#pragma once

#include <Eigen/Core>
#include <Eigen/Eigenvalues>

namespace Mesh_M::fill {

/// A is reduced to a tridiagonal matrix once; each shift then costs a pass over its two diagonals
/// instead of a factorisation, and no eigenvectors are needed. Vectors are turned into the basis of
/// the reduction by `rotate` and back by `rotate_back`; `quadratic` and `solve` take and give
/// turned ones.
class ShiftedTridiagonal {
  public:
    /// `matrix` is symmetric, positive semi-definite up to rounding, and not empty.
    explicit ShiftedTridiagonal(const Eigen::MatrixXd& matrix);

    Eigen::VectorXd rotate(const Eigen::VectorXd& vector) const;
    Eigen::VectorXd rotate_back(const Eigen::VectorXd& vector) const;

    /// The greatest entry of the reduction: a third to the whole of the greatest eigenvalue. Above
    /// 0.
    double top() const { return top_; }

    /// Takes a shift above 0, for which the calls below answer.
    void shift(double value);

    /// Logarithm of the determinant of A / s + I.
    double log_determinant() const;

    /// x' (A + s I)^-1 x.
    double quadratic(const Eigen::VectorXd& x) const;

    /// (A + s I)^-1 x.
    Eigen::VectorXd solve(const Eigen::VectorXd& x) const;

  private:
    Eigen::Tridiagonalization<Eigen::MatrixXd> reduction_;
    Eigen::VectorXd diagonal_;
    Eigen::VectorXd below_;
    Eigen::VectorXd pivots_;  ///< of the shifted matrix
    Eigen::VectorXd factors_; ///< from each pivot to the next row
    double shift_ = 1.0;
    double top_ = 1.0;
};

} // namespace Mesh_M::fill
