#include "tests/core/core_access.hpp"

namespace test {
namespace {

RepairMarkers cutter(Mesh& mesh, float* blocks, int count) {
    std::vector<Marker> none;
    return RepairMarkers(&mesh, none, 0.0, 0, blocks, count);
}

TEST(DeleteBlocks, CutsEveryFaceWithAVertexInASphere) {
    const std::unique_ptr<Mesh> mesh = make_mesh(planar_grid(12, 12));
    float blocks[] = {3,       3,  0, 0.5f, /**/ 8,         8, 0, 1.2f,
                      /**/ 30, 30, 0, 2,    /**/ nan_float, 3, 0, 9};
    vertex(*mesh, 3 * 13 + 3)->normal = Point(0.0f, 0.0f, -1.0f); // facing does not matter
    const auto in_a_block = [](const _vert* v) {
        return std::hypot(v->pos.x - 3, v->pos.y - 3) < 0.5 ||
               std::hypot(v->pos.x - 8, v->pos.y - 8) < 1.2;
    };
    std::vector<bool> doomed;
    for (int f = 0; f < mesh->faces.total(); ++f) {
        const auto& corners = face(*mesh, f)->verts;
        doomed.push_back(std::any_of(corners, corners + 3, in_a_block));
    }
    RepairMarkers repair = cutter(*mesh, blocks, 4);
    EXPECT_EQ(repair.deleteblocks(), mesh.get());
    for (int f = 0; f < mesh->faces.total(); ++f) {
        EXPECT_EQ(face(*mesh, f)->status == 3, doomed[static_cast<std::size_t>(f)]);
    }
    const int left = mesh->faces.liveCount;
    EXPECT_EQ(vertex(*mesh, 3 * 13 + 3)->status, 3);
    EXPECT_EQ(vertex(*mesh, 3 * 13 + 3)->flags, ring_bit);
    EXPECT_EQ(vertex(*mesh, 3 * 13 + 4)->flags, 0);
    EXPECT_TRUE(repair.markRegions.empty());
    expect_sound(*mesh);
    EXPECT_EQ(repair.deleteblocks(), mesh.get()); // deleted records are left alone
    EXPECT_EQ(mesh->faces.liveCount, left);
}

TEST(DeleteBlocks, ReadsNoBlockWhereThereIsNone) {
    const std::unique_ptr<Mesh> mesh = make_mesh(planar_grid(4, 4));
    for (const int count : {0, -3}) {
        EXPECT_EQ(cutter(*mesh, nullptr, count).deleteblocks(), mesh.get());
    }
    EXPECT_EQ(mesh->faces.liveCount, 32);
    float block[] = {0, 0, 0, 1};
    Mesh empty;
    EXPECT_EQ(cutter(empty, block, 1).deleteblocks(), nullptr);
    std::vector<Marker> none;
    EXPECT_EQ(RepairMarkers(nullptr, none, 0.0, 0, block, 1).deleteblocks(), nullptr);
}

} // namespace
} // namespace test
