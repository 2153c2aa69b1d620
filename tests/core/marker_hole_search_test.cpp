#include "tests/core/core_access.hpp"

namespace test {
namespace {

// The size of a marker of radius 0.
double size_with(double margin) {
    return (0.0 + margin) * 3.14 * 0.5;
}

// The least margin with which that size is at least, or above, `size`.
double margin_for(double size, bool above) {
    double margin = size / 1.57;
    while (size_with(margin) >= size) {
        margin = std::nextafter(margin, 0.0);
    }
    while (above ? size_with(margin) <= size : size_with(margin) < size) {
        margin = std::nextafter(margin, 2.0 * size);
    }
    return margin;
}

TEST(FindMarkHole, ListsTheBorderAnticlockwiseAndClearsItsMarks) {
    const Rect hole{6, 6, 10, 10};
    const PunchedGrid grid(16, 16, {hole});
    RepairMarkers repair = repairer(*grid.mesh, {flat_marker(8, 8, 2)});
    const std::vector<_vert*> loop = grid.loop(hole);
    std::vector<_vert*> region(loop.rbegin(), loop.rend());
    set_flags(region, ring_bit);
    // A vertex that has been deleted since: the corner of the sheet.
    _vert* gone = grid.at(0, 0);
    while (gone->faceCount > 0) {
        grid.mesh->faces.dele_face(gone->faces[0]);
    }
    region.insert(region.begin() + 3, gone);
    region.push_back(gone);

    std::vector<_vert*> border;
    repair.findmarkhole(region, border);
    ASSERT_EQ(border.size(), loop.size());
    EXPECT_EQ(beginning_with(border, loop[0]), loop);
    EXPECT_EQ(region, std::vector<_vert*>(loop.rbegin(), loop.rend()));
    EXPECT_TRUE(flags_clear(*grid.mesh, region_bit | seed_bit));
    EXPECT_FALSE(flags_clear(*grid.mesh, ring_bit));
    std::vector<_vert*> closed = loop;
    closed.push_back(loop[0]);
    EXPECT_EQ(count_status(grid.path(closed), 1), loop.size());

    std::vector<_vert*> all_gone(2, gone);
    std::vector<_vert*> nothing;
    repair.findmarkhole(all_gone, nothing);
    EXPECT_TRUE(all_gone.empty());
    EXPECT_TRUE(nothing.empty());
    EXPECT_EQ(gone->flags, 0);
}

// Small is what is shorter than the marker AND has less than half as many edges as the region has
// vertices. The hole has 4 edges and a perimeter of 4.
TEST(FindMarkHole, PassesOverSmallHoles) {
    const double exact = margin_for(4.0, false);
    const double above = margin_for(4.0, true);
    ASSERT_EQ(size_with(exact), 4.0);
    struct Case {
        int inner_vertices; // region vertices away from any boundary
        double margin;
        bool found;
    };
    const Case cases[] = {{5, exact, true},  {5, above, false}, {4, above, true},
                          {4, 1000.0, true}, {30, 0.0, true},   {30, 1000.0, false}};
    for (const Case& c : cases) {
        const Rect hole{6, 6, 7, 7};
        const PunchedGrid grid(40, 16, {hole});
        RepairMarkers repair = repairer(*grid.mesh, {flat_marker(6, 6, 0)}, c.margin);
        std::vector<_vert*> region = grid.loop(hole);
        for (int i = 0; i < c.inner_vertices; ++i) {
            region.push_back(grid.at(3 + i, 12));
        }
        set_flags(region, ring_bit);
        std::vector<_vert*> border;
        repair.findmarkhole(region, border);
        EXPECT_EQ(border.size(), c.found ? 4u : 0u) << c.inner_vertices << " " << c.margin;
        for (int i = 0; i < grid.mesh->edges.total() && !c.found; ++i) {
            ASSERT_EQ(edge(*grid.mesh, i)->status, 8);
        }
    }
}

// The share is a quotient in single precision, so 4 of 5 and 8 of 10 exceed 0.8.
TEST(FindMarkHole, TakesABoundaryThatRunsMostlyAlongMarkedVertices) {
    struct Case {
        bool ten_edges;
        std::vector<int> marked; // entries of the loop
        bool selected;
    };
    const Case cases[] = {{false, {0, 2}, true},
                          {false, {0, 1}, false},
                          {true, {0, 2, 4, 6}, true},
                          {true, {0, 2, 4, 5}, false},
                          {true, {}, false}};
    for (const Case& c : cases) {
        const PunchedGrid grid(
            12, 12, {c.ten_edges ? Rect{4, 4, 7, 6} : Rect{4, 4, 5, 5}},
            [&](const auto& centroid) { return !c.ten_edges && lower_triangle(centroid, 4, 5); });
        RepairMarkers repair = repairer(*grid.mesh, {flat_marker(5, 5, 1)});
        std::vector<_vert*> region =
            c.ten_edges ? grid.loop({4, 4, 7, 6})
                        : std::vector<_vert*>{grid.at(4, 4), grid.at(5, 4), grid.at(5, 5),
                                              grid.at(5, 6), grid.at(4, 5)};
        for (const int i : c.marked) {
            region[static_cast<std::size_t>(i)]->flags = ring_bit;
        }
        std::vector<_vert*> border;
        repair.findmarkhole(region, border);
        // A loop that is not selected comes back as an open chain: its seeds stay marked and the
        // edge at its end is free again.
        EXPECT_EQ(border.size(), region.size());
        EXPECT_EQ(flags_clear(*grid.mesh, seed_bit), c.selected) << c.marked.size();
        std::vector<_vert*> closed = region;
        closed.push_back(region[0]);
        EXPECT_EQ(count_status(grid.path(closed), 1), region.size() - (c.selected ? 0 : 1));
    }
}

TEST(FindMarkHole, KeepsTheRestOfAFigureOfEight) {
    const Rect a{3, 3, 8, 8}, b{8, 8, 10, 10};
    const PunchedGrid grid(14, 14, {a, b});
    RepairMarkers repair = repairer(*grid.mesh, {flat_marker(5, 5, 2)});
    std::vector<_vert*> region = grid.loop(a);
    const std::vector<_vert*> lobe = grid.loop(b);
    set_flags(lobe, ring_bit);
    set_flags(region, ring_bit);
    region.insert(region.end(), lobe.begin() + 1, lobe.end());
    std::vector<_vert*> border;
    repair.findmarkhole(region, border);
    EXPECT_EQ(beginning_with(border, grid.at(3, 3)), grid.loop(a));
    for (std::size_t i = 0; i < lobe.size(); ++i) { // free for a later walk
        EXPECT_EQ(grid.between(lobe[i], lobe[(i + 1) % lobe.size()])->status, 8);
    }
}

} // namespace
} // namespace test
