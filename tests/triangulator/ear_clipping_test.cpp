#include "tests/triangulator/holes.hpp"

namespace test {
namespace {

constexpr double largest = std::numeric_limits<double>::max();

/// A front of prev, cur, next (0, 1, 2) with one face on each of its two edges; all normals up.
struct Corner : Hole {
    Corner(const Point& prev, const Point& cur, const Point& next)
        : Hole(mesh_of({prev, cur, next, {3, -5, 1}, {-4, -5, 2}}, {{1, 0, 3}, {2, 1, 4}}), 3) {
        set_normals({0, 0, 1}, {0, 0, 1});
    }
    void set_normals(MemS::Point3v<float> before, MemS::Point3v<float> after) {
        face(*mesh, 0)->normal = before;
        face(*mesh, 1)->normal = after;
    }
    double cost() { return triangulator->ear_cost(boundary, 1); }
};

Corner right_angle() {
    return Corner({0, 1, 0}, {0, 0, 0}, {1, 0, 0});
}

TEST(EarCost, AddsTheBendsToTheOpeningAngle) {
    EXPECT_DOUBLE_EQ(HoleTriangulator::vector_angle({2, 0, 0}, {0, 1e9, 0}), pi / 2);
    EXPECT_NEAR(HoleTriangulator::vector_angle({1, 0, 0}, {1, 1e-12, 0}), 1e-12, 1e-24);
    Corner corner = right_angle();
    EXPECT_DOUBLE_EQ(corner.cost(), pi / 2);
    corner.set_normals({0, 0, 5}, {0, 2, 2}); // only directions matter
    EXPECT_DOUBLE_EQ(corner.cost(), pi / 4 + pi / 2);
    corner.set_normals({3, 0, 0}, {0, 2, 2});
    EXPECT_DOUBLE_EQ(corner.cost(), pi / 4 + pi / 2 + pi / 2);
}

TEST(EarCost, FoldsComeLastButAreOffered) {
    Corner corner = right_angle();
    corner.set_normals({0, 0, -1}, {0, 0, 1});
    EXPECT_EQ(corner.cost(), 4.4942328371557893e307);
    corner.set_normals({0, 0, 1}, {0, 0, -1});
    EXPECT_EQ(corner.cost(), 4.4942328371557893e307);
    corner.set_normals({0, 0, -1}, {0, 0, -2});
    EXPECT_EQ(corner.cost(), 8.988465674311579e307);
    const float almost = 0.0011f; // beyond the threshold of 0.001 radians
    corner.set_normals({0, 0, 1}, {0, std::sin(almost), -std::cos(almost)});
    EXPECT_NEAR(corner.cost(), pi / 2 + pi - 0.0011, 1e-6);
}

TEST(EarCost, DegenerateCornersHaveFixedValues) {
    EXPECT_EQ(Corner({1, 1, 0}, {0, 0, 0}, {1, 1, 0}).cost(), -2.0);
    EXPECT_EQ(Corner({0, 0, 0}, {0, 0, 0}, {1, 0, 0}).cost(), -1.0);
    // The squares of the length vanish in single precision.
    EXPECT_EQ(Corner({1e-30, 0, 0}, {0, 0, 0}, {0, 1, 0}).cost(), -1.0);
    EXPECT_EQ(Corner({-1, 0.0009, 0}, {0, 0, 0}, {1, 0, 0}).cost(), 9.42477796076938);
    EXPECT_LT(Corner({-1, 0.0011, 0}, {0, 0, 0}, {1, 0, 0}).cost(), 9.4);
    EXPECT_EQ(Corner({2, 2, 0}, {0, 0, 0}, {1, 1, 0}).cost(), 0.0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(Corner({nan, 1, 0}, {0, 0, 0}, {1, 0, 0}).cost()));
    Corner corner = right_angle();
    EXPECT_EQ(corner->ear_cost(corner.boundary, 0), largest); // no edge 2-0
    corner.boundary[1] = nullptr;
    EXPECT_EQ(corner->ear_cost(corner.boundary, 1), largest);
}

TEST(AddEar, MakesTheMissingEdgeAndRefusesAThirdFace) {
    Corner corner = right_angle();
    _edge* before = corner.e(0, 1);
    const _face* ear = corner->add_ear(corner.v(0), corner.v(1), corner.v(2));
    ASSERT_NE(ear, nullptr);
    EXPECT_TRUE(ear->edges[0] == before && before->faceCount == 2 && before->flags == 1);
    EXPECT_TRUE(ear->edges[1] == corner.e(0, 2) && ear->edges[1]->start == corner.v(0));
    EXPECT_EQ(ear->edges[1]->flags, 0);
    EXPECT_TRUE(same(ear->normal, {0, 0, 1}));
    EXPECT_EQ(corner->add_ear(corner.v(0), corner.v(1), corner.v(4)), nullptr);
    EXPECT_EQ(corner->add_ear(corner.v(2), corner.v(4), corner.v(2)), nullptr);
    EXPECT_EQ(expect_sound(*corner.mesh).live_edges, 7);
}

TEST(AddEar, AndFlipLeaveFullVerticesAlone) {
    constexpr int spokes = Mesh_R::max_list_count; // as many as the hub's counts can tell
    TestMesh fan;
    for (int i = 0; i < spokes; ++i) {
        fan.add_vertex(std::cos(2.0 * pi * i / spokes), std::sin(2.0 * pi * i / spokes), 0);
        fan.add_triangle(i, (i + 1) % spokes, spokes);
    }
    const int hub = fan.add_vertex(0, 0, 0);
    const int tip = fan.add_vertex(2, 1, 0);
    fan.add_triangle(1, 0, tip);
    Hole hole(fan);
    ASSERT_EQ(hole.v(hub)->edgeCount, spokes);
    EXPECT_EQ(hole->add_ear(hole.v(hub), hole.v(tip), hole.v(9)), nullptr);
    EXPECT_FALSE(hole->flip_edge(hole.e(0, 1)));
    EXPECT_NE(hole.e(0, 1), nullptr);
}

} // namespace
} // namespace test
