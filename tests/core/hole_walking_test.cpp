#include "tests/core/core_access.hpp"

namespace test {
namespace {

// Two square holes that share the corner (5, 5).
const Rect lower_hole{2, 2, 5, 5};
const Rect upper_hole{5, 5, 8, 8};

TEST(NextEdge, PrefersTheRegionThenARingThenAnyFreeBoundary) {
    const PunchedGrid grid(12, 12, {lower_hole, upper_hole});
    RepairMarkers repair = repairer(*grid.mesh);
    _vert* pinch = grid.at(5, 5);
    _edge* arriving = grid.between(grid.at(5, 4), pinch);
    const std::vector<_vert*> others = {grid.at(4, 5), grid.at(6, 5), grid.at(5, 6)};
    ASSERT_EQ(pinch->edgeCount - pinch->faceCount, 2);

    for (_vert* in_region : others) {
        for (_vert* on_ring : others) {
            pinch->flags = region_bit | ring_bit;
            on_ring->flags = ring_bit;
            in_region->flags |= region_bit;
            EXPECT_EQ(repair.nextedge(arriving, pinch), grid.between(pinch, in_region));
            in_region->flags &= static_cast<std::uint8_t>(~region_bit);
            EXPECT_EQ(repair.nextedge(arriving, pinch), grid.between(pinch, on_ring));
            set_flags(others, 0);
            on_ring->flags = in_region->flags = 0;
        }
    }
    pinch->flags = 0;
    for (std::size_t walked = 0; walked < others.size(); ++walked) {
        _edge* next = repair.nextedge(arriving, pinch);
        ASSERT_NE(next, nullptr);
        EXPECT_NE(next, arriving);
        next->status = 1;
    }
    EXPECT_EQ(repair.nextedge(arriving, pinch), nullptr);
    EXPECT_EQ(repair.nextedge(nullptr, pinch), nullptr);
    EXPECT_EQ(repair.nextedge(arriving, nullptr), nullptr);
}

TEST(GetHole, WalksAClosedBoundaryWithTheHoleOnItsLeft) {
    for (const std::uint8_t flag : {std::uint8_t{0}, region_bit}) {
        const PunchedGrid grid(6, 6, {}, [](const auto& c) { return lower_triangle(c, 2, 2); });
        RepairMarkers repair = repairer(*grid.mesh);
        const std::vector<_vert*> corners = {grid.at(2, 2), grid.at(3, 2), grid.at(3, 3)};
        set_flags(corners, flag);
        std::vector<_edge*> walk;
        repair.gethole(corners[1], walk, 3);
        ASSERT_EQ(walk.size(), 3u);
        EXPECT_EQ(count_status(walk, 1), 3u);
        EXPECT_TRUE(repair.check_hole_anticlock(walk));
        std::vector<_edge*> backwards(walk.rbegin(), walk.rend());
        EXPECT_FALSE(repair.check_hole_anticlock(backwards));

        std::vector<_edge*> again;
        repair.gethole(corners[0], again, 3);
        repair.gethole(grid.at(5, 5), again, 3); // an inner vertex
        repair.gethole(nullptr, again, 3);
        EXPECT_TRUE(again.empty());
    }
}

// Along the lower rim of a sheet that faces up a walk runs towards smaller x.
TEST(GetHole, StopsAfterTooLongAStretchAwayFromTheMarker) {
    struct Case {
        int region_vertices;
        int marked_at; // a ring vertex of another marker, or -1
        int expected_edges;
    };
    // 4 edges in the region, one that leaves it, and one more than the patience without a mark.
    const Case cases[] = {{10, -1, 4 + 1 + 21},  {69, -1, 4 + 1 + 21},        {70, -1, 4 + 1 + 22},
                          {200, -1, 4 + 1 + 61}, {10, 85, 104 - 85 + 1 + 21}, {10, 60, 4 + 1 + 21}};
    for (const Case& c : cases) {
        const PunchedGrid grid(120, 2, {});
        RepairMarkers repair = repairer(*grid.mesh);
        for (int i = 100; i <= 104; ++i) {
            grid.at(i, 0)->flags = region_bit;
        }
        if (c.marked_at >= 0) {
            grid.at(c.marked_at, 0)->flags = ring_bit;
        }
        std::vector<_edge*> walk;
        repair.gethole(grid.at(104, 0), walk, c.region_vertices);
        EXPECT_EQ(static_cast<int>(walk.size()), c.expected_edges) << c.region_vertices;
        EXPECT_EQ(walk.front(), grid.between(grid.at(104, 0), grid.at(103, 0)));
        EXPECT_EQ(count_status(walk, 1), walk.size());
    }
}

TEST(GetHole, MovesItsStartOffAPinchVertex) {
    const PunchedGrid grid(12, 12, {lower_hole, upper_hole});
    RepairMarkers repair = repairer(*grid.mesh);
    const std::vector<_vert*> loop = grid.loop(upper_hole); // begins at the pinch vertex
    set_flags(loop, ring_bit);
    set_flags({loop[0], loop[1]}, region_bit); // so that the walk starts on the edge between them
    std::vector<_edge*> walk;
    repair.gethole(loop[1], walk, 12);
    // Comes around to the edge that it skipped and stops before it.
    std::vector<_vert*> along(loop.begin() + 1, loop.end());
    along.push_back(loop[0]);
    EXPECT_EQ(walk, grid.path(along));
    EXPECT_EQ(count_status(walk, 1), 11u);
    EXPECT_EQ(grid.between(loop[0], loop[1])->status, 8);
}

TEST(CheckHoleAnticlock, NeedsMoreThanFourFifthsOfTheEdges) {
    struct Case {
        Rect hole;
        bool with_triangle; // the cell's neighbour loses a triangle as well: 5 edges
        int turned;
        bool expected;
    };
    const Case cases[] = {{{2, 2, 3, 3}, true, 0, true},
                          {{2, 2, 3, 3}, true, 1, false},
                          {{2, 2, 5, 4}, false, 1, true},
                          {{2, 2, 5, 4}, false, 2, false}};
    for (const Case& c : cases) {
        const PunchedGrid grid(9, 9, {c.hole}, [&](const auto& centroid) {
            return c.with_triangle && lower_triangle(centroid, 2, 3);
        });
        RepairMarkers repair = repairer(*grid.mesh);
        std::vector<_edge*> walk;
        repair.gethole(grid.at(2, 2), walk, 10);
        ASSERT_EQ(walk.size(), c.with_triangle ? 5u : 10u);
        std::set<_face*> turned;
        for (_edge* e : walk) {
            _face* f = e->faces[0];
            const bool alone = std::count_if(walk.begin(), walk.end(), [f](const _edge* other) {
                                   return other->faces[0] == f;
                               }) == 1;
            if (alone && static_cast<int>(turned.size()) < c.turned && turned.insert(f).second) {
                std::swap(f->verts[0], f->verts[1]);
            }
        }
        ASSERT_EQ(static_cast<int>(turned.size()), c.turned);
        EXPECT_EQ(repair.check_hole_anticlock(walk), c.expected) << walk.size() << " " << c.turned;
    }
    const PunchedGrid grid(2, 2, {});
    std::vector<_edge*> none;
    EXPECT_FALSE(repairer(*grid.mesh).check_hole_anticlock(none));
}

} // namespace
} // namespace test
