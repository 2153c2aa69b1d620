#include "tests/core/core_access.hpp"

namespace test {
namespace {

// A sheet with a hole, ready for the whole-hole paths.
struct OneHole {
    const Rect hole{7, 7, 11, 10};
    PunchedGrid grid{18, 18, {hole}};
    RepairMarkers repair = repairer(*grid.mesh, {flat_marker(9, 8.5f, 1)});

    OneHole() {
        repair.markRegions = {grid.loop(hole)};
        set_flags(repair.markRegions[0], ring_bit);
        repair.setPointIndex();
        repair.BoundaryData();
        repair.holeRingIndices.resize(1);
        repair.reset_edge_marks();
    }

    // Inserts what a whole-hole path left and expects a closed sheet.
    void expect_closed() {
        EXPECT_EQ(repair.holeRingIndices[0].size(), 14u);
        EXPECT_EQ(repair.holeFaces[0].size(), repair.holeFaceNormals[0].size());
        repair.insertpatch_7(repair.holeBorders[0], repair.holePoints[0], repair.holeFaces[0],
                             repair.holeFaceNormals[0], repair.holeRingIndices[0]);
        const Mesh_M::MeshCheck check = expect_sound(*grid.mesh);
        EXPECT_EQ(check.boundary_edges, 72); // the outline of the sheet
        EXPECT_EQ(check.non_manifold_edges, 0);
        for (int i = 19 * 19; i < grid.mesh->vertices.total(); ++i) {
            EXPECT_NEAR(vertex(*grid.mesh, i)->pos.z, 0.0, 1e-5);
        }
    }
};

TEST(WholeHoleRepair, BothPathsCloseTheHole) {
    OneHole high;
    const std::vector<std::uint32_t> before = fingerprint(*high.grid.mesh);
    EXPECT_EQ(high.repair.Repair_High_Resolution(0), 0);
    EXPECT_EQ(fingerprint(*high.grid.mesh), before); // the mesh itself only on insertion
    high.expect_closed();

    OneHole low;
    EXPECT_EQ(low.repair.Repair_Low_Resolution(0), 0);
    EXPECT_EQ(fingerprint(*low.grid.mesh), before);
    low.expect_closed();
}

// A slot that holds fewer points than the border had, from whatever reason, is read to its end
// only.
TEST(WholeHoleRepair, ReadsNothingBehindAShortSlot) {
    for (const std::size_t left : {std::size_t{0}, std::size_t{2}}) {
        for (const bool low : {false, true}) {
            OneHole scan;
            scan.repair.holePoints[0].resize(left);
            scan.repair.holeFaces[0].clear();
            scan.repair.holeFaceNormals[0].clear();
            EXPECT_EQ(low ? scan.repair.Repair_Low_Resolution(0)
                          : scan.repair.Repair_High_Resolution(0),
                      0);
            EXPECT_TRUE(scan.repair.holeFaces[0].empty());
            scan.repair.holePoints[0].resize(left);
            scan.repair.patches.resize(1);
            scan.repair.fill_hole(0);
            EXPECT_TRUE(scan.repair.patches[0].points.empty());
        }
    }
}

TEST(RebuildMesh, NumbersVerticesAsPointsAndLeavesOutBadTriangles) {
    OneHole scan;
    RepairMarkers& repair = scan.repair;
    repair.holeBoundaryCount[0] = 3;
    repair.holePoints[0] = {point(0, 0, 0), point(1, 0, 1e-9), point(1, 1, 0), point(0, 1, 0)};
    repair.holeFaces[0] = {triangle(0, 1, 2), triangle(0, 2, 4), triangle(-1, 2, 3),
                           triangle(0, 2, 3), triangle(1, 2, 3)};
    repair.holeFaceNormals[0] = {point(0.1, 0.2, 0.3), point(0, 0, 1), point(0, 0, 1),
                                 point(nan_double, 0, 1), point(0, nan_double, 1)};
    Mesh target;
    std::vector<_vert*> border;
    repair.rebuildmesh(&target, border, 0);
    ASSERT_EQ(target.vertices.total(), 4);
    EXPECT_EQ(border,
              (std::vector<_vert*>{vertex(target, 0), vertex(target, 1), vertex(target, 2)}));
    EXPECT_EQ(bits(vertex(target, 1)->pos), bits(Point(1.0f, 0.0f, 1e-9f)));
    ASSERT_EQ(target.faces.liveCount, 2);
    EXPECT_EQ(bits(face(target, 0)->normal), bits(Point(0.1f, 0.2f, 0.3f)));
    expect_sound(target);

    // Back into flat vectors: appended, deleted faces left out, border vertices whatever their
    // state.
    target.faces.dele_face(face(target, 0));
    ASSERT_EQ(vertex(target, 0)->status, 3);
    std::vector<double> triangles = {7.0};
    std::vector<double> flat_border = {8.0};
    repair.Dataconvert(&target, 2, triangles, flat_border);
    ASSERT_EQ(triangles.size(), 13u);
    EXPECT_EQ(std::vector<double>(triangles.begin() + 4, triangles.end()),
              (std::vector<double>{1, 0, 1e-9f, 1, 1, 0, 0, 1, 0}));
    EXPECT_EQ(flat_border, (std::vector<double>{8, 0, 0, 0, 1, 0, 1e-9f}));

    repair.holeFaces[0].clear();
    repair.holeFaceNormals[0].clear();
    Mesh points_only;
    border.clear();
    repair.rebuildmesh(&points_only, border, 0);
    EXPECT_EQ(points_only.vertices.total(), 4);
    EXPECT_EQ(points_only.faces.total(), 0);
}

} // namespace
} // namespace test
