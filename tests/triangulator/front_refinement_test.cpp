#include "tests/triangulator/holes.hpp"

namespace test {
namespace {

/// A lone triangle with edges of length 1: its corners are 0.57735 from the centroid, and sqrt(2)
/// times that is 0.8165.
struct LoneTriangle : Hole {
    std::vector<_face*> faces{face(*mesh, 0)};
    std::vector<_edge*> inner;

    LoneTriangle()
        : Hole(mesh_of({{0, 0, 0}, {1, 0, 0}, {0.5, std::sqrt(0.75), 0}}, {{0, 1, 2}})) {}
    int split(float a, float b, float c) {
        v(0)->localSize = a;
        v(1)->localSize = b;
        v(2)->localSize = c;
        return triangulator->split_large_faces(faces, inner);
    }
};

TEST(PatchRefinement, TouchesNothingItNeedNot) {
    LoneTriangle lone;
    std::vector<_face*> none;
    lone.v(0)->flags = 0x63;
    lone->refine_patch(none);
    EXPECT_EQ(lone.v(0)->flags, 0x63);
    lone->refine_patch(lone.faces); // the sizes become 1
    EXPECT_EQ(lone.mesh->faces.total(), 1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_FLOAT_EQ(lone.v(i)->localSize, 1.0f);
        EXPECT_EQ(edge(*lone.mesh, i)->flags, 0x41);
        EXPECT_EQ(lone.v(i)->flags & 0x60, 0);
    }
}

TEST(PatchRefinement, SplitsOnlyIfAllCornersAgree) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(LoneTriangle().split(0.81f, 0.81f, 0.81f), 2);
    EXPECT_EQ(LoneTriangle().split(0.0f, 0.0f, 0.0f), 2);
    EXPECT_EQ(LoneTriangle().split(0.82f, 0.82f, 0.82f), 0);
    EXPECT_EQ(LoneTriangle().split(0.1f, 0.1f, 0.82f), 0);
    EXPECT_EQ(LoneTriangle().split(0.1f, nan, 0.1f), 0);
    LoneTriangle low; // the reach of its third corner, 0.28, is below the mean size
    low.v(2)->pos.y = 0.3f;
    EXPECT_EQ(low.split(0.7f, 0.7f, 0.27f), 0);
    EXPECT_EQ(low.split(0.25f, 0.25f, 0.27f), 2);
}

TEST(PatchRefinement, ASplitSetsSizeFlagsAndNormal) {
    LoneTriangle lone;
    _face* parent = lone.faces[0];
    parent->flags = 0x11;
    parent->normal = {0, 0, 3};
    EXPECT_EQ(lone.split(0.5f, 0.25f, 0.75f), 2);
    EXPECT_EQ(parent->status, Mesh_R::status_deleted);
    ASSERT_TRUE(lone.faces.size() == 4 && lone.inner.size() == 3);
    EXPECT_TRUE(lone.v(3)->localSize == 0.5f && lone.v(3)->flags == 0);
    for (int k = 0; k < 3; ++k) {
        const _face* f = lone.faces[static_cast<std::size_t>(k) + 1];
        EXPECT_TRUE(f->flags == 0x11 && same(f->normal, {0, 0, 3}));
        EXPECT_EQ(lone.e(k, 3)->flags, 0);
        EXPECT_EQ(lone.e(k, (k + 1) % 3)->flags, 1);
    }
    expect_sound(*lone.mesh);
}

TEST(PatchRefinement, RelaxationTakesShorterDiagonalsOnly) {
    // A flat quadrilateral: diagonal 0-1 of length `tall`, the other one of length 2.
    const auto flips = [](double tall) {
        Hole hole(mesh_of({{0, -tall / 2, 0}, {0, tall / 2, 0}, {-1, 0, 0}, {1, 0, 0}},
                          {{0, 1, 2}, {1, 0, 3}}));
        hole->relax_edges({hole.e(0, 1)});
        EXPECT_EQ(hole.e(0, 1) == nullptr, hole.e(2, 3) != nullptr);
        expect_sound(*hole.mesh);
        return hole.e(2, 3) != nullptr;
    };
    EXPECT_TRUE(flips(2.1));
    EXPECT_TRUE(flips(2.00001));
    EXPECT_FALSE(flips(2.0));
    EXPECT_FALSE(flips(2.0000005)); // shorter, but by no more than the factor 0.999999
    EXPECT_FALSE(flips(1.5));
    EXPECT_FALSE(flips(std::numeric_limits<double>::quiet_NaN()));
}

} // namespace
} // namespace test
