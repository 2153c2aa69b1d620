#include "kelvane/fill/disc/surface_guess.hpp"

#include <Eigen/Dense>
#include <Eigen/SparseCholesky>
#include <Eigen/SparseCore>

#include <algorithm>
#include <cmath>

namespace Mesh_M::fill {
namespace {

constexpr int fewest_points = 12; ///< of a loop that may tell a curvature
constexpr int most_points = 400;  ///< a longer loop spans more than one paraboloid
constexpr int most_harmonics = 4;
constexpr double least_roundness =
    0.5;                            ///< area of the loop relative to that of a circle of its radius
constexpr double most_height = 0.5; ///< mean distance from the loop's plane, relative to its radius
constexpr double most_bulge =
    0.5; ///< height of the bulge over a round loop, relative to its radius
constexpr double least_weight = 0.02; ///< of an edge in the Laplacian, which stays definite so

/// Deviation of the squared distances from the middle from what harmonic polynomials explain, times
/// the number of points. A loop that was cut along the edges of a mesh has 2 to 5, a smooth one 0,
/// and one that is no ring at all much more.
constexpr double least_raggedness = 0.5;
constexpr double most_raggedness = 20.0;

/// The bulge is made this many times as high as the surface's. A bi-Laplace fairing with the
/// lengths and angles of the true surface comes out too flat; with slopes whose squares are doubled
/// its error vanishes to leading order. Measured on spheres, tori and cylinders: the faired points'
/// distance from the surface falls to a tenth and less of what it is with the true height.
constexpr double exaggeration = M_SQRT2;

/// The patch in the plane of its loop's area vector, as multiples of the loop's mean radius; the
/// loop comes first. Heights of inner points are still to be found.
struct FlatPatch {
    Point centre = Point::Zero(), axis_x, axis_y, normal;
    double radius = 0.0;
    double roundness = 0.0; ///< area of the loop relative to that of a circle of its radius
    int border = 0;
    Eigen::ArrayXd x, y, z;
};

FlatPatch flatten(const Patch& patch) {
    FlatPatch flat;
    flat.border = patch.borderCount;
    for (int i = 0; i < flat.border; ++i) {
        flat.centre += patch.points[i] / flat.border;
    }
    Point area = Point::Zero();
    double squares = 0.0;
    for (int i = 0; i < flat.border; ++i) {
        const Point offset = patch.points[i] - flat.centre;
        area += 0.5 * offset.cross(patch.points[(i + 1) % flat.border] - flat.centre);
        squares += offset.squaredNorm() / flat.border;
    }
    flat.radius = std::sqrt(squares);
    flat.roundness = area.norm() / (M_PI * squares);
    flat.normal = area.normalized();
    flat.axis_x = flat.normal.unitOrthogonal();
    flat.axis_y = flat.normal.cross(flat.axis_x);
    const Eigen::Index count = static_cast<Eigen::Index>(patch.points.size());
    flat.x.resize(count);
    flat.y.resize(count);
    flat.z.resize(count);
    for (Eigen::Index i = 0; i < count; ++i) {
        const Point offset = (patch.points[i] - flat.centre) / flat.radius;
        flat.x[i] = offset.dot(flat.axis_x);
        flat.y[i] = offset.dot(flat.axis_y);
        flat.z[i] = offset.dot(flat.normal);
    }
    return flat;
}

/// Values of the first harmonic polynomials at the loop's points: 1, Re (x + iy)^n, Im (x + iy)^n.
Eigen::MatrixXd harmonic_basis(const FlatPatch& flat, int harmonics) {
    const Eigen::ArrayXd x = flat.x.head(flat.border), y = flat.y.head(flat.border);
    Eigen::MatrixXd basis(flat.border, 1 + 2 * harmonics);
    Eigen::ArrayXd real = Eigen::ArrayXd::Ones(flat.border);
    Eigen::ArrayXd imaginary = Eigen::ArrayXd::Zero(flat.border);
    basis.col(0) = real;
    for (int n = 1; n <= harmonics; ++n) {
        const Eigen::ArrayXd previous = real;
        real = previous * x - imaginary * y;
        imaginary = previous * y + imaginary * x;
        basis.col(2 * n - 1) = real;
        basis.col(2 * n) = imaginary;
    }
    return basis;
}

/// The factor c of c (x^2 + y^2) in a least-squares fit of the loop's heights by this paraboloid
/// and the harmonic polynomials. A membrane takes the harmonic part from the loop by itself; what
/// it cannot know is c. On a perfect circle c is undetermined, and on a noisy loop uncertain: it is
/// lowered as its variance asks for.
double fit_paraboloid(const FlatPatch& flat) {
    const int harmonics = std::min(most_harmonics, (flat.border - 2) / 6);
    const Eigen::MatrixXd basis = harmonic_basis(flat, harmonics);
    const Eigen::HouseholderQR<Eigen::MatrixXd> factors(basis);
    const Eigen::MatrixXd span =
        factors.householderQ() * Eigen::MatrixXd::Identity(flat.border, basis.cols());
    Eigen::VectorXd square = (flat.x.square() + flat.y.square()).head(flat.border);
    square -= span * (span.transpose() * square);
    Eigen::VectorXd height = flat.z.head(flat.border);
    height -= span * (span.transpose() * height);
    const double spread = square.squaredNorm();
    const double raggedness = std::sqrt(spread * flat.border);
    if (!(raggedness > least_raggedness && raggedness < most_raggedness)) {
        return 0.0;
    }
    const double factor = square.dot(height) / spread;
    const double freedom = flat.border - static_cast<double>(basis.cols()) - 1.0;
    const double variance = (height - factor * square).squaredNorm() / (freedom * spread);
    const double kept = factor * (1.0 - 2.0 * variance / (factor * factor));
    return kept * factor > 0.0 ? std::clamp(kept, -most_bulge, most_bulge) : 0.0;
}

/// Gives `values` at the inner points the harmonic continuation of those on the border: linear
/// elements, the cotangent Laplacian in the loop's plane. False if the system has no solution.
bool continue_harmonically(const Patch& patch, const FlatPatch& flat, Eigen::ArrayXd& values) {
    const Eigen::Index count = values.size() - flat.border;
    std::vector<Eigen::Triplet<double>> entries;
    entries.reserve(9 * patch.triangles.size());
    Eigen::VectorXd load = Eigen::VectorXd::Zero(count);
    for (const Triangle& triangle : patch.triangles) {
        for (int i = 0; i < 3; ++i) {
            const int a = triangle[i], b = triangle[(i + 1) % 3], apex = triangle[(i + 2) % 3];
            const double ax = flat.x[a] - flat.x[apex], ay = flat.y[a] - flat.y[apex];
            const double bx = flat.x[b] - flat.x[apex], by = flat.y[b] - flat.y[apex];
            const double cotangent = (ax * bx + ay * by) / (ax * by - ay * bx);
            const double weight = std::min(std::max(least_weight, cotangent), 1.0 / least_weight);
            for (const auto& [inner, other] : {std::pair(a, b), std::pair(b, a)}) {
                const int row = inner - flat.border, column = other - flat.border;
                if (row < 0) {
                    continue;
                }
                entries.emplace_back(row, row, weight);
                if (column < 0) {
                    load[row] += weight * values[other];
                } else if (column < row) {
                    entries.emplace_back(row, column, -weight);
                }
            }
        }
    }
    Eigen::SparseMatrix<double> laplacian(count, count);
    laplacian.setFromTriplets(entries.begin(), entries.end());
    const Eigen::SimplicialLLT<Eigen::SparseMatrix<double>> solver(laplacian);
    if (solver.info() != Eigen::Success) {
        return false;
    }
    values.tail(count) = solver.solve(load).array();
    return true;
}

} // namespace

void guess_surface(Patch& patch) {
    if (patch.borderCount < fewest_points || patch.borderCount > most_points) {
        return;
    }
    const FlatPatch flat = flatten(patch);
    if (!(flat.roundness > least_roundness) ||
        !(flat.z.head(flat.border).square().mean() < most_height * most_height)) {
        return;
    }
    const Eigen::ArrayXd paraboloid =
        exaggeration * fit_paraboloid(flat) * (flat.x.square() + flat.y.square());
    Eigen::ArrayXd heights = flat.z - paraboloid;
    if (!continue_harmonically(patch, flat, heights)) {
        return;
    }
    heights += paraboloid - flat.z;
    if (heights.allFinite()) {
        for (Eigen::Index i = flat.border; i < heights.size(); ++i) {
            patch.points[i] += heights[i] * flat.radius * flat.normal;
        }
    }
}

} // namespace Mesh_M::fill
