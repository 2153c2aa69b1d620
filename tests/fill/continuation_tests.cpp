// fillHole2 and fairing: how near the patch comes to the surface that was cut away.
#include "cut_surface.hpp"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <utility>

namespace {

using namespace cut_surface;
using Mesh_M::MyFace;
using Mesh_M::MyOFFDataNew;
using Mesh_M::MyPoint3;
using Mesh_M::Orbrel;

struct Result {
    int code = 0;
    std::vector<MyPoint3> points;
    std::vector<MyFace> faces;
    std::vector<MyPoint3> normals;
    std::vector<int> borderIndices;
};

Result fillWhole(const std::vector<double>& surroundings, const std::vector<double>& border) {
    Result r;
    r.code =
        Orbrel().fillHole2(surroundings, border, r.points, r.faces, r.normals, r.borderIndices);
    return r;
}

Result fair(const std::vector<double>& soup, int count, const std::vector<double>& border) {
    Result r;
    r.code = Orbrel().fairing(soup, count, border, r.points, r.faces, r.normals, r.borderIndices);
    return r;
}

int faceCount(const Cut& c) {
    return static_cast<int>(c.surroundings.size());
}

// What every result has to be, whatever the surface: the border first and to the bit, all border
// edges along the loop, no edge used twice in one direction, unit normals of the faces themselves.
void expectSound(const Result& r, const std::vector<double>& border) {
    ASSERT_GE(r.code, 0);
    const std::size_t k = border.size() / 3;
    ASSERT_GE(r.points.size(), k);
    ASSERT_EQ(r.borderIndices.size(), k);
    for (std::size_t i = 0; i < k; ++i) {
        EXPECT_EQ(r.borderIndices[i], static_cast<int>(i));
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_EQ(r.points[i].p[c], border[3 * i + c]);
    }
    std::set<std::pair<int, int>> edges;
    ASSERT_EQ(r.normals.size(), r.faces.size());
    for (std::size_t f = 0; f < r.faces.size(); ++f) {
        const int* t = r.faces[f].t_idx;
        for (int c = 0; c < 3; ++c) {
            ASSERT_TRUE(t[c] >= 0 && t[c] < static_cast<int>(r.points.size()));
            EXPECT_TRUE(edges.insert({t[c], t[(c + 1) % 3]}).second);
        }
        const Point a(r.points[static_cast<std::size_t>(t[0])].p);
        const Point b(r.points[static_cast<std::size_t>(t[1])].p);
        const Point c(r.points[static_cast<std::size_t>(t[2])].p);
        const Point normal(r.normals[f].p);
        EXPECT_NEAR(normal.norm(), 1.0, 1e-12);
        EXPECT_GE(normal.dot((b - a).cross(c - a)), 0.0);
    }
    for (std::size_t i = 0; i < k; ++i)
        EXPECT_TRUE(edges.count({static_cast<int>(i), static_cast<int>((i + 1) % k)})) << i;
    for (const MyPoint3& p : r.points)
        EXPECT_TRUE(Point(p.p).allFinite());
}

struct Comparison {
    Deviation plain;
    Deviation fairing;
    Deviation whole;
};

Comparison compare(const Surface& surface, const CutOptions& options) {
    const Cut c = cut(surface, options);
    Comparison result;
    MyOFFDataNew patch;
    EXPECT_EQ(Orbrel::fillHoleWithoutFair(c.borderVector, patch), 0);
    const std::vector<double> soup = withPatch(c, patch);
    fairPlainly(c, patch);
    const Result fairing = fair(soup, faceCount(c), c.borderVector);
    const Result whole = fillWhole(c.surroundingVector, c.borderVector);
    expectSound(fairing, c.borderVector);
    expectSound(whole, c.borderVector);
    result.plain = deviation(patch.points, c.border.size(), surface);
    result.fairing = deviation(fairing.points, c.border.size(), surface);
    result.whole = deviation(whole.points, c.border.size(), surface);
    return result;
}

struct NamedSurface {
    std::string name;
    Surface surface;
};

std::vector<NamedSurface> allSurfaces() {
    return {{"sphere 20", sphere(20.0)},      {"torus 40/16", torus(40.0, 16.0)},
            {"cylinder 25", cylinder(25.0)},  {"saddle 20", saddle(20.0)},
            {"waves, crest", waves(11.0, 0)}, {"waves, flank", waves(3.0, 14.0)}};
}

TEST(Continuation, MeetsExactSurfacesFarBetterThanTheBiLaplaceEquation) {
    unsigned seed = 1;
    for (const NamedSurface& s : allSurfaces())
        for (const double radius : {3.0, 5.0}) {
            CutOptions options;
            options.radius = radius;
            options.edge = radius < 4.0 ? 0.6 : 0.95;
            options.seed = seed++;
            const Comparison c = compare(s.surface, options);
            for (const Deviation& ours : {c.fairing, c.whole}) {
                EXPECT_LE(ours.meanSquareRoot, c.plain.meanSquareRoot / 3.0) << s.name;
                EXPECT_LE(ours.greatest, c.plain.greatest / 3.0) << s.name;
            }
        }
}

TEST(Continuation, AveragesNoiseInsteadOfCarryingItIn) {
    for (const NamedSurface& s : allSurfaces()) {
        double plain = 0.0;
        double fairing = 0.0;
        double whole = 0.0;
        for (unsigned seed = 1; seed <= 4; ++seed) {
            CutOptions options;
            options.noise = 0.02;
            options.radius = 2.5 + 0.6 * seed;
            options.seed = seed;
            const Comparison c = compare(s.surface, options);
            plain += c.plain.meanSquareRoot * c.plain.meanSquareRoot;
            fairing += c.fairing.meanSquareRoot * c.fairing.meanSquareRoot;
            whole += c.whole.meanSquareRoot * c.whole.meanSquareRoot;
        }
        EXPECT_LE(std::sqrt(fairing / plain), 2.0 / 3.0) << s.name;
        EXPECT_LE(std::sqrt(whole / plain), 2.0 / 3.0) << s.name;
    }
}

// The smaller ball turns by more than a right angle within the hole and is no height field.
TEST(Continuation, FollowsStronglyCurvedSurfaces) {
    for (const double ballRadius : {6.0, 3.2})
        for (const double noise : {0.0, 0.02}) {
            CutOptions options;
            options.edge = 0.5;
            options.noise = noise;
            const Comparison c = compare(sphere(ballRadius), options);
            EXPECT_LE(c.fairing.meanSquareRoot, 0.5 * c.plain.meanSquareRoot) << ballRadius;
            EXPECT_LE(c.whole.meanSquareRoot, 0.5 * c.plain.meanSquareRoot) << ballRadius;
        }
}

// The straight edge that closes the chain leaves the surface, and nothing lies beyond it.
TEST(Continuation, StaysTameAtAnOpenRim) {
    unsigned seed = 1;
    for (const NamedSurface& s : allSurfaces())
        for (const double noise : {0.0, 0.02}) {
            CutOptions options;
            options.rim = true;
            options.noise = noise;
            options.seed = seed++;
            const Comparison c = compare(s.surface, options);
            const double share = noise > 0.0 ? 1.0 : 1.0 / 3.0;
            for (const Deviation& ours : {c.fairing, c.whole}) {
                EXPECT_LE(ours.meanSquareRoot, share * c.plain.meanSquareRoot) << s.name;
                EXPECT_LE(ours.greatest, share * c.plain.greatest) << s.name;
            }
        }
}

// Nothing around tells the surface: a flat loop gets a flat patch.
TEST(Continuation, FillsALoopWithoutSurroundings) {
    std::vector<double> loop;
    for (int i = 0; i < 24; ++i)
        for (const double v : {4.0 * std::cos(i * M_PI / 12), 4.0 * std::sin(i * M_PI / 12), 7.0})
            loop.push_back(v);
    const Result r = fillWhole({}, loop);
    expectSound(r, loop);
    for (const MyPoint3& p : r.points)
        EXPECT_NEAR(p.p[2], 7.0, 1e-9);
    const std::vector<double> triangle = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    expectSound(fillWhole({}, triangle), triangle);
}

TEST(Fairing, KeepsTheTriangulationAndFindsItByPosition) {
    const Surface surface = sphere(20.0);
    const Cut c = cut(surface, CutOptions());
    MyOFFDataNew patch;
    ASSERT_EQ(Orbrel::fillHoleWithoutFair(c.borderVector, patch), 0);
    const std::vector<double> soup = withPatch(c, patch);
    const Result given = fair(soup, faceCount(c), c.borderVector);
    ASSERT_EQ(given.faces.size(), patch.faces.size());
    EXPECT_EQ(given.points.size(), patch.points.size());

    // Triangles that were left out on the way here still count.
    const std::vector<double> fewer(soup.begin() + 12 * 7, soup.end());
    for (const int count : {faceCount(c), faceCount(c) + 5, 1 << 30}) {
        const Result r = fair(fewer, count, c.borderVector);
        expectSound(r, c.borderVector);
        EXPECT_EQ(r.faces.size(), patch.faces.size()) << count;
        EXPECT_LE(deviation(r.points, c.border.size(), surface).greatest, 1e-3) << count;
    }
}

// A triangulation with a gap: the outline of the gap stays, the rest is faired.
TEST(Fairing, KeepsOpenOutlinesOfTheHole) {
    const Cut c = cut(saddle(20.0), CutOptions());
    MyOFFDataNew patch;
    ASSERT_EQ(Orbrel::fillHoleWithoutFair(c.borderVector, patch), 0);
    std::size_t inner = 0; // a face without border points
    const auto k = static_cast<int>(c.border.size());
    while (patch.faces[inner].t_idx[0] < k || patch.faces[inner].t_idx[1] < k ||
           patch.faces[inner].t_idx[2] < k)
        ++inner;
    const MyFace gap = patch.faces[inner];
    patch.faces.erase(patch.faces.begin() + static_cast<std::ptrdiff_t>(inner));
    const Result r = fair(withPatch(c, patch), faceCount(c), c.borderVector);
    expectSound(r, c.borderVector);
    EXPECT_EQ(r.faces.size(), patch.faces.size());
    for (const int v : gap.t_idx) {
        const double* wanted = patch.points[static_cast<std::size_t>(v)].p;
        EXPECT_TRUE(std::any_of(r.points.begin(), r.points.end(), [&](const MyPoint3& p) {
            return std::equal(p.p, p.p + 3, wanted);
        }));
    }
}

TEST(Continuation, RefusesUnusableInputAndLeavesTheListsAlone) {
    const Cut c = cut(sphere(20.0), CutOptions());
    const double infinity = std::numeric_limits<double>::infinity();
    std::vector<double> badBorder = c.borderVector;
    badBorder[4] = std::nan("");
    std::vector<double> badCorner = c.surroundingVector;
    badCorner[12 * 3 + 5] = infinity;
    std::vector<double> badNormal = c.surroundingVector;
    badNormal[12] = std::nan("");
    std::vector<double> repeatedBorder = c.borderVector;
    std::copy_n(c.borderVector.begin(), 3, repeatedBorder.begin() + 18);
    const std::vector<double> shortSoup(c.surroundingVector.begin(),
                                        c.surroundingVector.begin() + 13);
    const std::vector<double> shortBorder(c.borderVector.begin(), c.borderVector.begin() + 6);
    const std::vector<std::pair<std::vector<double>, std::vector<double>>> inputs = {
        {c.surroundingVector, badBorder},
        {badCorner, c.borderVector},
        {badNormal, c.borderVector},
        {shortSoup, c.borderVector},
        {c.surroundingVector, repeatedBorder},
        {c.surroundingVector, shortBorder},
        {c.surroundingVector, {}}};
    const auto expectUntouched = [](const std::function<int(Result&)>& call) {
        Result r;
        r.points.resize(2);
        r.faces.resize(3);
        r.normals.resize(4);
        r.borderIndices.resize(5);
        EXPECT_LT(call(r), 0);
        EXPECT_EQ(r.points.size(), 2u);
        EXPECT_EQ(r.faces.size(), 3u);
        EXPECT_EQ(r.normals.size(), 4u);
        EXPECT_EQ(r.borderIndices.size(), 5u);
    };
    for (const auto& [soup, border] : inputs) {
        expectUntouched([&, s = soup, b = border](Result& r) {
            return Orbrel().fillHole2(s, b, r.points, r.faces, r.normals, r.borderIndices);
        });
        expectUntouched([&, s = soup, b = border](Result& r) {
            return Orbrel().fairing(s, 0, b, r.points, r.faces, r.normals, r.borderIndices);
        });
    }
    // Nothing to fair: the surroundings alone.
    expectUntouched([&](Result& r) {
        return Orbrel().fairing(c.surroundingVector, faceCount(c), c.borderVector, r.points,
                                r.faces, r.normals, r.borderIndices);
    });
}

// Edges, needles, doubled points and surroundings that contradict the loop: any sound patch or a
// refusal will do, but nothing that is not finite and no crash.
TEST(Continuation, SurvivesUglySurroundings) {
    const Surface roof = {[](double u, double v) { return Point(u, v, -2.0 * std::abs(u)); },
                          [](const Point&) { return 0.0; }};
    const Surface step = {[](double u, double v) { return Point(u, v, u > 4.3 ? 30.0 : 0.0); },
                          [](const Point&) { return 0.0; }};
    const Surface line = {[](double u, double) { return Point(u, 0.0, 0.0); },
                          [](const Point&) { return 0.0; }};
    const Surface spot = {[](double, double) { return Point(1.0, 2.0, 3.0); },
                          [](const Point&) { return 0.0; }};
    for (const Surface& s : {roof, step, line, spot}) {
        const Cut c = cut(s, CutOptions());
        std::vector<double> backwards;
        for (std::size_t i = c.border.size(); i-- > 0;)
            backwards.insert(backwards.end(), c.borderVector.begin() + 3 * static_cast<int>(i),
                             c.borderVector.begin() + 3 * static_cast<int>(i) + 3);
        for (const std::vector<double>& border : {c.borderVector, backwards})
            for (const Result& r :
                 {fillWhole(c.surroundingVector, border), fair(c.surroundingVector, 40, border)})
                for (const MyPoint3& p : r.points)
                    EXPECT_TRUE(Point(p.p).allFinite());
    }
}

} // namespace
