#include "kelvane/fill/surface_guess.hpp"

#include <Eigen/Dense>
#include <Eigen/SparseCholesky>
#include <Eigen/SparseCore>

#include <algorithm>
#include <cmath>

namespace Mesh_M::fill {
namespace {

constexpr int fewestPoints = 12; ///< of a loop that may tell a curvature
constexpr int mostPoints = 400;  ///< a longer loop spans more than one paraboloid
constexpr int mostHarmonics = 4;
constexpr double leastRoundness =
    0.5;                           ///< area of the loop relative to that of a circle of its radius
constexpr double mostHeight = 0.5; ///< mean distance from the loop's plane, relative to its radius
constexpr double mostBulge = 0.5; ///< height of the bulge over a round loop, relative to its radius
constexpr double leastWeight = 0.02; ///< of an edge in the Laplacian, which stays definite so

/// The loop in the plane of its area vector, as multiples of its mean radius.
struct FlatLoop {
    Eigen::VectorXd x, y, z;
    Point normal = Point::Zero();
    double radius = 0.0;
    double roundness = 0.0;
};

FlatLoop flatten(const Patch& patch) {
    const int count = patch.borderCount;
    Point centre = Point::Zero();
    for (int i = 0; i < count; ++i) {
        centre += patch.points[i] / count;
    }
    Point area = Point::Zero();
    double squares = 0.0;
    for (int i = 0; i < count; ++i) {
        const Point offset = patch.points[i] - centre;
        area += 0.5 * offset.cross(patch.points[(i + 1) % count] - centre);
        squares += offset.squaredNorm() / count;
    }
    FlatLoop loop;
    loop.radius = std::sqrt(squares);
    loop.roundness = area.norm() / (M_PI * squares);
    loop.normal = area.normalized();
    const Point axisX = loop.normal.unitOrthogonal(), axisY = loop.normal.cross(axisX);
    loop.x.resize(count);
    loop.y.resize(count);
    loop.z.resize(count);
    for (int i = 0; i < count; ++i) {
        const Point offset = (patch.points[i] - centre) / loop.radius;
        loop.x[i] = offset.dot(axisX);
        loop.y[i] = offset.dot(axisY);
        loop.z[i] = offset.dot(loop.normal);
    }
    return loop;
}

/// Values of the first harmonic polynomials at the points: 1, Re (x + iy)^n, Im (x + iy)^n.
Eigen::MatrixXd harmonicBasis(const FlatLoop& loop, int harmonics) {
    Eigen::MatrixXd basis(loop.x.size(), 1 + 2 * harmonics);
    Eigen::ArrayXd real = Eigen::ArrayXd::Ones(loop.x.size());
    Eigen::ArrayXd imaginary = Eigen::ArrayXd::Zero(loop.x.size());
    basis.col(0) = real;
    for (int n = 1; n <= harmonics; ++n) {
        const Eigen::ArrayXd previous = real;
        real = previous * loop.x.array() - imaginary * loop.y.array();
        imaginary = previous * loop.y.array() + imaginary * loop.x.array();
        basis.col(2 * n - 1) = real;
        basis.col(2 * n) = imaginary;
    }
    return basis;
}

/// The factor c of c (x^2 + y^2) in a least-squares fit of the loop's heights by this paraboloid
/// and the harmonic polynomials. The membrane takes the harmonic part from the loop by itself; what
/// it cannot know is c. On a perfect circle c is undetermined, and on a noisy loop uncertain: it is
/// lowered as its variance asks for.
double fitParaboloid(const FlatLoop& loop) {
    const int count = static_cast<int>(loop.x.size());
    const int harmonics = std::min(mostHarmonics, (count - 2) / 6);
    const Eigen::MatrixXd basis = harmonicBasis(loop, harmonics);
    const Eigen::HouseholderQR<Eigen::MatrixXd> factors(basis);
    const Eigen::MatrixXd span =
        factors.householderQ() * Eigen::MatrixXd::Identity(count, basis.cols());
    Eigen::VectorXd square = loop.x.cwiseAbs2() + loop.y.cwiseAbs2();
    square -= span * (span.transpose() * square);
    const Eigen::VectorXd height = loop.z - span * (span.transpose() * loop.z);
    const double spread = square.squaredNorm();
    const double factor = square.dot(height) / spread;
    const double freedom = count - static_cast<double>(basis.cols()) - 1.0;
    const double variance = (height - factor * square).squaredNorm() / (freedom * spread);
    const double kept = factor * (1.0 - 2.0 * variance / (factor * factor));
    return kept * factor > 0.0 ? std::clamp(kept, -mostBulge, mostBulge) : 0.0;
}

/// The function over the inner points that is zero on the border and whose Laplacian is -1: linear
/// elements with the cotangent Laplacian.
Eigen::VectorXd solveMembrane(const Patch& patch) {
    const int border = patch.borderCount;
    const int count = static_cast<int>(patch.points.size()) - border;
    std::vector<Eigen::Triplet<double>> entries;
    Eigen::VectorXd load = Eigen::VectorXd::Zero(count);
    for (const Triangle& triangle : patch.triangles) {
        for (int i = 0; i < 3; ++i) {
            const int a = triangle[i] - border, b = triangle[(i + 1) % 3] - border;
            const Point& apex = patch.points[triangle[(i + 2) % 3]];
            const Point toA = patch.points[triangle[i]] - apex;
            const Point toB = patch.points[triangle[(i + 1) % 3]] - apex;
            const double doubleArea = toA.cross(toB).norm();
            const double weight = std::max(leastWeight, 0.5 * toA.dot(toB) / doubleArea);
            if (a >= 0) {
                load[a] += doubleArea / 6.0;
                entries.emplace_back(a, a, weight);
            }
            if (b >= 0) {
                entries.emplace_back(b, b, weight);
            }
            if (a >= 0 && b >= 0) {
                entries.emplace_back(std::max(a, b), std::min(a, b), -weight);
            }
        }
    }
    Eigen::SparseMatrix<double> laplacian(count, count);
    laplacian.setFromTriplets(entries.begin(), entries.end());
    const Eigen::SimplicialLLT<Eigen::SparseMatrix<double>> solver(laplacian);
    return solver.info() == Eigen::Success ? Eigen::VectorXd(solver.solve(load))
                                           : Eigen::VectorXd::Zero(count);
}

} // namespace

void bulgePatch(Patch& patch) {
    if (patch.borderCount < fewestPoints || patch.borderCount > mostPoints) {
        return;
    }
    const FlatLoop loop = flatten(patch);
    if (!(loop.roundness > leastRoundness) ||
        !(loop.z.squaredNorm() < mostHeight * mostHeight * patch.borderCount)) {
        return;
    }
    const double factor = fitParaboloid(loop);
    if (!(std::abs(factor) > 0.0)) {
        return;
    }
    // The Laplacian of c (x^2 + y^2) / radius is 4 c / radius.
    const Eigen::VectorXd heights = solveMembrane(patch) * (-4.0 * factor / loop.radius);
    if (heights.allFinite()) {
        for (Eigen::Index i = 0; i < heights.size(); ++i) {
            patch.points[patch.borderCount + i] += heights[i] * loop.normal;
        }
    }
}

} // namespace Mesh_M::fill
