#include "kelvane/toolkit/bodies/base_fit.hpp"

#include "kelvane/kernel/record_words.hpp"

#include <Eigen/Cholesky>

#include <algorithm>
#include <cmath>

namespace KVN::toolkit {

namespace {

using Coefficients = Eigen::Matrix<double, 6, 1>;

constexpr double least_facing = 0.3;     // cosine; walls face less
constexpr std::size_t least_points = 12; // twice the unknowns
constexpr int reweightings = 8;
// Of the weight of all points, against the one term that a narrow ring can hardly tell from the
// constant: without it the base at the axis is off by heights of the noise times (radius / width)².
constexpr double bowl_damping = 0.05;

// Limits against the base, found by trial on bodies of twelve kinds on curved surfaces: in edges,
// in marker radii for markers of many edges, and in spreads for rough surfaces. Wider ones take
// surface for body, narrower ones leave feet.
constexpr double own_margin = 0.25;
constexpr double standing_edges = 0.5;
constexpr double foot_depth = 0.75; // radii below the centre, where the cut leaves but a foot
constexpr double foot_edges = 1.5, foot_radii = 0.2;
constexpr double lower_radii = 0.15;
constexpr double spreads = 3;
constexpr double speck_depth = 0.5; // radii

Coefficients terms(double x, double y) {
    Coefficients t;
    t << 1, x, y, x * x - y * y, x * y, x * x + y * y;
    return t;
}

/// What can be walked to from the seeds on the ring around the cylinder, its own way up.
std::vector<_vert*> ring_points(const MarkerCylinder& cylinder, double edge,
                                const std::vector<_vert*>& seeds) {
    const auto belongs = [&](const _vert* v) {
        return is_live(v) && !cylinder.holds(v) &&
               cylinder.within(v, cylinder.radius() + band_edges * edge) &&
               cylinder.facing(v) > least_facing;
    };
    std::vector<_vert*> points;
    VertexSet seen;
    const auto add = [&](_vert* v) {
        if (seen.insert(v) && belongs(v)) {
            points.push_back(v);
        }
    };
    std::for_each(seeds.begin(), seeds.end(), add);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const _vert* v = points[i];
        for (int e = 0; e < v->edgeCount; ++e) {
            add(Mesh_R::other_end(v->edges[e], v));
        }
    }
    return points;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

Coefficients weighted_fit(const std::vector<Coefficients>& rows, const std::vector<double>& heights,
                          const std::vector<double>& weights) {
    Eigen::Matrix<double, 6, 6> normal = Eigen::Matrix<double, 6, 6>::Zero();
    Coefficients right = Coefficients::Zero();
    double total = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        normal += weights[i] * rows[i] * rows[i].transpose();
        right += weights[i] * heights[i] * rows[i];
        total += weights[i];
    }
    normal(5, 5) += bowl_damping * total;
    return normal.ldlt().solve(right);
}

} // namespace

double BaseFit::over(const Eigen::Vector3d& local) const {
    return local.z() - coefficients.dot(terms(local.x() / unit, local.y() / unit));
}

Eigen::Vector3d BaseFit::normal() const {
    return Eigen::Vector3d(-coefficients[1] / unit, -coefficients[2] / unit, 1).normalized();
}

std::optional<BaseFit> fit_base(const MarkerCylinder& cylinder, double edge,
                                const std::vector<_vert*>& seeds) {
    BaseFit fit;
    fit.unit = cylinder.radius();
    fit.points = ring_points(cylinder, edge, seeds);
    if (fit.points.size() < least_points) {
        return std::nullopt;
    }
    std::vector<Coefficients> rows;
    std::vector<double> heights;
    for (const _vert* v : fit.points) {
        const Eigen::Vector3d p = cylinder.local(v);
        rows.push_back(terms(p.x() / fit.unit, p.y() / fit.unit));
        heights.push_back(p.z());
    }
    // Cauchy's weights (Holland and Welsch 1977), which go on falling for what lies far off.
    std::vector<double> weights(rows.size(), 1.0);
    std::vector<double> residuals(rows.size());
    for (int pass = 0; pass <= reweightings; ++pass) {
        fit.coefficients = weighted_fit(rows, heights, weights);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            residuals[i] = std::fabs(heights[i] - fit.coefficients.dot(rows[i]));
        }
        fit.spread = 1.5 * median(residuals);
        const double scale = std::max(fit.spread, 1e-9 * fit.unit);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            weights[i] = 1 / (1 + residuals[i] * residuals[i] / (scale * scale));
        }
    }
    return fit.coefficients.allFinite() ? std::optional<BaseFit>(std::move(fit)) : std::nullopt;
}

std::vector<_vert*> base_seeds(const std::vector<CylinderPart>& parts,
                               const std::vector<_vert*>& ring) {
    std::vector<_vert*> seeds = ring;
    for (const CylinderPart& part : parts) {
        if (part.touches) {
            seeds.insert(seeds.end(), part.exits.begin(), part.exits.end());
        }
    }
    return seeds;
}

bool in_own_disc(const MarkerCylinder& cylinder, const Eigen::Vector3d& local) {
    return off_axis(local) <= cylinder.marker_radius() + own_margin * cylinder.margin();
}

bool is_of_body(const MarkerCylinder& cylinder, double edge, const BaseFit& base,
                const Eigen::Vector3d& local) {
    const double height = base.over(local);
    if (base.centre_height() < -foot_depth * cylinder.marker_radius()) {
        return height >= lower_limit(cylinder, edge, base);
    }
    return in_own_disc(cylinder, local) && height > standing_edges * edge + base.spread;
}

double foot_height(const MarkerCylinder& cylinder, double edge, const BaseFit& base) {
    return std::max(foot_edges * edge, foot_radii * cylinder.marker_radius()) +
           spreads * base.spread;
}

double lower_limit(const MarkerCylinder& cylinder, double edge, const BaseFit& base) {
    return -(std::max(edge, lower_radii * cylinder.marker_radius()) + spreads * base.spread);
}

bool is_speck(const CylinderPart& part, const MarkerCylinder& cylinder, const BaseFit& base) {
    const double lowest = -speck_depth * cylinder.marker_radius();
    return part.is_island() && !part.touches && !lies_near_plane(part, cylinder) &&
           std::all_of(part.vertices.begin(), part.vertices.end(),
                       [&](const _vert* v) { return base.over(cylinder.local(v)) > lowest; });
}

bool lies_near_plane(const CylinderPart& part, const MarkerCylinder& cylinder) {
    return std::all_of(part.vertices.begin(), part.vertices.end(), [&](const _vert* v) {
        return std::fabs(cylinder.local(v).z()) <= cylinder.radius();
    });
}

} // namespace KVN::toolkit
