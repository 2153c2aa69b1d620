// Markers on the open rim. Along the lower rim of a sheet that faces up, walks run towards smaller
// x; along the upper rim towards larger x.
#include "tests/core/core_access.hpp"

namespace test {
namespace {

// A stretch of rim vertices as the region of a marker, with inner vertices to make it larger.
struct RimRegion {
    PunchedGrid grid;
    std::vector<_vert*> stretch; // in walking order
    std::vector<_vert*> region;

    RimRegion(int first, int last, int inner_vertices, int nx = 400) : grid(nx, 4, {}) {
        for (int i = first; i >= last; --i) {
            stretch.push_back(grid.at(i, 0));
        }
        region = stretch;
        for (int i = 0; i < inner_vertices; ++i) {
            region.push_back(grid.at(1 + i % (nx - 1), 1 + i / (nx - 1)));
        }
        set_flags(region, region_bit | ring_bit);
    }

    // The walk is not to go beyond rim vertex `i`.
    void stop_walk_at(int i) { grid.between(grid.at(i, 0), grid.at(i - 1, 0))->status = 1; }

    std::vector<_vert*> find(const Marker& marker) {
        RepairMarkers repair = repairer(*grid.mesh, {marker});
        std::vector<_vert*> border;
        const std::vector<_vert*> before = region;
        repair.unclosedhole(region, border);
        EXPECT_EQ(region, before);
        return border;
    }

    std::size_t walked() const {
        std::size_t count = 0;
        for (int i = 0; i < grid.mesh->edges.total(); ++i) {
            count += edge(*grid.mesh, i)->status == 1;
        }
        return count;
    }
};

// A marker above the middle of a stretch from x = first to x = last, which spans `degrees` of it.
Marker seeing(double degrees, double first, double last) {
    const double half = (first - last) / 2.0;
    const double height = half / std::tan(degrees * pi / 360.0);
    return {static_cast<float>((first + last) / 2.0), static_cast<float>(height), 0, 0, 0, 1, 1};
}

TEST(UnclosedHole, GivesTheStretchUpToTheLastRegionVertex) {
    RimRegion rim(230, 220, 0);
    EXPECT_EQ(rim.find(flat_marker(0, 0, 1)), rim.stretch);
    EXPECT_EQ(rim.walked(), 10u); // the rim beyond is free again
    EXPECT_EQ(rim.grid.at(230, 0)->flags, region_bit | ring_bit | seed_bit);
    EXPECT_EQ(rim.grid.at(220, 0)->flags, region_bit | ring_bit | seed_bit);
    EXPECT_EQ(rim.grid.at(225, 0)->flags, region_bit | ring_bit);

    RimRegion marked_all_around(230, 220, 0); // no place at which the boundary leaves the rings
    set_flags({marked_all_around.grid.at(231, 0), marked_all_around.grid.at(219, 0)}, ring_bit);
    EXPECT_TRUE(marked_all_around.find(flat_marker(225, 0, 1)).empty());
}

TEST(UnclosedHole, JudgesAChainByItsShareOfTheRegionOrByItsArc) {
    struct Case {
        int chain;          // vertices
        int inner_vertices; // of the region, besides the chain
        double degrees;     // seen from the marker
        bool accepted;
    };
    const Case cases[] = {
        {8, 2, 20.0, true},  // exactly 0.8 of the region: no arc test
        {8, 3, 20.0, false}, // less
        {8, 3, 149.0, false}, {8, 3, 151.0, true},
        {6, 20, 151.0, true}, {5, 20, 170.0, false}, // too short for the arc test
        {4, 1, 20.0, true},                          // but not for the share
    };
    for (const Case& c : cases) {
        RimRegion rim(230, 231 - c.chain, c.inner_vertices);
        const std::vector<_vert*> chain = rim.find(seeing(c.degrees, 230, 231 - c.chain));
        EXPECT_EQ(chain, c.accepted ? rim.stretch : std::vector<_vert*>())
            << c.chain << " of " << c.inner_vertices << " more, " << c.degrees;
        EXPECT_EQ(rim.walked(), c.accepted ? rim.stretch.size() - 1 : 0u);
    }
}

// A bay of 12 x 4 cells in the rim: its outline runs from one corner on the rim to the other.
TEST(UnclosedHole, CountsTheLongWayAroundTheCentre) {
    struct Case {
        float y;
        bool accepted;
    };
    // From deep in the bay its ends are 127 degrees apart over the open side, and the outline spans
    // the other 233; from just inside, the 170 degrees are taken as they are; from far above, the
    // outline spans no more than its ends.
    const Case cases[] = {{3.0f, true}, {0.5f, true}, {30.0f, false}};
    for (const Case& c : cases) {
        const PunchedGrid grid(60, 12, {{14, 0, 26, 4}});
        std::vector<_vert*> outline = grid.loop({14, 0, 26, 4});
        outline.erase(outline.begin() + 1, outline.begin() + 12); // the open side
        outline = beginning_with(outline, grid.at(26, 0));
        set_flags(outline, region_bit | ring_bit);
        std::vector<_vert*> region = outline;
        for (int i = 0; i < 8; ++i) {
            region.push_back(grid.at(30 + i, 8));
        }
        std::vector<_vert*> border;
        repairer(*grid.mesh, {flat_marker(20.0f, c.y, 1.0f)}).unclosedhole(region, border);
        EXPECT_EQ(border, c.accepted ? outline : std::vector<_vert*>()) << c.y;
    }
}

TEST(UnclosedHole, RejectsWalksThatAreShortForTheRegion) {
    struct Case {
        int region_vertices;
        bool accepted;
    };
    // A walk of 21 edges, 7 of them along the chain; 0.7 * 30 is 21.
    const Case cases[] = {{30, true}, {31, false}};
    for (const Case& c : cases) {
        RimRegion rim(230, 223, c.region_vertices - 8);
        rim.stop_walk_at(230 - 21);
        const std::vector<_vert*> chain = rim.find(seeing(170.0, 230, 223));
        EXPECT_EQ(chain.size(), c.accepted ? 8u : 0u);
        EXPECT_EQ(rim.walked(), c.accepted ? 1u + 7u : 1u); // with the edge that stops the walk
    }
}

// A walk of more than 100 edges gets the final say though it was rejected for a region this large.
TEST(UnclosedHole, TakesUpALongWalkAgain) {
    for (const int edges : {100, 101}) {
        for (const double degrees : {149.0, 151.0}) {
            RimRegion rim(230, 223, 400);
            rim.stop_walk_at(230 - edges);
            const bool accepted = edges > 100 && degrees > 150.0;
            const std::vector<_vert*> chain = rim.find(seeing(degrees, 230, 223));
            EXPECT_EQ(chain.size(), accepted ? 8u : 0u) << edges << " " << degrees;
        }
    }
}

// The lower rim has a short stretch of this region and a long one of other rings, the upper rim a
// chain that is long enough. The long walk has the last word and does not pass.
TEST(UnclosedHole, LetsALongWalkReplaceAnAcceptedChain) {
    for (const bool long_walk : {false, true}) {
        RimRegion rim(230, 224, 0);
        for (int i = 223; long_walk && i > 120; --i) {
            rim.grid.at(i, 0)->flags = ring_bit;
        }
        std::vector<_vert*> upper;
        for (int i = 100; i < 140; ++i) {
            upper.push_back(rim.grid.at(i, 4));
        }
        set_flags(upper, region_bit | ring_bit);
        rim.region.insert(rim.region.end(), upper.begin(), upper.end());
        if (!long_walk) { // the walk along the lower rim is then too short for the region
            rim.stop_walk_at(220);
        }
        const std::vector<_vert*> chain = rim.find(flat_marker(227, 100, 1));
        EXPECT_EQ(chain, long_walk ? std::vector<_vert*>() : upper);
        EXPECT_EQ(rim.walked(), long_walk ? upper.size() - 1 : upper.size());
    }
}

} // namespace
} // namespace test
