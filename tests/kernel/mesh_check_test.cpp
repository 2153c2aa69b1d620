#include "tests/support/test_meshes.hpp"

#include <functional>
#include <string>

namespace {

using Mesh_M::Mesh;

struct Damage {
    std::string fault; ///< part of the words in which it must be told
    std::function<void(Mesh&)> apply;
};

// The sheet of 3 by 3 cells has vertex 5 in its middle: six faces, six edges.
const std::vector<Damage>& damages() {
    using namespace test;
    static const std::vector<Damage> all = {
        {"liveCount is 19", [](Mesh& m) { ++m.faces.liveCount; }},
        {"face 4 has status 1", [](Mesh& m) { face(m, 4)->status = 1; }},
        {"edge 6 has status 2", [](Mesh& m) { edge(m, 6)->status = 2; }},
        {"vertex 15 has status 0", [](Mesh& m) { vertex(m, 15)->status = 0; }},
        {"face 0 has the deleted vertex 0", [](Mesh& m) { vertex(m, 0)->status = 3; }},
        {"has the deleted edge 6", [](Mesh& m) { edge(m, 6)->status = 3; }},
        {"edge 0 lists face 0, which is deleted", [](Mesh& m) { face(m, 0)->status = 3; }},
        {"face 0 has a vertex twice", [](Mesh& m) { face(m, 0)->verts[1] = vertex(m, 0); }},
        {"face 0 has a vertex outside", [](Mesh& m) { face(m, 0)->verts[2] = nullptr; }},
        {"face 0 has an edge outside", [](Mesh& m) { face(m, 0)->edges[2] = nullptr; }},
        {"face 0 has no edge between", [](Mesh& m) { face(m, 0)->edges[1] = edge(m, 9); }},
        {"is not in the list of vertex 5", [](Mesh& m) { vertex(m, 5)->faceCount = 0; }},
        {"edge 1 is not in the list of vertex 5", [](Mesh& m) { vertex(m, 5)->edgeCount = 0; }},
        {"is not in the list of edge 1", [](Mesh& m) { edge(m, 1)->faceCount = 1; }},
        {"edge 33 has no face",
         [](Mesh& m) {
             auto* wire = m.edges.insert_edge(vertex(m, 0), vertex(m, 15));
             m.vertices.insert_edge(wire);
         }},
        {"edge 0 has two faces over the same",
         [](Mesh& m) { m.edges.insert_face(edge(m, 0), face(m, 0)); }},
        {"vertex 5 lists a face twice",
         [](Mesh& m) { m.vertices.insert_face(vertex(m, 5), face(m, 0)); }},
        {"vertex 5 has two edges to the same",
         [](Mesh& m) { m.vertices.insert_edge(vertex(m, 5), vertex(m, 5)->edges[0]); }},
        {"vertex 5 lists edge 0, which is deleted or elsewhere",
         [](Mesh& m) { m.vertices.insert_edge(vertex(m, 5), edge(m, 0)); }},
        {"edge 0 lists face 17, which is deleted or elsewhere",
         [](Mesh& m) { m.edges.insert_face(edge(m, 0), face(m, 17)); }},
    };
    return all;
}

TEST(MeshCheck, EveryDamageIsToldWithItsRecord) {
    ASSERT_TRUE(Mesh_M::check_mesh(*test::make_mesh(test::planar_grid(3, 3))).sound());
    for (const Damage& damage : damages()) {
        const auto mesh = test::make_mesh(test::planar_grid(3, 3));
        damage.apply(*mesh);
        const std::string fault = Mesh_M::check_mesh(*mesh).fault;
        EXPECT_NE(fault.find(damage.fault), std::string::npos)
            << "expected: " << damage.fault << "\ntold: " << fault;
    }
}

TEST(MeshCheck, CountsWhatTheSurfaceIs) {
    const auto torus = test::expect_sound(*test::make_mesh(test::torus(20, 10, 10, 3)));
    EXPECT_EQ(torus.live_vertices - torus.live_edges + torus.live_faces, 0);
    EXPECT_EQ(torus.boundary_edges, 0);
    const auto tube = test::expect_sound(*test::make_mesh(test::cylinder(20, 10, 10, 3)));
    EXPECT_EQ(tube.boundary_edges, 40);
    EXPECT_EQ(tube.pinch_vertices, 0);

    // Two opposite corners of the middle vertex cut away: a pinch.
    const test::TestMesh bow = test::without_triangles(
        test::planar_grid(2, 2), [](const auto& c) { return (c[0] < 1) != (c[1] < 1); });
    const auto pinch = test::expect_sound(*test::make_mesh(bow));
    EXPECT_EQ(pinch.live_faces, 4);
    EXPECT_EQ(pinch.pinch_vertices, 1);
}

} // namespace
