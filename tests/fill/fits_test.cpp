// The fits that continue a surface, one by one, on surfaces that they must meet exactly.
#include "kelvane/fill/continuation/arc_fit.hpp"
#include "kelvane/fill/continuation/disc_polynomials.hpp"
#include "kelvane/fill/continuation/residual_field.hpp"
#include "kelvane/fill/continuation/shifted_tridiagonal.hpp"

#include <Eigen/Dense>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <string>

namespace {

using namespace Mesh_M::fill;
using Place = Eigen::Vector2d;

std::vector<Place> scattered(int count, double radius, const Place& centre = {0, 0}) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> along(-radius, radius);
    std::vector<Place> places;
    while (static_cast<int>(places.size()) < count) {
        const Place offset(along(random), along(random));
        if (offset.norm() < radius) {
            places.push_back(centre + offset);
        }
    }
    return places;
}

TEST(ArcFit, MeetsSurfacesOfConstantCurvature) {
    struct Row {
        std::string name;
        std::function<double(double, double)> height;
        bool valid;
        Eigen::Matrix2d curvature;
        Place slope;
    };
    const auto curved = [](double xx, double xy, double yy) {
        return (Eigen::Matrix2d() << xx, xy, xy, yy).finished();
    };
    const Row rows[] = {{"plane", [](double x, double y) { return 3 + 0.2 * x - 0.1 * y; }, true,
                         curved(0, 0, 0), Place(0.2, -0.1)},
                        {"dome", [](double x, double y) { return std::sqrt(100 - x * x - y * y); },
                         true, curved(-0.1, 0, -0.1), Place(0, 0)},
                        {"bowl",
                         [](double x, double y) { return 10 - std::sqrt(100 - x * x - y * y); },
                         true, curved(0.1, 0, 0.1), Place(0, 0)},
                        {"cylinder along y", [](double x, double) { return std::sqrt(64 - x * x); },
                         true, curved(-0.125, 0, 0), Place(0, 0)},
                        {"cylinder along the diagonal",
                         [](double x, double y) { return std::sqrt(64 - 0.5 * (x + y) * (x + y)); },
                         true, curved(-0.0625, -0.0625, -0.0625), Place(0, 0)},
                        {"too steep for arcs", [](double x, double y) { return x * x + y * y; },
                         false, curved(0, 0, 0), Place(0, 0)}};
    const std::vector<Place> places = scattered(60, 4.0);
    Disc disc;
    disc.radius = 4.0;
    for (const Row& row : rows) {
        Eigen::VectorXd heights(60);
        for (int i = 0; i < 60; ++i) {
            heights[i] = row.height(places[i].x(), places[i].y());
        }
        const ArcFit fit = fit_arcs(places, heights, Eigen::VectorXd::Ones(60), disc);
        ASSERT_EQ(fit.valid, row.valid) << row.name;
        if (fit.valid) {
            EXPECT_LT((fit.arc.curvature - row.curvature).norm(), 1e-7) << row.name;
            EXPECT_LT((fit.slope - row.slope).norm(), 1e-7) << row.name;
        }
    }
    // Places on a line fix no quadric; a sample without weight has no say.
    std::vector<Place> line;
    for (int i = 0; i < 60; ++i) {
        line.emplace_back(0.1 * i, 0.0);
    }
    const Eigen::VectorXd zero = Eigen::VectorXd::Zero(60), one = Eigen::VectorXd::Ones(60);
    EXPECT_FALSE(fit_arcs(line, zero, one, disc).valid);
    Eigen::VectorXd spike = zero, weights = one;
    spike[7] = 50.0;
    weights[7] = 0.0;
    EXPECT_LT(fit_arcs(places, spike, weights, disc).arc.curvature.norm(), 1e-12);
}

TEST(ArcFit, GradientIsTheDerivativeOfTheHeight) {
    ArcExcess arc;
    arc.centre = {0.5, -0.3};
    arc.curvature << 0.08, 0.03, 0.03, -0.05;
    constexpr double step = 1e-5;
    const auto height = [&](const Place& p, int entry, double change) {
        ArcExcess other = arc;
        const int i = entry / 2, j = (entry + 1) / 2; // xx, xy, yy
        other.curvature(i, j) += change;
        other.curvature(j, i) = other.curvature(i, j);
        const Place x = p - other.centre;
        return 0.5 * x.dot(other.curvature * x) + other(p);
    };
    for (const Place& p : scattered(20, 5.0)) {
        const Eigen::Vector3d gradient = arc.gradient(p);
        for (int entry = 0; entry < 3; ++entry) {
            EXPECT_NEAR(gradient[entry],
                        (height(p, entry, step) - height(p, entry, -step)) / (2 * step), 1e-6);
        }
    }
    const Disc around = enclose({{1, 1}, {5, 1}, {3, 4}});
    EXPECT_LT((around.centre - Place(3, 2.5)).norm(), 1e-12);
    EXPECT_DOUBLE_EQ(around.radius, 2.5);
    EXPECT_DOUBLE_EQ(enclose({{1, 1}}).radius, 1.0);
}

TEST(DiscPolynomials, AreOrthonormalOnTheirDiscAndSpanTheirDegrees) {
    const Place centre(2.0, -1.0);
    const double radius = 3.0;
    for (const int degree : {0, 1, 4, DiscPolynomials::greatest_degree}) {
        const DiscPolynomials polynomials(centre, radius, degree);
        ASSERT_EQ(polynomials.terms(), (degree + 1) * (degree + 2) / 2);
        Eigen::MatrixXd gram = Eigen::MatrixXd::Zero(polynomials.terms(), polynomials.terms());
        constexpr int rings = 400, spokes = 40;
        for (int i = 0; i < rings; ++i) {
            for (int j = 0; j < spokes; ++j) {
                const double r = radius * std::sqrt((i + 0.5) / rings);
                const double angle = 2.0 * M_PI * (j + 0.5 * (i % 2)) / spokes;
                const Eigen::VectorXd values =
                    polynomials(centre + r * Place(std::cos(angle), std::sin(angle)));
                gram += values * values.transpose() / (rings * spokes);
            }
        }
        EXPECT_LT(
            (gram - Eigen::MatrixXd::Identity(gram.rows(), gram.cols())).cwiseAbs().maxCoeff(),
            degree > 4 ? 0.1 : 0.01)
            << degree;
        // A polynomial of the degree is met, with as many terms as the degree has.
        const std::vector<Place> places = scattered(200, 1.5 * radius, centre);
        Eigen::MatrixXd design(200, polynomials.terms());
        Eigen::VectorXd heights(200);
        for (int i = 0; i < 200; ++i) {
            design.row(i) = polynomials(places[i]).transpose();
            heights[i] = std::pow(0.3 * places[i].x() - 0.2 * places[i].y() + 0.1, degree);
        }
        const Eigen::VectorXd found = design.colPivHouseholderQr().solve(heights);
        EXPECT_LT((design * found - heights).cwiseAbs().maxCoeff(), 1e-9) << degree;
        EXPECT_EQ(polynomials.degree_of(polynomials.terms() - 1), degree);
        // The short way to a sum of all terms.
        const Eigen::VectorXd products = polynomials.to_products(found);
        EXPECT_NEAR(products.dot(polynomials.products(places[5])), heights[5], 1e-9);
    }
}

TEST(ShiftedTridiagonal, AnswersAsADenseFactorisationDoes) {
    for (const int n : {1, 2, 7, 30}) {
        const Eigen::MatrixXd root = Eigen::MatrixXd::Random(n, n);
        const Eigen::MatrixXd matrix = root * root.transpose();
        const Eigen::VectorXd x = Eigen::VectorXd::LinSpaced(n, -1.0, 2.0);
        ShiftedTridiagonal shifted(matrix);
        const Eigen::VectorXd turned = shifted.rotate(x);
        for (const double s : {1e-4, 0.3, 50.0}) {
            shifted.shift(s);
            const Eigen::MatrixXd dense = matrix + s * Eigen::MatrixXd::Identity(n, n);
            const Eigen::VectorXd solved = dense.ldlt().solve(x);
            const double scale = solved.norm();
            EXPECT_LT((shifted.rotate_back(shifted.solve(turned)) - solved).norm(), 1e-8 * scale);
            EXPECT_NEAR(shifted.quadratic(turned), x.dot(solved), 1e-8 * std::abs(x.dot(solved)));
            EXPECT_NEAR(shifted.log_determinant(), std::log((dense / s).determinant()), 1e-6);
        }
    }
}

TEST(ResidualField, FollowsAPatternAndForgetsNoise) {
    const std::vector<Place> places = scattered(150, 6.0);
    std::mt19937 random(11);
    std::normal_distribution<double> noise(0.0, 0.1);
    Eigen::VectorXd pattern(150), wild(150);
    for (int i = 0; i < 150; ++i) {
        pattern[i] = 0.1 * std::sin(0.9 * places[i].x());
        wild[i] = noise(random);
    }
    ResidualField followed, forgotten, empty;
    followed.fit(places, pattern, 1.0);
    forgotten.fit(places, wild, 1.0);
    empty.fit({}, {}, 1.0);
    double missed = 0.0, kept = 0.0;
    for (const Place& p : scattered(50, 4.0)) {
        missed = std::max(missed, std::abs(followed(p) - 0.1 * std::sin(0.9 * p.x())));
        kept = std::max(kept, std::abs(forgotten(p)));
        EXPECT_EQ(empty(p), 0.0);
    }
    EXPECT_LT(missed, 0.02);
    EXPECT_LT(kept, 0.08);
    EXPECT_LT(std::abs(followed({60, 0})), 1e-3);
}

} // namespace
