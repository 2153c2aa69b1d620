#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/toolkit/job/patch_bound.hpp"
#include "kelvane/toolkit/job/patch_soundness.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

using namespace KVN::toolkit;

namespace {

/// A square ring of four outer and four inner vertices with a square hole, and a patch for the
/// hole: four triangles round one new point.
struct PatchCheck : testing::Test {
    Mesh_M::Mesh mesh;
    std::vector<Mesh_R::_vert*> border;
    std::vector<Mesh_M::MyPoint3> points;
    std::vector<Mesh_M::MyFace> faces;
    std::vector<Mesh_M::MyPoint3> normals;
    std::vector<int> places{0, 1, 2, 3, -1};

    void SetUp() override {
        const float positions[] = {0, 0, 0, 3, 0, 0, 3, 3, 0, 0, 3, 0,
                                   1, 1, 0, 2, 1, 0, 2, 2, 0, 1, 2, 0};
        std::vector<std::int32_t> ring;
        for (int i = 0; i < 4; ++i) {
            const int j = (i + 1) % 4;
            ring.insert(ring.end(), {i, j, j + 4, i, j + 4, i + 4});
        }
        Mesh_M::build_mesh(mesh, positions, 8, ring.data(), 8);
        for (int i = 4; i < 8; ++i) {
            border.push_back(&mesh.vertices.at(i));
            const auto& p = mesh.vertices.at(i).pos;
            points.push_back({{p.x, p.y, p.z}});
        }
        points.push_back({{1.5, 1.5, 0.0}});
        for (int i = 0; i < 4; ++i) {
            faces.push_back({{i, (i + 1) % 4, 4}});
            normals.push_back({{0, 0, 1}});
        }
    }
    bool sound() const { return is_sound_patch(mesh, border, {points, faces, &normals, places}); }
};

} // namespace

TEST_F(PatchCheck, ADiscOverTheBorderIsSound) {
    EXPECT_TRUE(sound());
}

TEST_F(PatchCheck, AChordIsSoundUnlessTheMeshHasIt) {
    points.pop_back();
    places.pop_back();
    faces = {{{0, 1, 2}}, {{0, 2, 3}}};
    normals.resize(2);
    EXPECT_TRUE(sound());
    MemS::Point3v<float> below(1.5F, 1.5F, -1.0F);
    MemS::Point3v<float> normal(0, 0, 1);
    mesh.insert_face(border[0], border[2], mesh.vertices.insert_vert(below), normal);
    EXPECT_FALSE(sound());
}

// The last step of the border goes along the open rim: there the patch may end in points of its
// own.
TEST_F(PatchCheck, AChainMayEndInTheOpen) {
    Mesh_M::Mesh open;
    const float positions[] = {1, 1, 0, 2, 1, 0, 2, 2, 0, 1, 2, 0, 1.5, 0, 0, 3, 1.5, 0, 1.5, 3, 0};
    const std::int32_t sides[] = {0, 4, 1, 1, 5, 2, 2, 6, 3};
    Mesh_M::build_mesh(open, positions, 7, sides, 3);
    for (int i = 0; i < 4; ++i) {
        border[static_cast<std::size_t>(i)] = &open.vertices.at(i);
    }
    const auto fits = [&] {
        return is_sound_patch(open, border, {points, faces, &normals, places});
    };
    EXPECT_TRUE(fits()) << "along the straight line";
    points.push_back({{0.5, 1.5, 0.0}});
    places.push_back(-1);
    faces.back() = {{3, 5, 4}};
    faces.push_back({{5, 0, 4}});
    normals.push_back({{0, 0, 1}});
    EXPECT_TRUE(fits()) << "by way of a point of its own";
    border.clear();
    for (int i = 4; i < 8; ++i) {
        border.push_back(&mesh.vertices.at(i));
    }
    EXPECT_FALSE(sound()) << "a closed border has no such place";
    for (int i = 0; i < 4; ++i) {
        border[static_cast<std::size_t>(i)] = &open.vertices.at(i);
    }
    faces.erase(faces.begin());
    normals.pop_back();
    EXPECT_FALSE(fits()) << "a border edge is left out";
}

TEST_F(PatchCheck, FaultsAreFound) {
    const auto after = [&](auto change) {
        const auto keep_points = points;
        const auto keep_faces = faces;
        const auto keep_normals = normals;
        const auto keep_places = places;
        change();
        const bool result = sound();
        points = keep_points;
        faces = keep_faces;
        normals = keep_normals;
        places = keep_places;
        return result;
    };
    EXPECT_FALSE(after([&] { faces.clear(), normals.clear(); }));
    EXPECT_FALSE(after([&] { faces.pop_back(), normals.pop_back(); })); // a gap
    EXPECT_FALSE(after([&] { normals.pop_back(); }));
    EXPECT_FALSE(after([&] { points[4].p[2] = std::nan(""); }));
    EXPECT_FALSE(after([&] { points[4].p[2] = 1e300; })); // no float
    EXPECT_FALSE(after([&] { normals[0].p[0] = std::numeric_limits<double>::infinity(); }));
    EXPECT_FALSE(after([&] { faces[0].t_idx[2] = 5; }));
    EXPECT_FALSE(after([&] { faces[0].t_idx[2] = -1; }));
    EXPECT_FALSE(after([&] { faces[0].t_idx[1] = 0; }));
    EXPECT_FALSE(after([&] { std::swap(faces[0].t_idx[0], faces[0].t_idx[1]); })); // winding
    EXPECT_FALSE(after([&] {
        for (auto& face : faces) {
            std::swap(face.t_idx[0], face.t_idx[1]);
        }
    }));
    EXPECT_FALSE(after([&] { places = {0, 1, 2, 2, -1}; })); // two points, one vertex
    EXPECT_FALSE(after([&] { faces.push_back(faces[0]), normals.push_back(normals[0]); }));
    EXPECT_FALSE(after([&] { points.push_back(points[4]), places.push_back(-1); })); // no face
    EXPECT_TRUE(sound());
}

// The box around the border is 3 by 4 by 0, its diagonal 5.
TEST(PatchBound, IsTheDiagonalAroundTheBox) {
    Mesh_R::_vert corners[2] = {};
    corners[1].pos = {3.0F, 4.0F, 0.0F};
    const PatchBound bound({&corners[0], &corners[1]});
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::tuple<float, float, float, bool> places[] = {
        {1, 1, 4.9F, true},  {1, 1, -5.1F, false}, {-5, 0, 0, true},   {8.1F, 4, 0, false},
        {6, 8, 0.1F, false}, {6, 7.9F, 0, true},   {nan, 0, 0, false}, {0, 0, HUGE_VALF, false},
    };
    for (const auto& [x, y, z, held] : places) {
        EXPECT_EQ(bound.holds({x, y, z}), held) << x << ' ' << y << ' ' << z;
    }
}
