#include "toolkit_support.hpp"

#include "kelvane/toolkit/measure/scan_info.hpp"

#include <limits>

using namespace KVN::toolkit;

namespace {

/// n x n vertices at distance 1 in the plane z = 0, without the cells for which `missing` is true.
template <class Missing>
Scan grid(std::int32_t n, Missing missing) {
    Scan scan;
    for (std::int32_t j = 0; j < n; ++j) {
        for (std::int32_t i = 0; i < n; ++i) {
            scan.positions.insert(scan.positions.end(), {float(i), float(j), 0.0F});
            if (i + 1 < n && j + 1 < n && !missing(i, j)) {
                const std::int32_t a = j * n + i;
                scan.triangles.insert(scan.triangles.end(),
                                      {a, a + 1, a + n + 1, a, a + n + 1, a + n});
            }
        }
    }
    return scan;
}

} // namespace

TEST(ScanInfo, CountsAndBoundsOfASheetWithAHole) {
    const ScanInfo info = scan_info(grid(6, [](int i, int j) { return i == 2 && j == 2; }));
    EXPECT_EQ(info.vertices, 36);
    EXPECT_EQ(info.faces, 48);
    EXPECT_EQ(info.edges, 84);
    EXPECT_EQ(info.boundary_edges, 20 + 4);
    EXPECT_EQ(info.boundary_loops, 2);
    EXPECT_EQ(info.components, 1);
    EXPECT_EQ(info.edge_lengths.min, 1.0);
    EXPECT_EQ(info.edge_lengths.median, 1.0);
    EXPECT_NEAR(info.edge_lengths.max, 1.41421356, 1e-6);
    EXPECT_NEAR(info.edge_lengths.mean, (60 + 24 * 1.41421356) / 84, 1e-6);
    EXPECT_EQ(info.upper, (std::array<float, 3>{5.0F, 5.0F, 0.0F}));
}

// Two holes that touch in a vertex are two loops, and so is a hole that touches the rim.
TEST(ScanInfo, LoopsThatTouchCountApart) {
    const auto corner_to_corner = [](int i, int j) { return i == j && (i == 1 || i == 2); };
    EXPECT_EQ(scan_info(grid(6, corner_to_corner)).boundary_loops, 3);
    const auto at_the_rim = [](int i, int j) { return (i == 0 && j == 0) || (i == 1 && j == 1); };
    EXPECT_EQ(scan_info(grid(6, at_the_rim)).boundary_loops, 2);
}

TEST(ScanInfo, WhatIsWrongIsCounted) {
    Scan scan;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    scan.positions = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, -1, 0, nan, 0, 0, 7, 7, 7};
    // A fin of three faces on the edge (0, 1), a face far away over a vertex that is not finite.
    scan.triangles = {0, 1, 2, 0, 1, 3, 0, 1, 4, 2, 0, 1, 3, 3, 4, 0, 1, 99, 5, 5, 5};
    scan.short_faces = 2;
    const ScanInfo info = scan_info(scan);
    EXPECT_EQ(info.non_manifold_edges, 1);
    EXPECT_EQ(info.loaded.inserted, 3);
    EXPECT_EQ(info.loaded.duplicate, 1);
    EXPECT_EQ(info.loaded.degenerate, 2);
    EXPECT_EQ(info.loaded.out_of_range, 1);
    EXPECT_EQ(info.short_faces, 2);
    EXPECT_EQ(info.non_finite_vertices, 1);
    EXPECT_EQ(info.isolated_vertices, 2);
    EXPECT_EQ(info.components, 1);
    EXPECT_EQ(info.upper, (std::array<float, 3>{7.0F, 7.0F, 7.0F}));
}
