#include "kelvane/toolkit/rims/rim_curve.hpp"

#include <Eigen/QR>

#include <algorithm>
#include <cmath>

namespace KVN::toolkit {

using Eigen::Vector3d;

namespace {

// Edges on either side. A polynomial of degree 4 through fewer follows their noise.
constexpr std::size_t least_edges = 5;
// Of the curve. On scans with known rims 3 leaves half as much error again, 5 gains nothing.
constexpr int degree = 4;
// Of each side alone, to learn its noise.
constexpr int side_degree = 2;
// The most by which both sides may miss their common curve: edges, and shares of the root mean
// square by which each side misses its own. Without noise a circle of radius 8 edges misses by 0.1
// across a gap of 10, a corner that turns by 50 degrees too. More, and such corners are rounded
// off; less, and rims of small parts get the straight edge.
constexpr double misfit_edges = 0.1;
constexpr double misfit_noise = 1.5;
// Edges; a gap below has no room for a point.
constexpr double least_gap = 1.5;
// Cosine of the most that the curve may turn from the straight edge, 80 degrees.
constexpr double least_cosine = 0.17;
// The length of the gap is not known before the curve is: after so many rounds it stands still to
// 1e-6 of itself on an arc of 72 degrees, to 5e-4 on one of 115.
constexpr int rounds = 6;
// Pieces of the gap by which its length is measured.
constexpr int pieces = 64;

/// Distances along the rim, from the gap's end.
std::vector<double> lengths_along(const RimSide& side) {
    std::vector<double> lengths{0.0};
    for (std::size_t i = 1; i < side.size(); ++i) {
        lengths.push_back(lengths.back() + (side[i] - side[i - 1]).norm());
    }
    return lengths;
}

/// Points with their place along the rim.
struct RimPoints {
    std::vector<double> at;
    std::vector<Vector3d> points;

    void add(const RimSide& side, double begin, double sign) {
        const std::vector<double> lengths = lengths_along(side);
        for (std::size_t i = 0; i < side.size(); ++i) {
            at.push_back(begin + sign * lengths[i]);
            points.push_back(side[i]);
        }
    }
};

/// The polynomial of length along the rim that is nearest to given points.
class RimPolynomial {
  public:
    RimPolynomial(const RimPoints& given, int degree) {
        const auto [low, high] = std::minmax_element(given.at.begin(), given.at.end());
        middle_ = 0.5 * (*low + *high);
        half_ = 0.5 * (*high - *low);
        const auto rows = static_cast<Eigen::Index>(given.at.size());
        Eigen::MatrixXd powers(rows, degree + 1);
        Eigen::MatrixXd places(rows, 3);
        for (Eigen::Index i = 0; i < rows; ++i) {
            powers.row(i) = powers_of(given.at[static_cast<std::size_t>(i)], degree);
            places.row(i) = given.points[static_cast<std::size_t>(i)];
        }
        coefficients_ = powers.householderQr().solve(places);
        misfit_ = std::sqrt((powers * coefficients_ - places).squaredNorm() /
                            static_cast<double>(std::max<Eigen::Index>(rows - degree - 1, 1)));
    }

    Vector3d operator()(double s) const {
        return powers_of(s, static_cast<int>(coefficients_.rows()) - 1) * coefficients_;
    }

    /// Root of the mean square distance per degree of freedom.
    double misfit() const { return misfit_; }

  private:
    Eigen::RowVectorXd powers_of(double s, int degree) const {
        Eigen::RowVectorXd powers = Eigen::RowVectorXd::Ones(degree + 1);
        for (int k = 1; k <= degree; ++k) {
            powers[k] = powers[k - 1] * (s - middle_) / half_;
        }
        return powers;
    }

    double middle_;
    double half_;
    Eigen::MatrixXd coefficients_;
    double misfit_;
};

double misfit_of_side(const RimSide& side) {
    RimPoints points;
    points.add(side, 0.0, 1.0);
    return RimPolynomial(points, side_degree).misfit();
}

double length_of(const std::vector<Vector3d>& line) {
    return lengths_along(line).back();
}

/// The common curve over the gap, finely; its ends are drawn onto the gap's. `misfit` is how far
/// both sides lie from it.
std::vector<Vector3d> curve_over(const RimSide& from, const RimSide& to, double& misfit) {
    double gap = (to.front() - from.front()).norm();
    std::vector<Vector3d> curve(pieces + 1);
    for (int round = 0; round < rounds; ++round) {
        RimPoints both;
        both.add(from, 0.0, -1.0);
        both.add(to, gap, 1.0);
        const RimPolynomial fit(both, degree);
        misfit = fit.misfit();
        const Vector3d first = from.front() - fit(0.0);
        const Vector3d last = to.front() - fit(gap);
        for (int k = 0; k <= pieces; ++k) {
            const double t = static_cast<double>(k) / pieces;
            curve[static_cast<std::size_t>(k)] = fit(t * gap) + (1.0 - t) * first + t * last;
        }
        gap = length_of(curve);
    }
    return curve;
}

/// Points inside the line that divide its length into so many equal parts.
std::vector<Vector3d> divide(const std::vector<Vector3d>& line, int parts) {
    const std::vector<double> lengths = lengths_along(line);
    std::vector<Vector3d> points;
    for (int i = 1; i < parts; ++i) {
        const double at = lengths.back() * i / parts;
        const auto k = static_cast<std::size_t>(
            std::upper_bound(lengths.begin(), lengths.end() - 1, at) - lengths.begin());
        const double t = (at - lengths[k - 1]) / (lengths[k] - lengths[k - 1]);
        points.push_back((1.0 - t) * line[k - 1] + t * line[k]);
    }
    return points;
}

bool bends_back(const std::vector<Vector3d>& curve) {
    const Vector3d straight = (curve.back() - curve.front()).normalized();
    for (std::size_t k = 1; k < curve.size(); ++k) {
        const Vector3d step = curve[k] - curve[k - 1];
        if (!(step.dot(straight) > least_cosine * step.norm())) {
            return true;
        }
    }
    return false;
}

} // namespace

RimCurve continue_rim(const RimSide& from, const RimSide& to) {
    if (std::min(from.size(), to.size()) <= least_edges) {
        return {RimClosing::few_edges, {}};
    }
    const double edge =
        (length_of(from) + length_of(to)) / static_cast<double>(from.size() + to.size() - 2);
    if (!((to.front() - from.front()).norm() >= least_gap * edge)) {
        return {RimClosing::short_gap, {}};
    }
    double misfit = 0.0;
    const std::vector<Vector3d> curve = curve_over(from, to, misfit);
    const double noise = std::hypot(misfit_of_side(from), misfit_of_side(to)) / std::sqrt(2.0);
    if (!(misfit <= misfit_edges * edge + misfit_noise * noise)) {
        return {RimClosing::no_common_curve, {}};
    }
    if (bends_back(curve)) {
        return {RimClosing::bends_back, {}};
    }
    return {RimClosing::curved,
            divide(curve, static_cast<int>(std::lround(length_of(curve) / edge)))};
}

} // namespace KVN::toolkit
