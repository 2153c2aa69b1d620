#include "tests/core/core_access.hpp"

namespace test {
namespace {

// Three holes in a row; the second region is one that yields no border.
struct ThreeRegions {
    const Rect first{4, 4, 8, 8};
    const Rect third{14, 4, 17, 8};
    PunchedGrid grid{24, 12, {first, third}};
    RepairMarkers repair =
        repairer(*grid.mesh, {flat_marker(6, 6, 1), flat_marker(11, 2, 1), flat_marker(15, 6, 1)});

    ThreeRegions() {
        repair.markRegions = {grid.loop(first), {grid.at(11, 2), grid.at(11, 3)}, grid.loop(third)};
        for (const std::vector<_vert*>& region : repair.markRegions) {
            set_flags(region, ring_bit);
        }
        repair.setPointIndex();
    }
};

TEST(BoundaryData, KeepsOneIndexForAllListsOfAHole) {
    ThreeRegions scan;
    RepairMarkers& repair = scan.repair;
    const std::vector<_vert*> third_region = repair.markRegions[2];
    repair.BoundaryData();
    ASSERT_EQ(repair.holeBorders.size(), 2u);
    ASSERT_EQ(repair.holePoints.size(), 2u);
    ASSERT_EQ(repair.holeFaces.size(), 2u);
    ASSERT_EQ(repair.holeFaceNormals.size(), 2u);
    EXPECT_EQ(repair.holeBoundaryCount, (std::vector<int>{16, 14}));
    ASSERT_EQ(repair.notes.holes.size(), 2u);
    EXPECT_EQ(repair.notes.holes[1].marker, 2);
    EXPECT_FALSE(repair.notes.holes[1].is_chain);
    EXPECT_EQ(repair.currentMarker, 2);
    // Kept borders have moved to the front, over the region without one.
    ASSERT_EQ(repair.markRegions.size(), 3u);
    EXPECT_EQ(repair.markRegions[0], repair.holeBorders[0]);
    EXPECT_EQ(repair.markRegions[1], repair.holeBorders[1]);
    EXPECT_EQ(repair.markRegions[2], third_region);
    for (std::size_t hole = 0; hole < 2; ++hole) {
        for (std::size_t k = 0; k < repair.holeBorders[hole].size(); ++k) {
            EXPECT_EQ(repair.holePoints[hole][k].p[0], repair.holeBorders[hole][k]->pos.x);
            EXPECT_EQ(repair.holePoints[hole][k].p[1], repair.holeBorders[hole][k]->pos.y);
        }
        EXPECT_EQ(repair.holeFaces[hole].size(), repair.holeFaceNormals[hole].size());
    }
    // The region without a border was written over, so its marks are the only ones that stay.
    EXPECT_EQ(scan.grid.at(11, 2)->flags, ring_bit);
    scan.grid.at(11, 2)->flags = scan.grid.at(11, 3)->flags = 0;
    EXPECT_TRUE(flags_clear(*scan.grid.mesh, region_bit | ring_bit));
}

TEST(BoundaryData, AppendsOnASecondCallAndStaysWithinTheRegions) {
    ThreeRegions scan;
    RepairMarkers& repair = scan.repair;
    repair.BoundaryData();
    const std::vector<std::vector<_vert*>> borders = repair.holeBorders;
    // The edges of the first call are free again, and the ring is marked as a removal marks it.
    for (int call = 0; call < 3; ++call) {
        repair.reset_edge_marks();
        for (const std::vector<_vert*>& region : repair.markRegions) {
            set_flags(region, ring_bit);
        }
        repair.BoundaryData();
    }
    EXPECT_EQ(repair.markRegions.size(), 3u);
    ASSERT_GT(repair.holeBorders.size(), borders.size());
    EXPECT_EQ(repair.holeBorders.size(), repair.holeBoundaryCount.size());
    EXPECT_EQ(repair.holeBorders[0], borders[0]);
    EXPECT_EQ(repair.holeBorders[1], borders[1]);
}

// Two markers whose regions touch leave one hole. The walk follows the other marker's ring, and the
// second region finds its edges taken.
TEST(BoundaryData, WalksOnAlongANeighbouringRing) {
    const Rect hole{4, 4, 12, 8};
    PunchedGrid grid(20, 14, {hole});
    RepairMarkers repair = repairer(*grid.mesh, {flat_marker(6, 6, 1), flat_marker(10, 6, 1)});
    std::vector<_vert*> left, right;
    for (_vert* v : grid.loop(hole)) {
        (v->pos.x < 8.0f ? left : right).push_back(v);
    }
    repair.markRegions = {left, right};
    set_flags(left, ring_bit);
    set_flags(right, ring_bit);
    repair.setPointIndex();
    repair.BoundaryData();
    ASSERT_EQ(repair.holeBorders.size(), 1u);
    EXPECT_EQ(beginning_with(repair.holeBorders[0], grid.at(4, 4)), grid.loop(hole));
    EXPECT_EQ(repair.notes.regions[1].joined_hole, 0);
}

// A region without a hole of its own belongs to the hole that most of it lies on, not to the one
// that its first vertex touches.
TEST(BoundaryData, ARegionJoinsTheHoleThatHoldsMostOfIt) {
    const Rect first{3, 3, 7, 7}, second{10, 3, 14, 7};
    PunchedGrid grid(18, 11, {first, second});
    RepairMarkers repair =
        repairer(*grid.mesh, {flat_marker(5, 5, 1), flat_marker(12, 5, 1), flat_marker(12, 5, 1)});
    std::vector<_vert*> third = grid.loop(second);
    third.insert(third.begin(), grid.at(7, 5));
    repair.markRegions = {grid.loop(first), grid.loop(second), third};
    for (const std::vector<_vert*>& region : repair.markRegions) {
        set_flags(region, ring_bit);
    }
    repair.setPointIndex();
    repair.BoundaryData();
    ASSERT_EQ(repair.holeBorders.size(), 2u);
    EXPECT_EQ(repair.notes.regions[2].joined_hole, 1);
}

} // namespace
} // namespace test
