#include "tests/core/core_access.hpp"

namespace test {
namespace {

std::vector<_vert*> joined(std::initializer_list<std::vector<_vert*>> parts) {
    std::vector<_vert*> all;
    for (const std::vector<_vert*>& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// Splits the walk and checks what must hold after every split: the walk as it was, one remainder
// in walking order at status 1, everything that was cut out and every vertex at 8.
void expect_split(const PunchedGrid& grid, const std::vector<_vert*>& along,
                  const std::vector<_edge*>& expected) {
    RepairMarkers repair = repairer(*grid.mesh);
    std::vector<_edge*> walk = grid.path(along);
    for (_edge* e : walk) {
        ASSERT_NE(e, nullptr);
        e->status = 1;
    }
    const std::vector<_edge*> before = walk;
    std::vector<_edge*> work;
    std::vector<std::vector<_edge*>> loops(3);
    repair.check_hole_split(work, walk, loops);
    EXPECT_EQ(walk, before);
    ASSERT_EQ(loops.size(), 1u);
    EXPECT_EQ(loops[0], expected);
    for (const _edge* e : walk) {
        const bool kept = std::find(expected.begin(), expected.end(), e) != expected.end();
        EXPECT_EQ(e->status, kept ? 1 : 8);
        EXPECT_EQ(e->start->status, 8);
        EXPECT_EQ(e->end->status, 8);
    }
}

// A closed path beginning at `first`: the loop and its first vertex again.
std::vector<_vert*> closed_from(const PunchedGrid& grid, const Rect& hole, _vert* first) {
    std::vector<_vert*> loop = beginning_with(grid.loop(hole), first);
    loop.push_back(first);
    return loop;
}

TEST(CheckHoleSplit, LeavesASimpleLoopAlone) {
    const Rect hole{3, 3, 6, 5};
    const PunchedGrid grid(10, 10, {hole});
    const std::vector<_vert*> along = closed_from(grid, hole, grid.at(4, 3));
    expect_split(grid, along, grid.path(along));
}

TEST(CheckHoleSplit, CutsTheLobeOfAFigureOfEight) {
    const Rect a{2, 2, 5, 5}, b{5, 5, 8, 8};
    const PunchedGrid grid(12, 12, {a, b});
    const std::vector<_vert*> outer = grid.loop(a); // from (2, 2); the pinch vertex is entry 6
    ASSERT_EQ(outer[6], grid.at(5, 5));
    const std::vector<_vert*> along = joined({{outer.begin(), outer.begin() + 6},
                                              closed_from(grid, b, outer[6]),
                                              {outer.begin() + 7, outer.end()},
                                              {outer[0]}});
    expect_split(grid, along, grid.path(closed_from(grid, a, outer[0])));
}

TEST(CheckHoleSplit, CutsALobeWithinALobe) {
    const Rect a{2, 2, 5, 5}, b{5, 5, 8, 8}, c{8, 8, 11, 11};
    const PunchedGrid grid(14, 14, {a, b, c});
    const std::vector<_vert*> outer = grid.loop(a);
    const std::vector<_vert*> middle = grid.loop(b); // from its pinch vertex with a
    ASSERT_EQ(middle[6], grid.at(8, 8));
    const std::vector<_vert*> along = joined({{outer.begin(), outer.begin() + 6},
                                              {middle.begin(), middle.begin() + 6},
                                              closed_from(grid, c, middle[6]),
                                              {middle.begin() + 7, middle.end()},
                                              {outer[6]},
                                              {outer.begin() + 7, outer.end()},
                                              {outer[0]}});
    expect_split(grid, along, grid.path(closed_from(grid, a, outer[0])));
}

// Three triangle holes around one vertex: after the first cut it still has two runs.
TEST(CheckHoleSplit, KeepsCountOfAVertexWithThreeRuns) {
    const PunchedGrid grid(10, 10, {}, [](const auto& c) {
        return lower_triangle(c, 5, 5) || lower_triangle(c, 4, 5) || lower_triangle(c, 4, 4);
    });
    _vert* p = grid.at(5, 5);
    ASSERT_EQ(p->edgeCount - p->faceCount, 3);
    const std::vector<_vert*> along = {
        grid.at(6, 5), grid.at(6, 6), p, grid.at(5, 6), grid.at(4, 5), p,
        grid.at(4, 4), grid.at(5, 4), p, grid.at(6, 5)};
    expect_split(grid, along, grid.path({grid.at(6, 5), grid.at(6, 6), p, grid.at(6, 5)}));
}

TEST(CheckHoleSplit, DoesNotCutAReturnAfterTwoEdges) {
    const Rect a{2, 2, 5, 5}, b{5, 5, 8, 8};
    const PunchedGrid grid(12, 12, {a, b});
    _vert* p = grid.at(5, 5);
    const std::vector<_vert*> along = {grid.at(5, 3), grid.at(5, 4), p, grid.at(6, 5), p,
                                       grid.at(4, 5), grid.at(3, 5)};
    expect_split(grid, along, grid.path(along));
}

} // namespace
} // namespace test
