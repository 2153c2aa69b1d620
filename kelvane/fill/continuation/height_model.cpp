#include "kelvane/fill/continuation/height_model.hpp"

#include "kelvane/fill/continuation/shifted_tridiagonal.hpp"
#include "kelvane/fill/geometry.hpp"

#include <Eigen/Cholesky>
#include <Eigen/QR>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>

namespace Mesh_M::fill {

namespace {

constexpr int free_degree = 2;
constexpr int free_terms = DiscPolynomials::term_count(free_degree);
constexpr int robust_rounds = 3;
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

// The likelihood of one prior: a pass over a tridiagonal form for each noise ratio. Restricted
// likelihood: Patterson & Thompson 1971.
struct HeightModel::Evidence {
    Eigen::VectorXd scale; // prior standard deviation per prior term
    ShiftedTridiagonal system;
    double freedom;                // count of samples beyond the free terms
    Eigen::VectorXd projected[2];  // samples without and with arcs taken off, in the system's basis
    double length[2] = {0.0, 0.0}; // their squared lengths beyond the free terms

    static Eigen::VectorXd deviations(const Fall& fall, const DiscPolynomials& basis) {
        Eigen::VectorXd scale(basis.terms() - free_terms);
        double deviation = 1.0;
        for (int k = 0, last = free_degree; k < scale.size(); ++k) {
            const int degree = basis.degree_of(free_terms + k);
            if (degree != last) {
                deviation *= fall.step(degree);
            }
            last = degree;
            scale[k] = deviation;
        }
        return scale;
    }

    Evidence(const Eigen::MatrixXd& gram, const Fall& fall, const DiscPolynomials& basis,
             double count)
        : scale(deviations(fall, basis)), system(scale.asDiagonal() * gram * scale.asDiagonal()),

          freedom(count) {}

    void take(int arc, const Eigen::VectorXd& gradient, double squares) {
        projected[arc] = system.rotate(scale.cwiseProduct(gradient));
        length[arc] = squares;
    }

    double variance(int arc, double floor) const {
        return std::max((length[arc] - system.quadratic(projected[arc])) / freedom, floor);
    }
};

// Average over all candidates by their likelihood (Hoeting, Madigan, Raftery & Volinsky 1999).
struct HeightModel::Mixture {
    struct Entry {
        double cost; // minus twice the logarithm of the likelihood, up to a constant
        double ratio;
        std::size_t prior;
        int arc;
    };
    std::vector<Evidence> priors;
    std::vector<Entry> entries;
    double best = std::numeric_limits<double>::infinity();

    void scan(std::size_t prior, int arcs, double floor) {
        Evidence& evidence = priors[prior];
        // Exact samples want the least ratio, samples without structure the greatest.
        for (double exponent = -12.0; exponent <= 4.0; exponent += 0.25) {
            const double ratio = evidence.system.top() * std::pow(10.0, exponent);
            evidence.system.shift(ratio);
            const double spread = evidence.system.log_determinant();
            for (int arc = 0; arc <= arcs; ++arc) {
                const double variance = evidence.variance(arc, floor);
                const double cost = evidence.freedom * std::log(variance) + spread;
                if (cost < best + negligible) {
                    best = std::min(best, cost);
                    entries.push_back({cost, ratio, prior, arc});
                }
            }
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
                      double resolution) {
    const auto count = static_cast<Eigen::Index>(places.size());
    if (count < DiscPolynomials::term_count(free_degree + 1)) {
        return false;
    }
    const Disc disc = enclose(places);
    basis_ = DiscPolynomials(disc.centre, disc.radius, choose_degree(places.size()));
    Eigen::MatrixXd design(count, basis_.terms());
    for (Eigen::Index i = 0; i < count; ++i) {
        design.row(i) = basis_(places[static_cast<std::size_t>(i)]).transpose();
    }

    falls_.resize(std::size(falls));
    std::iota(falls_.begin(), falls_.end(), std::size_t(0));
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
    const Eigen::MatrixXd gram = block.transpose() * block;
    Mixture mixture;
    mixture.priors.reserve(falls_.size());
    for (const std::size_t fall : falls_) {
        mixture.priors.emplace_back(gram, falls[fall], basis_,
                                    static_cast<double>(count - free_terms));
        for (int arc = 0; arc <= (may_arc ? 1 : 0); ++arc) {
            const Eigen::VectorXd target = samples.col(0) - arc * samples.col(1);
            mixture.priors.back().take(arc,
                                       block.transpose() * target.segment(free_terms, prior_terms),
                                       target.tail(count - free_terms).squaredNorm());
        }
        mixture.scan(mixture.priors.size() - 1, may_arc ? 1 : 0, floor);
    }
    Eigen::VectorXd prior;
    if (!average(mixture, prior)) {
        return false;
    }
    const Eigen::VectorXd target = samples.col(0) - arc_share_ * samples.col(1);
    coefficients_.resize(terms);
    coefficients_.tail(prior_terms) = prior;
    coefficients_.head(free_terms) = free_block.solve(
        target.head(free_terms) - upper.topRightCorner(free_terms, prior_terms) * prior);
    return coefficients_.allFinite();
}

// Also leaves for the next round only the falls that had a share in this one: moving some weights
// brings none back.
bool HeightModel::average(Mixture& mixture, Eigen::VectorXd& prior) {
    double total = 0.0;
    double least = std::numeric_limits<double>::infinity();
    arc_share_ = 0.0;
    prior = Eigen::VectorXd::Zero(basis_.terms() - free_terms);
    std::vector<std::size_t> kept;
    for (std::size_t p = 0; p < mixture.priors.size(); ++p) {
        Evidence& evidence = mixture.priors[p];
        Eigen::VectorXd sum = Eigen::VectorXd::Zero(prior.size());
        double share = 0.0;
        for (const Mixture::Entry& entry : mixture.entries) {
            if (entry.prior != p || entry.cost > mixture.best + Mixture::negligible) {
                continue;
            }
            if (entry.cost < least) {
                least = entry.cost;
                precision_ = Eigen::VectorXd::Zero(basis_.terms());
                precision_.tail(prior.size()) =
                    entry.ratio * evidence.scale.array().square().inverse();
            }
            const double weight = std::exp(-0.5 * (entry.cost - mixture.best));
            evidence.system.shift(entry.ratio);
            sum += weight * evidence.system.solve(evidence.projected[entry.arc]);
            share += weight;
            arc_share_ += weight * entry.arc;
        }
        if (share > 0.0) {
            prior += evidence.scale.cwiseProduct(evidence.system.rotate_back(sum));
            total += share;
            kept.push_back(falls_[p]);
        }
    }
    if (!(total > 0.0)) {
        return false;
    }
    prior /= total;
    arc_share_ /= total;
    falls_ = std::move(kept);
    return true;
}

Eigen::VectorXd HeightModel::foretell(const std::vector<Eigen::Vector2d>& known,
                                      const Eigen::VectorXd& heights,
                                      const std::vector<Eigen::Vector2d>& asked) const {
    Eigen::MatrixXd design(static_cast<Eigen::Index>(known.size()), basis_.terms());
    Eigen::VectorXd target = heights;
    for (std::size_t i = 0; i < known.size(); ++i) {
        const auto row = static_cast<Eigen::Index>(i);
        design.row(row) = basis_(known[i]).transpose();
        target[row] -= arc_share_ * arc_(known[i]);
    }
    Eigen::MatrixXd normal = design.transpose() * design;
    normal.diagonal() += precision_;
    const Eigen::VectorXd folded =
        basis_.to_products(normal.ldlt().solve(design.transpose() * target));
    Eigen::VectorXd result(static_cast<Eigen::Index>(asked.size()));
    for (std::size_t i = 0; i < asked.size(); ++i) {
        result[static_cast<Eigen::Index>(i)] =
            basis_.products(asked[i]).dot(folded) + arc_share_ * arc_(asked[i]);
    }
    return result;
}

double HeightModel::operator()(const Eigen::Vector2d& place) const {
    return basis_.products(place).dot(folded_) + arc_share_ * arc_(place);
}

} // namespace Mesh_M::fill
