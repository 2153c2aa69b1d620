#include "tests/triangulator/holes.hpp"

#include <set>

namespace test {
namespace {

std::set<std::set<const _vert*>> face_sets(const Mesh_M::Mesh& mesh) {
    std::set<std::set<const _vert*>> sets;
    for (int i = 0; i < mesh.faces.total(); ++i) {
        const _face* f = face(mesh, i);
        sets.insert({f->verts[0], f->verts[1], f->verts[2]});
    }
    return sets;
}

TEST(EdgeFlip, TurnsTheDiagonalInPlaceAndBack) {
    Hole hole(bumpy_grid(4, 4));
    const auto before = face_sets(*hole.mesh);
    int flipped = 0;
    for (int i = 0; i < hole.mesh->edges.total(); ++i) {
        _edge* e = edge(*hole.mesh, i);
        if (!hole->can_flip(e)) {
            EXPECT_FALSE(hole->flip_edge(e));
            continue;
        }
        ++flipped;
        _vert* const ends[2] = {e->start, e->end};
        _face* const faces[2] = {e->faces[0], e->faces[1]};
        ASSERT_TRUE(hole->flip_edge(e));
        expect_sound(*hole.mesh);
        EXPECT_EQ(hole.mesh->vertices.find_edge(ends[0], ends[1]), nullptr);
        EXPECT_TRUE(e->faces[0] == faces[0] && e->faces[1] == faces[1]);
        EXPECT_NE(face_sets(*hole.mesh), before);
        ASSERT_TRUE(hole->flip_edge(e));
        EXPECT_EQ(face_sets(*hole.mesh), before);
        EXPECT_TRUE(e->start == ends[0] && e->end == ends[1]);
        expect_sound(*hole.mesh);
    }
    EXPECT_EQ(flipped, 40); // every inner edge
}

TEST(EdgeFlip, KeepsTheWindingAndRecomputesNormals) {
    Hole hole(planar_grid(4, 4));
    _edge* diagonal = hole.e(6, 12);
    ASSERT_TRUE(hole->flip_edge(diagonal));
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
