#include "kelvane/fill/continuation/height_model.hpp"

#include "kelvane/fill/geometry.hpp"

#include <Eigen/Eigenvalues>
#include <Eigen/QR>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Mesh_M::fill {

namespace {

constexpr int free_degree = 2;
constexpr int free_terms = DiscPolynomials::term_count(free_degree);
constexpr int robust_rounds = 5;
// Student-t likelihood with this many degrees of freedom (Lange, Little & Taylor 1989).
constexpr double tail_freedom = 5.0;
// From the median absolute deviation to the standard deviation of a normal law.
constexpr double median_to_deviation = 1.4826;

// How the prior's standard deviation falls from degree to degree.
struct Fall {
    bool rough;
    double value;

    // Smooth surfaces: a constant factor next to the square root of a factorial, as in the Taylor
    // series of a Gaussian process. Rough ones: a power of the degree, as in a fractal spectrum.
    double step(int degree) const {
        return rough ? std::pow((degree - 1.0) / degree, value)
                     : value / std::sqrt(static_cast<double>(degree));
    }
};

constexpr Fall falls[] = {{false, 0.05}, {false, 0.1}, {false, 0.2}, {false, 0.3}, {false, 0.5},
                          {false, 0.8},  {true, 1.5},  {true, 2.0},  {true, 2.5}};

Eigen::VectorXd outlier_weights(const Eigen::VectorXd& residuals, double resolution) {
    const Eigen::VectorXd sizes = residuals.cwiseAbs();
    const double middle = median(std::vector<double>(sizes.data(), sizes.data() + sizes.size()));
    const double spread = std::max(median_to_deviation * middle, resolution);
    return ((tail_freedom + 1.0) / (tail_freedom + (residuals / spread).array().square()))
        .min(1.0)
        .matrix();
}

} // namespace

// The likelihood of one prior in the eigenbasis of its part of the design: a sum over eigenvalues
// for each noise ratio instead of a factorisation. Restricted likelihood: Patterson & Thompson
// 1971.
struct HeightModel::Evidence {
    Eigen::VectorXd scale; // prior standard deviation per prior term
    Eigen::VectorXd eigenvalues;
    Eigen::MatrixXd eigenvectors;
    Eigen::VectorXd projected; // samples in the eigenbasis, times the singular values
    double length = 0.0;       // squared length of the samples beyond the free terms
    double freedom = 1.0;      // count of samples beyond the free terms

    Evidence(const Eigen::MatrixXd& block, const Fall& fall, const DiscPolynomials& basis,
             double count)
        : scale(block.cols()), freedom(count) {
        double deviation = 1.0;
        for (int k = 0, last = free_degree; k < scale.size(); ++k) {
            const int degree = basis.degree_of(free_terms + k);
            if (degree != last) {
                deviation *= fall.step(degree);
            }
            last = degree;
            scale[k] = deviation;
        }
        const Eigen::MatrixXd scaled = block * scale.asDiagonal();
        const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(scaled.transpose() * scaled);
        eigenvalues = solver.eigenvalues().cwiseMax(0.0);
        eigenvectors = solver.eigenvectors();
    }

    void take(const Eigen::MatrixXd& block, const Eigen::VectorXd& samples, double tail) {
        projected = eigenvectors.transpose() *
                    scale.cwiseProduct(block.transpose() * samples.head(block.rows()));
        length = samples.squaredNorm() + tail;
    }

    double top() const { return std::max(eigenvalues.maxCoeff(), 1e-300); }

    double variance(double ratio, double floor) const {
        const double explained = (projected.array().square() / (eigenvalues.array() + ratio)).sum();
        return std::max((length - explained) / freedom, floor);
    }

    // Minus twice the logarithm of the likelihood, up to a constant.
    double cost(double ratio, double floor) const {
        return freedom * std::log(variance(ratio, floor)) +
               (eigenvalues.array() / ratio).log1p().sum();
    }

    Eigen::VectorXd solution(double ratio) const {
        const Eigen::VectorXd damped = (projected.array() / (eigenvalues.array() + ratio)).matrix();
        return scale.cwiseProduct(eigenvectors * damped);
    }
};

// Average over all candidates by their likelihood (Hoeting, Madigan, Raftery & Volinsky 1999).
struct HeightModel::Mixture {
    struct Entry {
        double cost;
        Eigen::VectorXd prior;
        double arc;
        double variance;
        bool rough;
    };
    std::vector<Entry> entries;
    double best = std::numeric_limits<double>::infinity();

    void scan(const Evidence& evidence, double arc, bool rough, double floor) {
        // Exact samples want the least ratio, samples without structure the greatest.
        for (double exponent = -12.0; exponent <= 4.0; exponent += 0.25) {
            const double ratio = evidence.top() * std::pow(10.0, exponent);
            const double cost = evidence.cost(ratio, floor);
            if (!(cost < best + negligible)) {
                continue;
            }
            best = std::min(best, cost);
            entries.push_back(
                {cost, evidence.solution(ratio), arc, evidence.variance(ratio, floor), rough});
        }
    }

    // Weights below 0.1 % of the best one's are left out.
    static constexpr double negligible = 13.8;
};

// As many degrees as the samples could fix without the prior.
int HeightModel::choose_degree(std::size_t samples) {
    int degree = free_degree + 1;
    while (degree < DiscPolynomials::greatest_degree &&
           static_cast<std::size_t>(DiscPolynomials::term_count(degree + 1)) <= samples) {
        ++degree;
    }
    return degree;
}

bool HeightModel::fit(const std::vector<Eigen::Vector2d>& places, const Eigen::VectorXd& heights,
                      const std::vector<Eigen::Vector2d>& domain, double resolution) {
    const auto count = static_cast<Eigen::Index>(places.size());
    if (count < DiscPolynomials::term_count(free_degree + 1)) {
        return false;
    }
    const Disc disc = enclose(places, domain);
    basis_ = DiscPolynomials(disc.centre, disc.radius, choose_degree(places.size()));
    Eigen::MatrixXd design(count, basis_.terms());
    for (Eigen::Index i = 0; i < count; ++i) {
        design.row(i) = basis_(places[static_cast<std::size_t>(i)]).transpose();
    }

    Eigen::VectorXd weights = Eigen::VectorXd::Ones(count);
    for (int round = 0; round < robust_rounds; ++round) {
        const ArcFit arcs = fit_arcs(places, heights, weights, disc);
        arc_ = arcs.arc;
        Eigen::VectorXd excess(count);
        for (Eigen::Index i = 0; i < count; ++i) {
            excess[i] = arc_(places[static_cast<std::size_t>(i)]);
        }
        if (!solve(design, heights, excess, weights, arcs.valid)) {
            return false;
        }
        const Eigen::VectorXd residuals = heights - arc_share_ * excess - design * coefficients_;
        const Eigen::VectorXd next = outlier_weights(residuals, resolution);
        const double change = (next - weights).cwiseAbs().maxCoeff();
        if (change < 0.02) {
            break;
        }
        weights = next;
    }
    folded_ = basis_.to_products(coefficients_);
    return true;
}

bool HeightModel::solve(const Eigen::MatrixXd& design, const Eigen::VectorXd& heights,
                        const Eigen::VectorXd& excess, const Eigen::VectorXd& weights,
                        bool may_arc) {
    const Eigen::Index count = design.rows();
    const Eigen::Index terms = design.cols();
    const Eigen::Index prior_terms = terms - free_terms;
    const Eigen::VectorXd roots = weights.cwiseSqrt();
    const Eigen::HouseholderQR<Eigen::MatrixXd> qr(roots.asDiagonal() * design);
    Eigen::MatrixXd samples(count, 2);
    samples << roots.cwiseProduct(heights), roots.cwiseProduct(excess);
    samples.applyOnTheLeft(qr.householderQ().transpose());
    const Eigen::MatrixXd upper = qr.matrixQR().topRows(terms).triangularView<Eigen::Upper>();
    const Eigen::MatrixXd block = upper.bottomRightCorner(prior_terms, prior_terms);
    const auto free_block =
        upper.topLeftCorner(free_terms, free_terms).triangularView<Eigen::Upper>();
    const double least = upper.diagonal().head(free_terms).cwiseAbs().minCoeff();
    if (!(least > 1e-6 * std::sqrt(static_cast<double>(count)))) {
        return false; // the samples lie on one line or one conic
    }

    // Single-precision samples cannot be met better than this.
    const double floor = std::pow(1e-9 * basis_.radius(), 2);
    Mixture mixture;
    for (const Fall& fall : falls) {
        Evidence evidence(block, fall, basis_, static_cast<double>(count - free_terms));
        for (int arc = 0; arc <= (may_arc ? 1 : 0); ++arc) {
            const Eigen::VectorXd target = samples.col(0) - arc * samples.col(1);
            evidence.take(block, target.segment(free_terms, prior_terms),
                          target.tail(count - terms).squaredNorm());
            mixture.scan(evidence, arc, fall.rough, floor);
        }
    }
    Eigen::VectorXd prior = Eigen::VectorXd::Zero(prior_terms);
    double total = 0.0;
    double variance = 0.0;
    arc_share_ = 0.0;
    roughness_ = 0.0;
    for (const Mixture::Entry& entry : mixture.entries) {
        if (entry.cost > mixture.best + Mixture::negligible) {
            continue;
        }
        const double weight = std::exp(-0.5 * (entry.cost - mixture.best));
        total += weight;
        prior += weight * entry.prior;
        arc_share_ += weight * entry.arc;
        roughness_ += entry.rough ? weight : 0.0;
        variance += weight * entry.variance;
    }
    if (!(total > 0.0)) {
        return false;
    }
    prior /= total;
    arc_share_ /= total;
    roughness_ /= total;
    noise_ = std::sqrt(variance / total);
    const Eigen::VectorXd target = samples.col(0) - arc_share_ * samples.col(1);
    coefficients_.resize(terms);
    coefficients_.tail(prior_terms) = prior;
    coefficients_.head(free_terms) = free_block.solve(
        target.head(free_terms) - upper.topRightCorner(free_terms, prior_terms) * prior);
    return coefficients_.allFinite() && std::isfinite(noise_);
}

double HeightModel::operator()(const Eigen::Vector2d& place) const {
    return basis_.products(place).dot(folded_) + arc_share_ * arc_(place);
}

} // namespace Mesh_M::fill
