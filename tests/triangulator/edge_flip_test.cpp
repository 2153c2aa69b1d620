#include "tests/triangulator/holes.hpp"

namespace test {
namespace {

TEST(EdgeFlip, TurnsTheDiagonalInPlaceAndBack) {
    Hole hole(bumpy_grid(4, 4));
    const Mesh_M::MeshArrays before = to_arrays(*hole.mesh);
    for (int i = 0; i < hole.mesh->edges.total(); ++i) {
        _edge* e = edge(*hole.mesh, i);
        ASSERT_EQ(hole->can_flip(e), e->faceCount == 2);
        if (e->faceCount == 2) {
            const _edge old = *e;
            ASSERT_TRUE(hole->flip_edge(e));
            expect_sound(*hole.mesh);
            EXPECT_EQ(hole.mesh->vertices.find_edge(old.start, old.end), nullptr);
            EXPECT_NE(to_arrays(*hole.mesh).triangles, before.triangles);
            ASSERT_TRUE(hole->flip_edge(e));
            EXPECT_TRUE(e->start == old.start && e->end == old.end);
            EXPECT_EQ(to_arrays(*hole.mesh).triangles, before.triangles);
            expect_sound(*hole.mesh);
        }
    }
}

TEST(EdgeFlip, KeepsTheWindingAndRecomputesNormals) {
    Hole hole(planar_grid(4, 4));
    _edge* diagonal = hole.e(6, 12);
    hole.v(6)->normal = {1, 0, 0};
    ASSERT_TRUE(hole->flip_edge(diagonal));
    EXPECT_TRUE(same(hole.v(6)->normal, {0, 0, 1}));
    EXPECT_TRUE(same(diagonal->faces[0]->normal, {0, 0, 1}));
    EXPECT_TRUE(same(diagonal->faces[1]->normal, {0, 0, 1}));
    // After this flip 2 - 0 - 3 is a straight line, and its face takes a corner's old normal.
    Hole flat(mesh_of({{0, 0, 0}, {0, 2, 0}, {-1, 0, 0}, {1, 0, 0}}, {{0, 1, 2}, {1, 0, 3}}));
    for (int i = 0; i < 4; ++i) {
        flat.v(i)->normal = {0, 0.5f * static_cast<float>(i), 7};
    }
    ASSERT_TRUE(flat->flip_edge(flat.e(0, 1)));
    const _face* line = flat.v(0)->faces[0];
    EXPECT_TRUE(same(line->normal, {0, 0.5f * static_cast<float>(line->verts[1]->index), 7}));
}

TEST(EdgeFlip, RefusesJoinedOppositeVertices) {
    // A tetrahedron without its fourth face.
    Hole hole(
        mesh_of({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}}));
    for (int i = 0; i < 6; ++i) {
        EXPECT_FALSE(hole->can_flip(edge(*hole.mesh, i)) || hole->flip_edge(edge(*hole.mesh, i)));
    }
}

} // namespace
} // namespace test
