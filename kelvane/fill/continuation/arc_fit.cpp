#include "kelvane/fill/continuation/arc_fit.hpp"

#include <Eigen/QR>

#include <algorithm>
#include <cmath>

namespace Mesh_M::fill {

namespace {

// Past this slope a circle is left for a paraboloid.
constexpr double greatest_sine = 0.97;

double cosine(const Eigen::Vector2d& turn) {
    return std::sqrt(1.0 - std::min(turn.squaredNorm(), greatest_sine * greatest_sine));
}

} // namespace

double ArcExcess::operator()(const Eigen::Vector2d& place) const {
    const Eigen::Vector2d offset = place - centre;
    const Eigen::Vector2d turn = curvature * offset;
    return offset.dot(turn) * (1.0 / (1.0 + cosine(turn)) - 0.5);
}

Eigen::Vector3d ArcExcess::gradient(const Eigen::Vector2d& place) const {
    const Eigen::Vector2d x = place - centre;
    const Eigen::Vector2d turn = curvature * x;
    const double root = cosine(turn);
    const double scale = 1.0 / (1.0 + root);
    // The turn's own derivatives are (x, 0), (y, x) and (0, y).
    const Eigen::Vector3d of_product(x.x() * x.x(), 2.0 * x.x() * x.y(), x.y() * x.y());
    const Eigen::Vector3d of_square(turn.x() * x.x(), turn.x() * x.y() + turn.y() * x.x(),
                                    turn.y() * x.y());
    return scale * of_product + x.dot(turn) * scale * scale / root * of_square;
}

Disc enclose(const std::vector<Eigen::Vector2d>& places) {
    Eigen::Vector2d low = places.front();
    Eigen::Vector2d high = places.front();
    for (const Eigen::Vector2d& p : places) {
        low = low.cwiseMin(p);
        high = high.cwiseMax(p);
    }
    Disc disc;
    disc.centre = 0.5 * (low + high);
    double radius = 0.0;
    for (const Eigen::Vector2d& p : places) {
        radius = std::max(radius, (p - disc.centre).norm());
    }
    if (radius > 0.0) {
        disc.radius = radius;
    }
    return disc;
}

// Gauss-Newton steps from the plane.
ArcFit fit_arcs(const std::vector<Eigen::Vector2d>& places, const Eigen::VectorXd& heights,
                const Eigen::VectorXd& weights, const Disc& disc) {
    constexpr int rounds = 12;
    constexpr double settled = 1e-9; // change of slope at the disc's edge
    ArcFit fit;
    fit.arc.centre = disc.centre;
    double level = 0.0;
    const auto count = static_cast<Eigen::Index>(places.size());
    Eigen::MatrixXd design(count, 6);
    Eigen::VectorXd rest(count);
    for (int round = 0; round < rounds; ++round) {
        for (Eigen::Index i = 0; i < count; ++i) {
            const Eigen::Vector2d& place = places[static_cast<std::size_t>(i)];
            const Eigen::Vector2d x = place - disc.centre;
            const double root = std::sqrt(weights[i]);
            design.row(i) << 1.0, x.x(), x.y(), fit.arc.gradient(place).transpose();
            design.row(i) *= root;
            const double present =
                level + x.dot(fit.slope) + 0.5 * x.dot(fit.arc.curvature * x) + fit.arc(place);
            rest[i] = root * (heights[i] - present);
        }
        const Eigen::ColPivHouseholderQR<Eigen::MatrixXd> qr(design);
        if (qr.rank() < design.cols()) {
            return fit;
        }
        const Eigen::VectorXd change = qr.solve(rest);
        level += change[0];
        fit.slope += change.segment<2>(1);
        Eigen::Matrix2d bend;
        bend << change[3], change[4], change[4], change[5];
        fit.arc.curvature += bend;
        if (change.tail<3>().cwiseAbs().maxCoeff() * disc.radius < settled) {
            break;
        }
    }
    // The greatest eigenvalue of the symmetric curvature gives the sine of the slope at the edge.
    const Eigen::Matrix2d& c = fit.arc.curvature;
    const double turn =
        (0.5 * std::abs(c.trace()) + std::hypot(0.5 * (c(0, 0) - c(1, 1)), c(0, 1))) * disc.radius;
    fit.valid = std::isfinite(turn) && turn < greatest_sine;
    return fit;
}

} // namespace Mesh_M::fill
