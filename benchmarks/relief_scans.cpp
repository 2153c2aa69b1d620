#include "relief_scans.hpp"

#include "kelvane/toolkit/synthesis/portable_random.hpp"
#include "support/analytic_surfaces.hpp"

#include <Eigen/Geometry>

#include <cmath>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

namespace KVN::bench {

namespace {

using toolkit::PortableRandom;
using Height = std::function<double(const Eigen::Vector2d&)>;

constexpr double pi = 3.14159265358979323846;
constexpr double side = 66;        // mm
constexpr int markers_a_side = 4;  // so that one stands every 16.5 mm
constexpr double truth_edge = 0.2; // mm: finer than any detail, a third of a scan's edge

Eigen::Vector2d direction(double angle) {
    return {std::cos(angle), std::sin(angle)};
}

// The absolute value with a fillet: its radius of curvature is `fillet` / slope.
double rounded_abs(double t, double fillet) {
    return std::sqrt(t * t + fillet * fillet) - fillet;
}

double rounded_step(double t, double width) {
    return 0.5 * (1 + std::tanh(t / width));
}

Height folds(PortableRandom& random) {
    std::vector<std::function<double(const Eigen::Vector2d&)>> all;
    for (int i = 0; i < 7; ++i) {
        const Eigen::Vector2d across = direction(random.uniform(0, pi));
        const double offset = random.uniform(-0.4, 0.4) * side;
        const double slope = random.uniform(-0.3, 0.3);
        const double fillet = random.uniform(0.2, 3.0);
        all.push_back([=](const Eigen::Vector2d& p) {
            return slope * rounded_abs(p.dot(across) - offset, fillet);
        });
    }
    return [all](const Eigen::Vector2d& p) {
        double sum = 0;
        for (const auto& one : all) {
            sum += one(p);
        }
        return sum;
    };
}

Height steps(PortableRandom& random) {
    const Eigen::Vector2d across = direction(random.uniform(0, pi));
    const double pitch = random.uniform(9, 14);
    const double height = random.uniform(0.5, 1.5);
    const double width = random.uniform(0.2, 0.6);
    return [=](const Eigen::Vector2d& p) {
        double sum = 0;
        for (int i = -6; i <= 6; ++i) {
            sum += (i % 2 == 0 ? height : -height) * rounded_step(p.dot(across) - pitch * i, width);
        }
        return sum;
    };
}

Height ribs(PortableRandom& random) {
    const Eigen::Vector2d across = direction(random.uniform(0, pi));
    const double pitch = random.uniform(4, 9);
    const double height = random.uniform(0.3, 0.8);
    const double width = random.uniform(0.5, 1.0);
    return [=](const Eigen::Vector2d& p) {
        const double t = p.dot(across);
        const double from_rib = t - pitch * std::round(t / pitch);
        return height * std::exp(-0.5 * from_rib * from_rib / (width * width));
    };
}

// A sum over `count` round features of radii from `least` to `greatest` and heights in proportion.
Height scattered(PortableRandom& random, int count, double least, double greatest, double height,
                 double (*profile)(double)) {
    struct Feature {
        Eigen::Vector2d centre;
        double radius, height;
    };
    std::vector<Feature> all;
    for (int i = 0; i < count; ++i) {
        const double x = random.uniform(-0.5, 0.5) * side;
        const double y = random.uniform(-0.5, 0.5) * side;
        const double radius = random.uniform(least, greatest);
        all.push_back({{x, y}, radius, height * radius * random.uniform(-1, 1)});
    }
    return [all, profile](const Eigen::Vector2d& p) {
        double sum = 0;
        for (const Feature& one : all) {
            sum += one.height * profile((p - one.centre).norm() / one.radius);
        }
        return sum;
    };
}

Height embossed(PortableRandom& random) {
    return scattered(random, 60, 1.5, 5, 0.2, [](double r) { return rounded_step(1 - r, 0.12); });
}

Height bumps(PortableRandom& random) {
    return scattered(random, 700, 0.7, 2.2, 0.3, [](double r) { return std::exp(-r * r); });
}

Height rough(PortableRandom& random) {
    struct Wave {
        Eigen::Vector2d number;
        double height, phase;
    };
    const double fall = random.uniform(1.5, 2.5);
    std::vector<Wave> all;
    for (int i = 0; i < 150; ++i) {
        const double length = 30 * std::pow(0.05, random.uniform());
        const double angle = random.uniform(0, 2 * pi);
        all.push_back({2 * pi / length * direction(angle), 0.15 * std::pow(length / 15, fall),
                       random.uniform(0, 2 * pi)});
    }
    return [all](const Eigen::Vector2d& p) {
        double sum = 0;
        for (const Wave& one : all) {
            sum += one.height * std::sin(one.number.dot(p) + one.phase);
        }
        return sum;
    };
}

// A panel with detail; its truth is a mesh of it, finer than a scan.
class Relief : public support::AnalyticSurface {
  public:
    explicit Relief(Height detail_) : detail(std::move(detail_)) {
        TriangleMesh fine;
        const int steps = int(std::lround(extent / truth_edge));
        for (int j = 0; j <= steps; ++j) {
            for (int i = 0; i <= steps; ++i) {
                fine.add_vertex(
                    point(extent * (double(i) / steps - 0.5), extent * (double(j) / steps - 0.5)));
            }
        }
        for (int j = 0; j < steps; ++j) {
            for (int i = 0; i < steps; ++i) {
                const int a = j * (steps + 1) + i;
                fine.add_face(a, a + 1, a + steps + 2);
                fine.add_face(a, a + steps + 2, a + steps + 1);
            }
        }
        truth = mesh_truth(std::move(fine));
    }
    support::Domain domain() const override {
        return {-side / 2, side / 2, -side / 2, side / 2, false, false};
    }
    Vector3d point(double u, double v) const override { return {u, v, height(u, v)}; }
    Vector3d normal(double u, double v) const override {
        constexpr double h = 1e-3;
        return Vector3d((height(u - h, v) - height(u + h, v)) / (2 * h),
                        (height(u, v - h) - height(u, v + h)) / (2 * h), 1)
            .normalized();
    }
    double length_u(double) const override { return side; }
    double length_v() const override { return side; }
    support::SurfacePoint closest(const Vector3d& p) const override { return truth->closest(p); }

  private:
    static constexpr double extent = side + 4; // mm: the truth goes on beyond the rims

    double height(double u, double v) const { return u * u / 150 + u * v / 300 + detail({u, v}); }

    Height detail;
    std::shared_ptr<const TruthSurface> truth;
};

std::vector<MarkerPlace> places(PortableRandom& random) {
    std::vector<MarkerPlace> all;
    const double pitch = side / markers_a_side;
    for (int m = 0; m < markers_a_side * markers_a_side; ++m) {
        const double u = pitch * (m % markers_a_side + 0.5) - side / 2 + random.uniform(-2, 2);
        const double v = pitch * (m / markers_a_side + 0.5) - side / 2 + random.uniform(-2, 2);
        all.push_back({u, v, random.uniform(1.5, 3.5)});
    }
    return all;
}

} // namespace

std::vector<MarkedScan> relief_scans(const AnalyticOptions& options, std::uint64_t seed) {
    const std::pair<const char*, Height (*)(PortableRandom&)> kinds[] = {
        {"folds", folds},       {"steps", steps}, {"ribs", ribs},
        {"embossed", embossed}, {"bumps", bumps}, {"rough", rough}};
    std::vector<MarkedScan> scans;
    PortableRandom random(seed);
    for (const auto& [name, make] : kinds) {
        const auto surface = std::make_shared<const Relief>(make(random));
        scans.push_back(make_scan(std::string(name) + " " + std::to_string(seed), surface,
                                  places(random), options));
    }
    return scans;
}

} // namespace KVN::bench
