#include "tests/support/plain_normals.hpp"
#include "tests/support/test_meshes.hpp"

#include <cstring>
#include <limits>
#include <random>

namespace {

using Point = MemS::Point3v<float>;

// An open fan of `count` faces around vertex 0.
test::TestMesh fan(int count) {
    test::TestMesh mesh;
    mesh.add_vertex(0, 0, 0);
    for (int i = 0; i <= count; ++i) {
        mesh.add_vertex(std::cos(0.1 * i), std::sin(0.1 * i), 0.0);
        if (i > 0) {
            mesh.add_triangle(0, i, i + 1);
        }
    }
    return mesh;
}

bool same_bits(const Point& a, const float* b) {
    return std::memcmp(&a, b, 3 * sizeof(float)) == 0;
}

// Fails when the optimiser keeps a value wider than the float it was narrowed to.
TEST(Normals, VertexNormalHasTheBitsOfAnUnoptimisedBuild) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> component(-1.0f, 1.0f);
    for (int count = 1; count <= 9; ++count) {
        const auto mesh = test::make_mesh(fan(count));
        std::vector<float> normals(3 * static_cast<std::size_t>(count));
        for (int round = 0; round < 3000; ++round) {
            for (int i = 0; i < count; ++i) {
                Point& normal = test::face(*mesh, i)->normal;
                normal = Point(component(random), component(random), component(random));
                std::memcpy(&normals[3 * static_cast<std::size_t>(i)], &normal, sizeof(normal));
            }
            float expected[3];
            test::plain_vertex_normal(normals.data(), count, expected);
            mesh->vertices.R_cal_vector(test::vertex(*mesh, 0));
            ASSERT_TRUE(same_bits(test::vertex(*mesh, 0)->normal, expected))
                << count << " faces, round " << round;
        }
    }
}

TEST(Normals, FaceNormalHasTheBitsOfAnUnoptimisedBuild) {
    std::mt19937 random(8);
    std::uniform_real_distribution<float> coordinate(-100.0f, 100.0f);
    for (int round = 0; round < 20000; ++round) {
        float corners[9];
        for (float& c : corners) {
            c = coordinate(random);
        }
        float expected[3];
        test::plain_face_normal(corners, expected);
        const Point normal = Mesh_M::face_normal({corners[0], corners[1], corners[2]},
                                                 {corners[3], corners[4], corners[5]},
                                                 {corners[6], corners[7], corners[8]});
        ASSERT_TRUE(same_bits(normal, expected)) << "round " << round;
    }
}

TEST(Normals, DegenerateTrianglesPointUp) {
    const float up[3] = {0.0f, 0.0f, 1.0f};
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(same_bits(Mesh_M::face_normal({1, 2, 3}, {1, 2, 3}, {4, 5, 6}), up));
    EXPECT_TRUE(same_bits(Mesh_M::face_normal({nan, 0, 0}, {1, 0, 0}, {0, 1, 0}), up));
    // A cross product just above and just below a length of 1e-16, in the plane y = 0.
    EXPECT_EQ(Mesh_M::face_normal({0, 0, 0}, {1.1e-16f, 0, 0}, {0, 0, 1}).y, -1.0f);
    EXPECT_TRUE(same_bits(Mesh_M::face_normal({0, 0, 0}, {0.9e-16f, 0, 0}, {0, 0, 1}), up));
}

TEST(Normals, CancellingFacesLeaveTheFirstAndBareVerticesKeepTheirs) {
    test::TestMesh arrays = fan(2);
    arrays.add_vertex(9, 9, 9);
    const auto mesh = test::make_mesh(arrays);
    test::face(*mesh, 0)->normal = Point(0.0f, 3.0f, 0.0f);
    test::face(*mesh, 1)->normal = Point(0.0f, -3.0f, 0.0f);
    test::vertex(*mesh, 4)->normal = Point(1.0f, 2.0f, 3.0f);
    mesh->vertices.R_cal_vector();
    const float first[3] = {0.0f, 3.0f, 0.0f};
    const float kept[3] = {1.0f, 2.0f, 3.0f};
    EXPECT_TRUE(same_bits(test::vertex(*mesh, 0)->normal, first));
    EXPECT_TRUE(same_bits(test::vertex(*mesh, 4)->normal, kept));
}

} // namespace
