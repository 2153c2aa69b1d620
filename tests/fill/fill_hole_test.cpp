#include "border_corpus.hpp"
#include "patch_faults.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <set>
#include <thread>

using namespace Mesh_M;

namespace {

MyOFFDataNew fill(const std::vector<double>& border, int expected = 0) {
    MyOFFDataNew patch;
    EXPECT_EQ(Orbrel::fillHoleWithoutFair(border, patch), expected);
    return patch;
}

bool sameBits(const MyOFFDataNew& a, const MyOFFDataNew& b) {
    const auto samePoint = [](const MyPoint3& p, const MyPoint3& q) {
        return std::equal(p.p, p.p + 3, q.p);
    };
    const auto sameFace = [](const MyFace& f, const MyFace& g) {
        return std::equal(f.t_idx, f.t_idx + 3, g.t_idx);
    };
    return std::equal(a.points.begin(), a.points.end(), b.points.begin(), b.points.end(),
                      samePoint) &&
           std::equal(a.faces.begin(), a.faces.end(), b.faces.begin(), b.faces.end(), sameFace);
}

double totalArea(const MyOFFDataNew& patch) {
    return std::accumulate(
        patch.faces.begin(), patch.faces.end(), 0.0,
        [&](double sum, const MyFace& face) { return sum + areaOf(patch, face); });
}

/// Longest edge over shortest height, ascending.
std::vector<double> aspectRatios(const MyOFFDataNew& patch) {
    std::vector<double> ratios;
    for (const MyFace& face : patch.faces) {
        double longest = 0.0;
        for (int i = 0; i < 3; ++i) {
            longest = std::max(longest, distance(patch.points[face.t_idx[i]],
                                                 patch.points[face.t_idx[(i + 1) % 3]]));
        }
        ratios.push_back(longest * longest / (2.0 * areaOf(patch, face)));
    }
    std::sort(ratios.begin(), ratios.end());
    return ratios;
}

/// The border under a map of its points.
template <typename Map>
std::vector<double> mapped(const std::vector<double>& border, Map map) {
    std::vector<double> result;
    for (std::size_t i = 0; i < border.size(); i += 3) {
        const std::array<double, 3> point = map(border[i], border[i + 1], border[i + 2]);
        result.insert(result.end(), point.begin(), point.end());
    }
    return result;
}

std::vector<double> reversed(const std::vector<double>& border) {
    std::vector<double> result;
    for (std::size_t i = border.size(); i > 0; i -= 3) {
        result.insert(result.end(), border.begin() + i - 3, border.begin() + i);
    }
    return result;
}

} // namespace

TEST(FillHole, MakesADiscOverEveryBorder) {
    for (const NamedBorder& border : borderCorpus()) {
        EXPECT_EQ(fault_of(border.points, fill(border.points)), "") << border.name;
    }
}

TEST(FillHole, CoversFlatBordersWithoutAFold) {
    for (const NamedBorder& border : borderCorpus()) {
        const std::set<std::string> simple{"round", "collinear sides", "touching circles", "comb"};
        if (simple.count(border.name) > 0) {
            double area = 0.0; // by the trapezoids under the edges
            const std::size_t size = border.points.size();
            for (std::size_t i = 0, j = size - 3; i < size; j = i, i += 3) {
                area += 0.5 * (border.points[j] - border.points[i]) *
                        (border.points[i + 1] + border.points[j + 1]);
            }
            EXPECT_NEAR(totalArea(fill(border.points)), std::abs(area), 1e-9) << border.name;
        }
    }
}

TEST(FillHole, GivesUpAndLeavesThePatch) {
    const double infinity = std::numeric_limits<double>::infinity();
    MyOFFDataNew patch;
    patch.points.resize(2);
    patch.borderCount = 7;
    std::vector<double> nan = raggedLoop(20, 0.2, 1);
    nan[31] = std::nan("");
    const std::vector<double> line{0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 5, 5, 5};
    for (const std::vector<double>& border : {std::vector<double>{},
                                              {0, 0, 0, 1, 0, 0},
                                              {0, 0, 0, 1, 0, 0, 0, 1, 0, 1},
                                              nan,
                                              {0, 0, 0, 1, 0, infinity, 0, 1, 0},
                                              std::vector<double>(30, 4.0),
                                              {0, 0, 0, 1e76, 0, 0, 0, 1e76, 0},
                                              line}) {
        EXPECT_LT(Orbrel::fillHoleWithoutFair(border, patch), 0);
        EXPECT_EQ(patch.points.size(), 2u);
        EXPECT_TRUE(patch.faces.empty());
        EXPECT_EQ(patch.borderCount, 7);
        EXPECT_EQ(patch.freeStart, 0);
    }
}

TEST(FillHole, OneTriangleForThreePoints) {
    EXPECT_EQ(fill({0, 0, 0, 1, 0, 0, 0, 1, 0}).faces.size(), 1u);
}

TEST(FillHole, DoesNotDependOnPlaceTurnOrNumbering) {
    const std::vector<double> border = raggedLoop(70, 0.3, 11);
    const MyOFFDataNew plain = fill(border);
    std::vector<double> renumbered = border;
    std::rotate(renumbered.begin(), renumbered.begin() + 3 * 23, renumbered.end());
    const double c = std::cos(0.7), s = std::sin(0.7);
    using Coordinates = std::array<double, 3>;
    const std::vector<std::vector<double>> variants{
        renumbered, reversed(border),
        mapped(border,
               [](double x, double y, double z) {
                   return Coordinates{-x, y, z};
               }),
        mapped(border,
               [](double x, double y, double z) {
                   return Coordinates{x + 1e4, y - 3e3, z};
               }),
        mapped(border, [=](double x, double y, double z) {
            return Coordinates{c * x - s * z, y, s * x + c * z};
        })};
    for (const std::vector<double>& variant : variants) {
        const MyOFFDataNew patch = fill(variant);
        EXPECT_EQ(fault_of(variant, patch), "");
        EXPECT_NEAR(patch.innerCount, plain.innerCount, 0.08 * plain.innerCount);
        EXPECT_NEAR(totalArea(patch), totalArea(plain), 0.004 * totalArea(plain));
    }
    // A power of two as the unit changes no digit.
    const MyOFFDataNew scaled = fill(mapped(border, [](double x, double y, double z) {
        return Coordinates{64 * x, 64 * y, 64 * z};
    }));
    ASSERT_EQ(scaled.points.size(), plain.points.size());
    EXPECT_EQ(scaled.points.back().p[0], 64 * plain.points.back().p[0]);
}

TEST(FillHole, GivesTheSameBitsInParallel) {
    std::vector<NamedBorder> borders = borderCorpus();
    borders.pop_back(); // the longest adds nothing here but time
    std::vector<MyOFFDataNew> serial(borders.size());
    std::vector<std::vector<MyOFFDataNew>> parallel(4, serial);
    for (std::size_t i = 0; i < borders.size(); ++i) {
        Orbrel::fillHoleWithoutFair(borders[i].points, serial[i]);
    }
    std::vector<std::thread> threads;
    for (std::vector<MyOFFDataNew>& results : parallel) {
        threads.emplace_back([&] {
            for (std::size_t i = 0; i < borders.size(); ++i) {
                Orbrel::fillHoleWithoutFair(borders[i].points, results[i]);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::vector<MyOFFDataNew>& results : parallel) {
        for (std::size_t i = 0; i < borders.size(); ++i) {
            EXPECT_TRUE(sameBits(results[i], serial[i])) << borders[i].name;
        }
    }
}

TEST(FillHole, KeepsTheBordersDensityBesideItAndGrowsCoarserBehind) {
    struct Row {
        int count;
        int fewest, most; // inner points
    };
    for (const Row& row : {Row{30, 60, 75}, {60, 220, 290}, {120, 600, 800}, {2000, 1000, 20000}}) {
        const MyOFFDataNew patch = fill(raggedLoop(row.count, 0.2, 17));
        EXPECT_GE(patch.innerCount, row.fewest);
        EXPECT_LE(patch.innerCount, row.most);
        const auto isOnBorder = [&](int point) { return point < row.count; };
        double area = 0.0;
        int triangles = 0;
        for (const MyFace& face : patch.faces) {
            if (std::any_of(face.t_idx, face.t_idx + 3, isOnBorder)) {
                area += areaOf(patch, face);
                ++triangles;
            }
        }
        // The edge of an equilateral triangle of the mean area; edges of the ragged border measure
        // 1.05 on the mean.
        EXPECT_NEAR(std::sqrt(area / triangles * 4.0 / std::sqrt(3.0)), 1.0, 0.12) << row.count;
        const std::vector<double> ratios = aspectRatios(patch);
        EXPECT_LT(ratios[ratios.size() * 95 / 100], 2.5) << row.count;
        EXPECT_LT(ratios.back(), 8.0) << row.count;
    }
}

TEST(FillHole, GradesBetweenShortAndLongEdges) {
    for (const NamedBorder& border : borderCorpus()) {
        if (border.name != "hundredfold edges") {
            continue;
        }
        const MyOFFDataNew patch = fill(border.points);
        EXPECT_LT(patch.innerCount, 2000); // 0.05 throughout would take some 35000
        EXPECT_GT(patch.innerCount, 100);
        const std::vector<double> ratios = aspectRatios(patch);
        EXPECT_LT(ratios[ratios.size() * 95 / 100], 3.0);
    }
}

TEST(FillHole, KeepsAwayFromTheLongEdgeOfARimChain) {
    for (const int count : {9, 16, 31, 60}) {
        const std::vector<double> border = rimChain(count, 0);
        const MyOFFDataNew patch = fill(border);
        EXPECT_EQ(fault_of(border, patch), "");
        // The triangle on the long edge stands well off it, and nothing is needle-like around it.
        const MyPoint3 &first = patch.points[0], &last = patch.points[patch.borderCount - 1];
        const double length = distance(first, last);
        for (const MyFace& face : patch.faces) {
            if (std::count(face.t_idx, face.t_idx + 3, 0) == 1 &&
                std::count(face.t_idx, face.t_idx + 3, patch.borderCount - 1) == 1) {
                EXPECT_GT(2.0 * areaOf(patch, face) / length, 0.05 * length) << count;
            }
        }
        const std::vector<double> ratios = aspectRatios(patch);
        EXPECT_LT(ratios[ratios.size() * 95 / 100], 5.5) << count;
    }
}

TEST(FillHole, TellsTheBulgeFromARaggedBorder) {
    // The bulge is meant to be sqrt(2) times as high as the sphere's; a flat lid has none.
    const double tilt = 0.25, radius = 80.0 / (2.0 * M_PI), sphere = radius / std::sin(tilt);
    for (const unsigned seed : {5u, 6u, 7u}) {
        const MyOFFDataNew patch = fill(raggedLoop(80, tilt, seed));
        double top = 0.0;
        for (const MyPoint3& point : patch.points) {
            top = std::max(top, point.p[2]);
        }
        const double height = sphere * (1.0 - std::cos(tilt));
        EXPECT_NEAR((top - sphere * std::cos(tilt)) / height, std::sqrt(2.0), 0.15);
    }
}
