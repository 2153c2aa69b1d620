#include "border_corpus.hpp"

#include <cmath>
#include <functional>
#include <random>

namespace {

constexpr double pi = 3.14159265358979323846;

using Curve = std::function<void(double t, std::vector<double>& points)>;

std::vector<double> sample(int count, const Curve& curve) {
    std::vector<double> points;
    for (int i = 0; i < count; ++i) {
        curve(2.0 * pi * i / count, points);
    }
    return points;
}

void put(std::vector<double>& points, double x, double y, double z = 0.0) {
    points.insert(points.end(), {x, y, z});
}

std::vector<double> comb(int teeth, int perSide) {
    std::vector<double> points;
    for (int tooth = 0; tooth < teeth; ++tooth) {
        for (int i = 0; i < perSide; ++i) {
            put(points, 2.0 * tooth, 10.0 * i / perSide + 1.0);
        }
        for (int i = perSide; i > 0; --i) {
            put(points, 2.0 * tooth + 1.0, 10.0 * i / perSide + 1.0);
        }
    }
    put(points, 2.0 * teeth, 1.0);
    put(points, 2.0 * teeth, 0.0);
    for (int i = 2 * teeth - 1; i >= 0; --i) {
        put(points, i, 0.0);
    }
    return points;
}

/// Out along a spiral and back beside it.
std::vector<double> spiral(int count, double turns) {
    std::vector<double> points;
    for (int side = 0; side < 2; ++side) {
        for (int i = 0; i < count; ++i) {
            const double t = (side == 0 ? i : count - 1 - i) / static_cast<double>(count - 1);
            const double radius = 2.0 + 4.0 * turns * t + side * 1.5, angle = 2.0 * pi * turns * t;
            put(points, radius * std::cos(angle), radius * std::sin(angle), 0.2 * radius);
        }
    }
    return points;
}

std::vector<double> hundredfold() {
    std::vector<double> points;
    for (int i = 0; i < 60; ++i) {
        put(points, 0.05 * i, 0.0, 0.01 * (i % 2));
    }
    for (const auto& [x, y] : {std::pair{8.0, 0.0}, {8.0, 5.0}, {3.0, 8.0}, {-3.0, 5.0}}) {
        put(points, x, y, 0.1 * x);
    }
    return points;
}

/// The round loop with a second point put next to each third one, at `gap`.
std::vector<double> withTwins(double gap) {
    std::vector<double> points;
    for (int i = 0; i < 30; ++i) {
        const double t = 2.0 * pi * i / 30;
        put(points, 5.0 * std::cos(t), 5.0 * std::sin(t));
        if (i % 3 == 0) {
            put(points, 5.0 * std::cos(t) - gap * std::sin(t),
                5.0 * std::sin(t) + gap * std::cos(t));
        }
    }
    return points;
}

/// The outline of two circles that overlap a little: round, but for a neck.
std::vector<double> touchingCircles(int perCircle) {
    std::vector<double> points;
    for (const double side : {1.0, -1.0}) {
        for (int i = 0; i < perCircle; ++i) {
            const double t = 0.1 - pi + 2.0 * (pi - 0.1) * i / perCircle;
            put(points, side * (5.0 * std::cos(t) + 4.97), side * 5.0 * std::sin(t));
        }
    }
    return points;
}

std::vector<double> rectangle(int alongX, int alongY) {
    std::vector<double> points;
    for (int i = 0; i < alongX; ++i) {
        put(points, i, 0);
    }
    for (int i = 0; i < alongY; ++i) {
        put(points, alongX, i);
    }
    for (int i = alongX; i > 0; --i) {
        put(points, i, alongY);
    }
    for (int i = alongY; i > 0; --i) {
        put(points, 0, i);
    }
    return points;
}

std::vector<double> scattered(int count) {
    std::mt19937 generator(7);
    std::vector<double> points;
    for (int i = 0; i < 3 * count; ++i) {
        points.push_back(static_cast<double>(generator()) / 4294967296.0);
    }
    return points;
}

std::vector<double> moved(std::vector<double> points, double scale, double offset) {
    for (double& coordinate : points) {
        coordinate = coordinate * scale + offset;
    }
    return points;
}

} // namespace

std::vector<double> raggedLoop(int count, double tilt, unsigned seed) {
    std::mt19937 generator(seed);
    const double radius = count / (2.0 * pi), sphere = radius / std::sin(tilt);
    return sample(count, [&](double t, std::vector<double>& points) {
        const double r = radius + 0.6 * (static_cast<double>(generator()) / 4294967296.0 - 0.5);
        put(points, r * std::cos(t), r * std::sin(t), std::sqrt(sphere * sphere - r * r));
    });
}

std::vector<double> rimChain(int count, int run) {
    const double radius = (count - 1) / pi;
    std::vector<double> points;
    for (int i = run; i > 0; --i) {
        put(points, radius + i, 1e-3 * (i % 2));
    }
    for (int i = 0; i < count; ++i) {
        const double t = pi * i / (count - 1);
        put(points, radius * std::cos(t), radius * std::sin(t));
    }
    for (int i = 1; i <= run; ++i) {
        put(points, -radius - i, 1e-3 * (i % 2));
    }
    return points;
}

std::vector<NamedBorder> borderCorpus() {
    const auto circle = [](int count, double wave, int waves) {
        return sample(count, [=](double t, std::vector<double>& points) {
            put(points, 5.0 * std::cos(t), 5.0 * std::sin(t), wave * std::cos(waves * t));
        });
    };
    const auto knot = sample(200, [](double t, std::vector<double>& points) {
        const double r = 3.0 + std::cos(3.0 * t);
        put(points, r * std::cos(2.0 * t), r * std::sin(2.0 * t), std::sin(3.0 * t));
    });
    const auto eight = sample(40, [](double t, std::vector<double>& points) {
        put(points, 5.0 * std::sin(t + 0.01), 4.0 * std::sin(2.0 * t + 0.02));
    });
    const auto needle = sample(40, [](double t, std::vector<double>& points) {
        put(points, 100.0 * std::cos(t), 0.05 * std::sin(t), 0.01 * std::cos(2.0 * t));
    });
    std::vector<double> pinched = circle(24, 0.0, 1);
    std::copy_n(pinched.begin(), 3, pinched.begin() + 36); // opposite points at one place
    return {
        {"triangle", {0, 0, 0, 1, 0, 0, 0, 1, 0}},
        {"square", {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}},
        {"bent square", {0, 0, 0, 1, 0, 1, 1, 1, 0, 0, 1, 1}},
        {"regular pentagon", circle(5, 0, 1)},
        {"round", circle(40, 0, 1)},
        {"saddle", circle(60, 3, 2)},
        {"crown", circle(90, 4, 7)},
        {"ragged", raggedLoop(80, 0.2, 3)},
        {"knot", knot},
        {"touching circles", touchingCircles(40)},
        {"figure eight", eight},
        {"pinched", pinched},
        {"comb", comb(6, 10)},
        {"spiral", spiral(150, 2.5)},
        {"hundredfold edges", hundredfold()},
        {"near twins", withTwins(1e-9)},
        {"twins", withTwins(0.0)},
        {"collinear sides", rectangle(20, 12)},
        {"narrow", rectangle(60, 1)},
        {"needle", needle},
        {"rim chain", rimChain(25, 0)},
        {"rim chain with runs", rimChain(25, 2)},
        {"short rim chain", rimChain(7, 1)},
        {"scattered", scattered(30)},
        {"far away", moved(raggedLoop(60, 0.3, 5), 0.7, 1e6)},
        {"minute", moved(raggedLoop(60, 0.3, 5), 1e-9, 0.0)},
        {"huge", moved(raggedLoop(60, 0.3, 5), 1e12, 0.0)},
        {"long comb", comb(40, 30)},
        {"3000 points", raggedLoop(3000, 0.4, 9)},
    };
}
