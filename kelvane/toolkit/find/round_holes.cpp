#include "kelvane/toolkit/find/round_holes.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/find/boundary_loops.hpp"
#include "kelvane/toolkit/find/vertex_normals.hpp"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <optional>

namespace KVN::toolkit {

namespace {

// What a loop must have to be a round hole. Measured on sheets with stickers cut out and other
// holes (ellipses, slits, double discs, near-squares, blobs) among them, see find_benchmark.
constexpr std::size_t fewest_edges = 10; // below, any loop is round
constexpr double radial_per_edge = 0.3;  // RMS distance from the circle: a ragged border
constexpr double radial_per_radius = 0.04;
constexpr double off_plane = 0.3;   // RMS, in radii: more is no hole of one face of the part
constexpr double widest_gap = 1.0;  // radians between neighbours: less than all around
constexpr double least_area = 0.85; // of the circle's; below it is dented or long
constexpr double most_area = 1.1;
constexpr double least_facing = 0.70710678118654752; // 45 degrees from the mean normal around

constexpr double pi = 3.14159265358979323846;

/// A loop in its plane. Weights are half the lengths of both edges at a vertex.
struct FlatLoop {
    Eigen::Vector3d centroid;
    Eigen::Matrix3d axes; ///< columns: two in the plane, the normal
    Eigen::Matrix3Xd points;
    Eigen::VectorXd weights;
    double mean_edge = 0.0;
};

/// Null for loops without extent.
std::optional<FlatLoop> flatten(const Scan& scan, const std::vector<std::int32_t>& loop,
                                const Eigen::Vector3d& outward) {
    const auto count = static_cast<Eigen::Index>(loop.size());
    FlatLoop flat;
    flat.points.resize(3, count);
    for (Eigen::Index i = 0; i < count; ++i) {
        flat.points.col(i) = position_of(scan, loop[static_cast<std::size_t>(i)]);
    }
    if (!flat.points.allFinite()) {
        return std::nullopt;
    }
    flat.weights = Eigen::VectorXd::Zero(count);
    for (Eigen::Index i = 0; i < count; ++i) {
        const Eigen::Index j = (i + 1) % count;
        const double length = (flat.points.col(j) - flat.points.col(i)).norm();
        flat.weights[i] += 0.5 * length;
        flat.weights[j] += 0.5 * length;
    }
    const double around = flat.weights.sum();
    if (!(around > 0.0)) {
        return std::nullopt;
    }
    flat.mean_edge = around / static_cast<double>(count);
    flat.weights /= around;
    flat.centroid = flat.points * flat.weights;
    flat.points.colwise() -= flat.centroid;
    const Eigen::Matrix3d spread =
        flat.points * flat.weights.asDiagonal() * flat.points.transpose();
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> eigen(spread);
    Eigen::Vector3d normal = eigen.eigenvectors().col(0);
    if (normal.dot(outward) < 0.0) {
        normal = -normal;
    }
    flat.axes.col(0) = eigen.eigenvectors().col(2);
    flat.axes.col(2) = normal;
    flat.axes.col(1) = normal.cross(flat.axes.col(0));
    flat.points = (flat.axes.transpose() * flat.points).eval();
    return flat;
}

/// The weighted algebraic circle: x² + y² = 2 ax + 2 by + c.
Eigen::Vector3d fit_circle(const FlatLoop& flat) {
    Eigen::Matrix3d normal_matrix = Eigen::Matrix3d::Zero();
    Eigen::Vector3d right = Eigen::Vector3d::Zero();
    for (Eigen::Index i = 0; i < flat.points.cols(); ++i) {
        const Eigen::Vector2d p = flat.points.col(i).head<2>();
        const Eigen::Vector3d row(2.0 * p.x(), 2.0 * p.y(), 1.0);
        normal_matrix += flat.weights[i] * row * row.transpose();
        right += flat.weights[i] * p.squaredNorm() * row;
    }
    const Eigen::Vector3d s = normal_matrix.ldlt().solve(right);
    return {s.x(), s.y(), std::sqrt(s.z() + s.head<2>().squaredNorm())};
}

double signed_area(const FlatLoop& flat) {
    double twice = 0.0;
    const Eigen::Index count = flat.points.cols();
    for (Eigen::Index i = 0; i < count; ++i) {
        const Eigen::Index j = (i + 1) % count;
        twice += flat.points(0, i) * flat.points(1, j) - flat.points(0, j) * flat.points(1, i);
    }
    return 0.5 * twice;
}

double largest_gap(const FlatLoop& flat, const Eigen::Vector2d& centre) {
    std::vector<double> angles;
    for (Eigen::Index i = 0; i < flat.points.cols(); ++i) {
        angles.push_back(
            std::atan2(flat.points(1, i) - centre.y(), flat.points(0, i) - centre.x()));
    }
    std::sort(angles.begin(), angles.end());
    double gap = angles.front() + 2.0 * pi - angles.back();
    for (std::size_t i = 1; i < angles.size(); ++i) {
        gap = std::max(gap, angles[i] - angles[i - 1]);
    }
    return gap;
}

/// How much of a limit is left, 0 to 1; negative beyond the limit.
double slack(double value, double limit) {
    return 1.0 - value / limit;
}

std::optional<FoundMarker> judge(const Scan& scan, const std::vector<std::int32_t>& loop,
                                 const Eigen::Vector3d& outward) {
    const std::optional<FlatLoop> flat = flatten(scan, loop, outward);
    if (!flat) {
        return std::nullopt;
    }
    const Eigen::Vector3d circle = fit_circle(*flat);
    const double r = circle.z();
    if (!(r > 0.0) || !circle.allFinite()) {
        return std::nullopt;
    }
    double radial = 0.0;
    double height = 0.0;
    for (Eigen::Index i = 0; i < flat->points.cols(); ++i) {
        const double d = (flat->points.col(i).head<2>() - circle.head<2>()).norm() - r;
        radial += flat->weights[i] * d * d;
        height += flat->weights[i] * flat->points(2, i) * flat->points(2, i);
    }
    radial = std::sqrt(radial);
    const double area = -signed_area(*flat) / (pi * r * r); // clockwise for a hole
    const double facing = flat->axes.col(2).dot(outward.normalized());
    const double radial_slack =
        slack(radial, radial_per_edge * flat->mean_edge + radial_per_radius * r);
    const double plane_slack = slack(std::sqrt(height), off_plane * r);
    const double gap_slack = slack(largest_gap(*flat, circle.head<2>()), widest_gap);
    if (std::min({radial_slack, plane_slack, gap_slack}) < 0.0 || area < least_area ||
        area > most_area || !(facing >= least_facing)) {
        return std::nullopt;
    }
    const Eigen::Vector3d centre = flat->centroid + flat->axes.leftCols<2>() * circle.head<2>();
    const Eigen::Vector3f c = centre.cast<float>();
    const Eigen::Vector3f n = flat->axes.col(2).cast<float>();
    FoundMarker found;
    found.marker = {c.x(), c.y(), c.z(), n.x(), n.y(), n.z(), static_cast<float>(r)};
    found.residual = radial;
    found.edges = static_cast<int>(loop.size());
    found.confidence = std::min({radial_slack, plane_slack, gap_slack});
    return found;
}

} // namespace

std::vector<FoundMarker> find_round_holes(const Scan& scan, const RoundHoleOptions& options) {
    if (!(options.radius_min >= 0.0 && options.radius_max > options.radius_min)) {
        throw InputError("the radii to look for must be 0 or more, the largest above the least");
    }
    const std::vector<std::vector<std::int32_t>> loops = boundary_loops(scan);
    std::vector<char> on_boundary(scan.vertex_count(), 0);
    for (const auto& loop : loops) {
        for (const std::int32_t v : loop) {
            on_boundary[static_cast<std::size_t>(v)] = 1;
        }
    }
    const std::vector<Eigen::Vector3d> normals = vertex_normals(scan, on_boundary);
    std::vector<FoundMarker> holes;
    for (const auto& loop : loops) {
        Eigen::Vector3d outward = Eigen::Vector3d::Zero();
        for (const std::int32_t v : loop) {
            outward += normals[static_cast<std::size_t>(v)].stableNormalized();
        }
        if (loop.size() < fewest_edges || outward.norm() == 0.0) {
            continue;
        }
        const std::optional<FoundMarker> found = judge(scan, loop, outward);
        if (found && found->marker.radius >= options.radius_min &&
            found->marker.radius <= options.radius_max) {
            holes.push_back(*found);
        }
    }
    return holes;
}

} // namespace KVN::toolkit
