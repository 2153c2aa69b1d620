#include "support/bi_laplace.hpp"

#include <Eigen/Geometry>
#include <Eigen/SparseCore>
#include <Eigen/SparseLU>

#include <algorithm>
#include <cmath>

namespace support {

namespace {

using Eigen::Index;
using Eigen::Vector3d;
using Matrix = Eigen::SparseMatrix<double>;

Matrix laplacian(const std::vector<Vector3d>& points,
                 const std::vector<std::array<int, 3>>& triangles) {
    std::vector<Eigen::Triplet<double>> entries;
    Eigen::VectorXd areas = Eigen::VectorXd::Zero(static_cast<Index>(points.size()));
    for (const std::array<int, 3>& t : triangles) {
        std::array<double, 3> angles{};
        std::array<double, 3> sides{}; // opposite the corner
        for (std::size_t k = 0; k < 3; ++k) {
            const auto corner = [&](std::size_t i) {
                return points[static_cast<std::size_t>(t[i % 3])];
            };
            const Vector3d u = corner(k + 1) - corner(k);
            const Vector3d v = corner(k + 2) - corner(k);
            angles[k] = std::acos(u.dot(v) / (u.norm() * v.norm()));
            sides[k] = (v - u).norm();
        }
        const double area = 0.5 * sides[1] * sides[2] * std::sin(angles[0]);
        const bool obtuse = *std::max_element(angles.begin(), angles.end()) > M_PI / 2;
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t p = (k + 1) % 3;
            const std::size_t q = (k + 2) % 3;
            const double weight = 0.5 / std::tan(angles[k]);
            for (const auto& [i, j] : {std::pair(t[p], t[q]), std::pair(t[q], t[p])}) {
                entries.emplace_back(i, i, weight);
                entries.emplace_back(i, j, -weight);
            }
            areas[t[k]] += obtuse ? area / (angles[k] > M_PI / 2 ? 2.0 : 4.0)
                                  : (sides[q] * sides[q] / std::tan(angles[q]) +
                                     sides[p] * sides[p] / std::tan(angles[p])) /
                                        8.0;
        }
    }
    Matrix stiffness(areas.size(), areas.size());
    stiffness.setFromTriplets(entries.begin(), entries.end());
    const Eigen::VectorXd inverse =
        areas.unaryExpr([](double area) { return area > 0.0 ? 1.0 / area : 0.0; });
    return inverse.asDiagonal() * stiffness;
}

} // namespace

std::vector<Vector3d> solve_bi_laplace(const std::vector<Vector3d>& points,
                                       const std::vector<std::array<int, 3>>& triangles,
                                       const std::vector<int>& free) {
    const Matrix once = laplacian(points, triangles);
    const auto unknowns = static_cast<Index>(free.size());
    Matrix spread(once.rows(), unknowns); // from the unknowns to all points
    Eigen::MatrixXd fixed(once.rows(), 3);
    for (Index i = 0; i < once.rows(); ++i) {
        fixed.row(i) = points[static_cast<std::size_t>(i)];
    }
    for (Index k = 0; k < unknowns; ++k) {
        spread.insert(free[static_cast<std::size_t>(k)], k) = 1.0;
        fixed.row(free[static_cast<std::size_t>(k)]).setZero();
    }
    const Matrix rows = spread.transpose() * once * once;
    Eigen::SparseLU<Matrix> solver(Matrix(rows * spread));
    const Eigen::MatrixXd solution = solver.solve(Eigen::MatrixXd(-(rows * fixed)));
    std::vector<Vector3d> places;
    for (Index k = 0; k < unknowns; ++k) {
        places.emplace_back(solution.row(k));
    }
    return places;
}

} // namespace support
