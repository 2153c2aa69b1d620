#include "kelvane/fill/disc/surface_guess.hpp"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <limits>

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

/// Over-relaxation of the membrane (D. M. Young, 1954) with the factor for a disc of so many rings:
/// the wave number is the first zero of a Bessel function over sqrt(2). Graded patches of any size
/// have no more rings than most_rings. Heights are settled when a sweep changes none by more than
/// this share of the loop's radius.
constexpr double wave_number = 1.7;
constexpr double most_rings = 40.0;
constexpr int most_sweeps = 200;
constexpr double settled = 1e-3;

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

/// The points' places in the border's plane and their heights over it, in radii of the border. The
/// border comes first; heights of inner points are still to be found.
struct FlatPatch {
    int border = 0;
    Eigen::ArrayXd x, y, z;
};

FlatPatch flatten(const DiscMesh& mesh, const BorderPlane& plane) {
    const Eigen::Index count = mesh.point_count();
    FlatPatch flat{mesh.borderCount(), Eigen::ArrayXd(count), Eigen::ArrayXd(count),
                   Eigen::ArrayXd(count)};
    for (Eigen::Index i = 0; i < count; ++i) {
        const Point place = plane.to_plane(mesh.points[i]) / plane.radius;
        flat.x[i] = place.x();
        flat.y[i] = place.y();
        flat.z[i] = place.z();
    }
    return flat;
}

/// One row per point of the loop; sums over it are small and of bounded size, free of the heap.
constexpr int most_terms = 1 + 2 * most_harmonics;
using Basis = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor, Eigen::Dynamic,
                            most_terms>;
using BasisSquare =
    Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::ColMajor, most_terms, most_terms>;
using Coefficients = Eigen::Matrix<double, Eigen::Dynamic, 1, Eigen::ColMajor, most_terms, 1>;

/// Values of the first harmonic polynomials at the loop's points: 1, Re (x + iy)^n, Im (x + iy)^n.
Basis harmonic_basis(const FlatPatch& flat, int harmonics) {
    Basis basis(flat.border, 1 + 2 * harmonics);
    for (int i = 0; i < flat.border; ++i) {
        double real = 1.0, imaginary = 0.0;
        basis(i, 0) = real;
        for (int n = 1; n <= harmonics; ++n) {
            const double previous = real;
            real = previous * flat.x[i] - imaginary * flat.y[i];
            imaginary = previous * flat.y[i] + imaginary * flat.x[i];
            basis(i, 2 * n - 1) = real;
            basis(i, 2 * n) = imaginary;
        }
    }
    return basis;
}

/// What a combination of the columns of `basis` leaves of `values`.
Eigen::VectorXd residual(const Basis& basis, const Eigen::LLT<BasisSquare>& factors,
                         const Eigen::VectorXd& values) {
    const Coefficients products = basis.transpose().lazyProduct(values);
    const Coefficients coefficients = factors.solve(products);
    return values - basis.lazyProduct(coefficients);
}

/// The factor c of c (x^2 + y^2) in a least-squares fit of the loop's heights by this paraboloid
/// and the harmonic polynomials. A membrane takes the harmonic part from the loop by itself; what
/// it cannot know is c. On a perfect circle c is undetermined, and on a noisy loop uncertain: it is
/// lowered as its variance asks for.
double fit_paraboloid(const FlatPatch& flat) {
    const int harmonics = std::min(most_harmonics, (flat.border - 2) / 6);
    const Basis basis = harmonic_basis(flat, harmonics);
    // The polynomials are nearly orthogonal on a roundish loop, so that normal equations do.
    const Eigen::LLT<BasisSquare> factors(basis.transpose().lazyProduct(basis));
    const Eigen::VectorXd square =
        residual(basis, factors, (flat.x.square() + flat.y.square()).head(flat.border));
    const Eigen::VectorXd height = residual(basis, factors, flat.z.head(flat.border));
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

/// The equations of a membrane: each height is a weighted mean of its neighbours'. Linear elements,
/// the cotangent Laplacian in the loop's plane.
class Membrane {
  public:
    Membrane(const DiscMesh& mesh, const FlatPatch& flat);

    /// Gives `values` at the inner points the harmonic continuation of those on the border, from
    /// where they are.
    void relax(Eigen::ArrayXd& values) const;

  private:
    struct Row {
        int point;
        int end; ///< of its terms, which begin where those of the row before end
    };
    struct Term {
        int neighbour;
        double share; ///< of the neighbour in the mean
    };
    std::vector<Row> rows;
    std::vector<Term> terms;
};

Membrane::Membrane(const DiscMesh& mesh, const FlatPatch& flat) {
    std::vector<double> weights(static_cast<std::size_t>(mesh.half_edge_count()), 0.0);
    for (int h = 0; h < mesh.half_edge_count(); ++h) {
        if (mesh.is_used(h)) {
            const int a = mesh.origin(h), b = mesh.target(h), apex = mesh.apex(h);
            const double ax = flat.x[a] - flat.x[apex], ay = flat.y[a] - flat.y[apex];
            const double bx = flat.x[b] - flat.x[apex], by = flat.y[b] - flat.y[apex];
            const double cotangent = (ax * bx + ay * by) / (ax * by - ay * bx);
            weights[h] = std::min(std::max(least_weight, cotangent), 1.0 / least_weight);
        }
    }
    rows.reserve(mesh.points.size());
    terms.reserve(weights.size());
    for (int point = mesh.borderCount(); point < mesh.point_count(); ++point) {
        if (!mesh.is_alive(point)) {
            continue;
        }
        const std::size_t first = terms.size();
        double total = 0.0;
        mesh.for_each_triangle(point, [&](int h) {
            const double weight = weights[h] + weights[mesh.twin(h)];
            terms.push_back({mesh.target(h), weight});
            total += weight;
        });
        for (std::size_t i = first; i < terms.size(); ++i) {
            terms[i].share /= total;
        }
        rows.push_back({point, static_cast<int>(terms.size())});
    }
}

void Membrane::relax(Eigen::ArrayXd& values) const {
    const double rings = std::min(most_rings, std::sqrt(static_cast<double>(rows.size()) / M_PI));
    const double factor = 2.0 / (1.0 + wave_number / (wave_number + rings));
    double change = std::numeric_limits<double>::max();
    for (int sweep = 0; sweep < most_sweeps && change > settled; ++sweep) {
        change = 0.0;
        int term = 0;
        for (const Row& row : rows) {
            double mean = 0.0;
            for (; term < row.end; ++term) {
                mean += terms[term].share * values[terms[term].neighbour];
            }
            const double step = factor * (mean - values[row.point]);
            values[row.point] += step;
            change = std::max(change, std::abs(step));
        }
    }
}

} // namespace

void guess_surface(DiscMesh& mesh, const BorderPlane& plane) {
    if (mesh.borderCount() < fewest_points || !(plane.roundness > least_roundness)) {
        return;
    }
    const FlatPatch flat = flatten(mesh, plane);
    if (!(flat.z.head(flat.border).square().mean() < most_height * most_height)) {
        return;
    }
    const double bulge =
        mesh.borderCount() > most_points ? 0.0 : exaggeration * fit_paraboloid(flat);
    const Eigen::ArrayXd paraboloid = bulge * (flat.x.square() + flat.y.square() - 1.0);
    Eigen::ArrayXd heights = flat.z;
    heights.head(flat.border) -= paraboloid.head(flat.border);
    Membrane(mesh, flat).relax(heights);
    for (Eigen::Index i = flat.border; i < heights.size(); ++i) {
        mesh.points[i] += (heights[i] + paraboloid[i] - flat.z[i]) * plane.radius * plane.normal;
    }
}

} // namespace Mesh_M::fill
