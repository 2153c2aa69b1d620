#include "tests/core/core_access.hpp"

namespace test {
namespace {

using KVN::Refusal;

// What the search says of one region on a sheet of 24 x 16 cells with holes.
struct TraceCase {
    const char* name;
    std::vector<Rect> holes;
    std::vector<std::array<int, 2>> region; // corners of the grid
    bool on_ring;
    float radius;
    Refusal expected; // of some walk
};

const std::vector<TraceCase> cases = {
    {"border of its own", {{8, 6, 12, 10}}, {{8, 6}, {9, 6}, {12, 10}}, true, 2, Refusal::none},
    {"no boundary near", {}, {{12, 8}, {13, 8}}, true, 2, Refusal::no_free_edge},
    {"a speck beside a large cut",
     {{8, 6, 9, 7}},
     {{8, 6}, {9, 6}, {9, 7}, {8, 7}, {10, 6}, {11, 6}, {12, 6}, {13, 6}, {14, 6}, {15, 6}},
     true,
     5,
     Refusal::too_small},
    {"hole that no cut has made", {{8, 6, 12, 10}}, {{8, 6}, {9, 6}}, false, 2, Refusal::off_ring},
    {"outline of the scan", {}, {{0, 8}, {1, 8}, {1, 9}}, true, 2, Refusal::patience_spent},
};

TEST(BorderTrace, NamesWhatStoodAgainstEveryWalk) {
    for (const TraceCase& c : cases) {
        SCOPED_TRACE(c.name);
        const PunchedGrid grid(24, 16, c.holes);
        RepairMarkers repair = repairer(*grid.mesh, {flat_marker(10, 8, c.radius)});
        repair.notes.trace.keep_walks = true;
        repair.markRegions.resize(1);
        for (const auto& [x, y] : c.region) {
            repair.markRegions[0].push_back(grid.at(x, y));
        }
        // A ring is marked all around its hole, whatever part of it the region lists.
        for (const Rect& hole : c.holes) {
            set_flags(grid.loop(hole), c.on_ring ? ring_bit : 0);
        }
        set_flags(repair.markRegions[0], c.on_ring ? ring_bit : 0);
        repair.setPointIndex();
        repair.BoundaryData();
        const std::vector<KVN::WalkTrace>& walks = repair.notes.regions[0].trace.walks;
        const auto found = std::find_if(walks.begin(), walks.end(), [&](const auto& walk) {
            return walk.verdict.refusal == c.expected;
        });
        ASSERT_NE(found, walks.end());
        EXPECT_EQ(found->vertices.size(), found->edges > 0 ? found->edges + 1u : 0u);
        EXPECT_EQ(repair.notes.regions[0].hole >= 0, c.expected == Refusal::none);
    }
}

TEST(BorderTrace, ADeadRegionIsATryToo) {
    const auto mesh = make_mesh(planar_grid(4, 4));
    RepairMarkers repair = repairer(*mesh, {flat_marker(1, 1, 1)});
    repair.markRegions = {{vertex(*mesh, 0)}};
    vertex(*mesh, 0)->status = 3;
    repair.BoundaryData();
    ASSERT_EQ(repair.notes.regions[0].trace.walks.size(), 1u);
    EXPECT_EQ(repair.notes.regions[0].trace.walks[0].verdict.refusal, Refusal::dead_region);
}

} // namespace
} // namespace test
