#include "tests/core/core_access.hpp"

namespace test {
namespace {

const Rect hole{3, 3, 4, 4};

TEST(GetVertexIndex, TakesTheFirstWithinTheBoxThenTheNearest) {
    const std::unique_ptr<Mesh> mesh = make_mesh(planar_grid(2, 2, 8.0));
    RepairMarkers repair = repairer(*mesh);
    std::vector<_vert*> candidates = {vertex(*mesh, 0), vertex(*mesh, 1), vertex(*mesh, 2)};
    EXPECT_EQ(repair.getVertexIndex(candidates, point(8.0005, -0.0005, 0.0005)), 1);
    EXPECT_EQ(repair.getVertexIndex(candidates, point(8.0, 0.002, 0.0)), 1);
    EXPECT_EQ(repair.getVertexIndex(candidates, point(4.0, 3.0, 0.0)), 0); // first of the nearest
    EXPECT_EQ(repair.getVertexIndex(candidates, point(100.0, 0.0, 0.0)), 2);
    // Both in the box: the first one, though the second is nearer. 0.001 itself is in the box.
    candidates[1]->pos = Point(0.0009f, 0.0f, 0.0f);
    EXPECT_EQ(repair.getVertexIndex(candidates, point(0.0009, 0.0, 0.0)), 0);
    EXPECT_EQ(repair.getVertexIndex(candidates, point(0.001, 0.0, 0.0)), 0);
    EXPECT_EQ(repair.getVertexIndex(candidates, point(0.00101, 0.0, 0.0)), 1);
    EXPECT_EQ(repair.getVertexIndex(candidates, point(nan_double, 0.0, 0.0)), 0);   // in the box
    EXPECT_EQ(repair.getVertexIndex(candidates, point(nan_double, 50.0, 0.0)), -1); // no distance
    EXPECT_EQ(repair.getVertexIndex(candidates, point(1e26, 0.0, 0.0)), -1);
    std::vector<_vert*> none;
    EXPECT_EQ(repair.getVertexIndex(none, point(0, 0, 0)), -1);
}

// A square patch with one inner point, its border points in any order and slightly off.
struct SquarePatch {
    PunchedGrid grid{8, 8, {hole}};
    std::vector<_vert*> border = grid.loop(hole);
    std::vector<MyPoint3> points = {point(3.5, 3.5, 0.0), point(4.0004, 4, 0), point(3, 4, 0.0004),
                                    point(3, 3, 0), point(4, 2.9995, 0)};
    std::vector<MyFace> faces = {triangle(1, 2, 0), triangle(2, 3, 0), triangle(3, 4, 0),
                                 triangle(4, 1, 0)};
    std::vector<MyPoint3> normals = std::vector<MyPoint3>(4, point(0.6, 0, 0.8));
    std::vector<int> borderIndices = {4, 1, 3, 2};

    std::string insert() {
        OutputCapture output;
        repairer(*grid.mesh).insertpatch_7(border, points, faces, normals, borderIndices);
        return output.text();
    }
};

TEST(InsertPatch7, MatchesBorderPointsByTheirPlace) {
    SquarePatch patch;
    Mesh& mesh = *patch.grid.mesh;
    const int vertices = mesh.vertices.total();
    const int faces = mesh.faces.liveCount;
    EXPECT_EQ(patch.insert(), "");
    EXPECT_EQ(mesh.vertices.total(), vertices + 1);
    EXPECT_EQ(vertex(mesh, vertices)->tag, 0u);
    EXPECT_EQ(mesh.faces.liveCount, faces + 4);
    EXPECT_EQ(expect_sound(mesh).boundary_edges, 32); // the sheet's own outline
    EXPECT_EQ(bits(patch.border[0]->pos), bits(Point(3, 3, 0)));
    EXPECT_EQ(bits(face(mesh, faces)->normal), bits(Point(0.6f, 0.0f, 0.8f))); // as handed in
    for (const _vert* v : patch.border) {
        EXPECT_EQ(bits(v->normal), bits(mean_normal_by_steps(*v)));
    }
}

TEST(InsertPatch7, NamesTheFirstBadIndexOfATriangle) {
    SquarePatch patch;
    patch.faces = {triangle(5, 0, -1), triangle(0, -1, 9), triangle(0, 1, 5),
                   triangle(-1, 0, 0), triangle(1, 2, 0),  triangle(3, 4, 0)};
    patch.normals.assign(6, point(0, 0, 1));
    patch.normals[0] = point(nan_double, 0, 0); // not reached
    patch.normals[4] = point(0, nan_double, 1); // only the first component is looked at
    patch.normals[5] = point(nan_double, 0, 1);
    const int faces = patch.grid.mesh->faces.liveCount;
    EXPECT_EQ(patch.insert(), "t_idx[0] < 0 || t_idx[0] >last_addVertexIndex\n"
                              "t_idx[1] < 0 || t_idx[1] >last_addVertexIndex\n"
                              "t_idx[2] < 0 || t_idx[2] >last_addVertexIndex\n"
                              "t_idx[0] < 0 || t_idx[0] >last_addVertexIndex\n"
                              "tnormal(Fn[i].p[0], Fn[i].p[1], Fn[i].p[2]) nan\n");
    EXPECT_EQ(patch.grid.mesh->faces.liveCount, faces + 2);
    expect_sound(*patch.grid.mesh);
}

// A triangle that exists already is not made again, but its vertices get its normal. It shows where
// the pass over the normals ends early: at the first point without a face.
TEST(InsertPatch7, OverwritesNormalsOfAnExistingTriangle) {
    const PunchedGrid grid(4, 4, {});
    std::vector<_vert*> border = {grid.at(1, 1), grid.at(2, 1), grid.at(2, 2), grid.at(3, 3)};
    std::vector<MyPoint3> points = {point(3, 3, 0), point(9, 9, 9), point(1, 1, 0), point(2, 1, 0),
                                    point(2, 2, 0)};
    grid.at(3, 3)->normal = Point(1, 0, 0);
    std::vector<MyFace> faces = {triangle(2, 3, 4)};
    std::vector<MyPoint3> normals = {point(0, 0.6, 0.8)};
    std::vector<int> borderIndices = {0, 2, 3, 4};
    const int live = grid.mesh->faces.liveCount;
    repairer(*grid.mesh).insertpatch_7(border, points, faces, normals, borderIndices);
    EXPECT_EQ(grid.mesh->faces.liveCount, live);
    EXPECT_EQ(bits(grid.at(3, 3)->normal), bits(Point(0, 0, 1)));       // before the bare vertex
    EXPECT_EQ(bits(grid.at(2, 1)->normal), bits(Point(0, 0.6f, 0.8f))); // behind it
}

} // namespace
} // namespace test
