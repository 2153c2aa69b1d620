#include "tests/triangulator/holes.hpp"

namespace test {
namespace {

/// 4 by 4 unit cells; vertex 12 is the middle, 13 its neighbour on the right.
struct Sheet : Hole {
    Sheet() : Hole(planar_grid(4, 4)) {}
};

TEST(SplitEdge, PutsTheMidpointIntoItsFaces) {
    Sheet sheet;
    sheet.e(12, 13)->faces[0]->flags = 0x10;
    sheet->split_edge(sheet.e(12, 13));
    const _vert* hub = sheet.v(25);
    EXPECT_TRUE(same(hub->pos, {2.5f, 2.0f, 0.0f}));
    EXPECT_EQ(sheet.e(12, 13), nullptr);
    ASSERT_TRUE(hub->edgeCount == 4 && hub->faceCount == 4 && hub->flags == 0);
    int marked = 0;
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(hub->edges[k]->flags, 0);
        marked += hub->faces[k]->flags == 0x10 ? 1 : 0;
    }
    EXPECT_EQ(marked, 2);
    sheet->split_edge(sheet.e(0, 1)); // on the open rim the new vertex is kept
    EXPECT_TRUE(sheet.v(26)->flags == 1 && sheet.v(26)->faceCount == 2);
    EXPECT_EQ(expect_sound(*sheet.mesh).boundary_edges, 17);
}

TEST(SplitLongEdges, TakesFreeEdgesBeyondTheLimitOnly) {
    Sheet sheet;
    sheet.e(12, 13)->flags = 0; // length 1
    sheet->split_long_edges(1.0f);
    sheet->split_long_edges(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(sheet.mesh->vertices.total(), 25);
    MemS::Point3v<float> up(0, 0, 1);
    _face* fin = sheet.mesh->insert_face(sheet.v(12), sheet.v(13), sheet.v(0), up);
    sheet.e(0, 12)->flags = sheet.e(0, 13)->flags = 1;
    sheet->split_long_edges(0.5f); // three faces
    EXPECT_EQ(sheet.mesh->vertices.total(), 25);
    sheet.mesh->faces.dele_face(fin);
    sheet->split_long_edges(std::nextafter(1.0f, 0.0f));
    EXPECT_GT(sheet.mesh->vertices.total(), 25);
    expect_sound(*sheet.mesh);
}

TEST(CollapseShortEdges, MovesEveryFaceOfAHighValenceVertexOver) {
    // With many faces most are met in vacated slots of the removed vertex's list.
    for (const int valence : {4, 5, 9, 16, 33}) {
        TestMesh fan = ring_around(valence, [=](int i, bool outer) {
            return on_circle(outer ? 2 : 1, double(i) / valence);
        });
        const int hub = fan.add_vertex(0, 0, 0);
        for (int i = 0; i < valence; ++i) {
            fan.add_triangle(i, (i + 1) % valence, hub);
        }
        Hole hole(fan);
        hole.v(hub)->flags = 0;
        hole.e(0, hub)->flags = 0;
        hole->collapse_short_edges(1.0f); // not below the length
        EXPECT_EQ(hole.mesh->faces.liveCount, 3 * valence);
        hole->collapse_short_edges(std::nextafter(1.0f, 2.0f));
        EXPECT_EQ(hole.mesh->faces.liveCount, 3 * valence - 2);
        EXPECT_EQ(hole.v(hub)->status, Mesh_R::status_deleted);
        EXPECT_TRUE(same(hole.v(0)->pos, {1, 0, 0}));
        const Mesh_M::MeshCheck check = expect_sound(*hole.mesh);
        EXPECT_EQ(check.boundary_edges, valence);
        EXPECT_EQ(check.live_vertices - check.live_edges + check.live_faces, 1); // still a disc
    }
}

TEST(CanCollapse, NeedsAFreeEndClosedFansAndNoSharedNeighbour) {
    Sheet sheet;
    EXPECT_FALSE(sheet->can_collapse(sheet.e(12, 13))); // both kept
    sheet.v(12)->flags = sheet.v(6)->flags = 0;
    EXPECT_TRUE(sheet->can_collapse(sheet.e(12, 13)));
    EXPECT_FALSE(sheet->can_collapse(sheet.e(6, 1))); // 1 lies on the rim
    for (const int i : {12, 13}) {                    // a third common neighbour
        _edge* e = sheet.mesh->edges.insert_edge(sheet.v(i), sheet.v(24));
        sheet.mesh->vertices.insert_edge(e);
        e->faceCount = 2;
    }
    EXPECT_FALSE(sheet->can_collapse(sheet.e(12, 13)));
}

TEST(FlipLowersValence, WeighsTheSquaredDeviations) {
    // Sets the counts at the ends of an edge and at its opposite vertices; list contents only
    // matter for whether a vertex lies on the rim.
    const auto lowers = [](int from, int to, std::array<int, 4> counts) {
        Sheet sheet;
        _edge* e = sheet.e(from, to);
        _vert* verts[4] = {e->start, e->end, nullptr, nullptr};
        for (int k = 0; k < 2; ++k) {
            for (_vert* v : e->faces[k]->verts) {
                verts[2 + k] = v != e->start && v != e->end ? v : verts[2 + k];
            }
        }
        for (std::size_t k = 0; k < 4; ++k) {
            while (verts[k]->edgeCount < counts[k]) {
                sheet.mesh->vertices.insert_edge(verts[k], verts[k]->edges[0]);
            }
            verts[k]->edgeCount = static_cast<std::int16_t>(counts[k]);
        }
        return sheet->flip_lowers_valence(e);
    };
    EXPECT_FALSE(lowers(7, 12, {5, 7, 6, 6}));
    EXPECT_TRUE(lowers(7, 12, {7, 7, 5, 5}));
    EXPECT_FALSE(lowers(7, 12, {7, 7, 6, 6})); // 2 against 2
    EXPECT_TRUE(lowers(7, 12, {8, 7, 6, 6}));
    // Around the corner cell 0, 1 and 5 lie on the rim, where four edges are regular.
    EXPECT_FALSE(lowers(0, 6, {7, 6, 5, 4}));
    EXPECT_TRUE(lowers(0, 6, {8, 6, 5, 4}));
}

} // namespace
} // namespace test
