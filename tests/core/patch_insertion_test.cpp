#include "tests/core/core_access.hpp"

namespace test {
namespace {

MyOFFDataNew patch_of(std::vector<MyPoint3> points, std::vector<MyFace> faces, int borderCount) {
    MyOFFDataNew patch;
    patch.points = std::move(points);
    patch.faces = std::move(faces);
    patch.borderCount = patch.freeStart = borderCount;
    return patch;
}

// Puts a patch behind the border on a mesh. Returns the patch's vertices.
std::vector<_vert*> insert(Mesh& mesh, const std::vector<_vert*>& border,
                           const MyOFFDataNew& patch) {
    RepairMarkers repair = repairer(mesh);
    repair.holeBorders = {{}, border};
    repair.patchVerts.resize(2);
    repair.insertpatch_new(1, patch);
    EXPECT_TRUE(repair.patchVerts[0].empty());
    return repair.patchVerts[1];
}

const Rect hole{3, 3, 4, 4};

TEST(InsertPatchNew, JoinsThePatchThroughTheBorderVertices) {
    const PunchedGrid grid(8, 8, {hole});
    const std::vector<_vert*> border = grid.loop(hole);
    const int old_vertices = grid.mesh->vertices.total();
    const int old_faces = grid.mesh->faces.liveCount;
    const Mesh_M::MeshCheck before = expect_sound(*grid.mesh);
    // Border coordinates of the patch are not read; the two inner points stay apart.
    const MyPoint3 inner = point(3.6, 3.5, 0.1 + 1e-12);
    const std::vector<_vert*> slots = insert(
        *grid.mesh, border,
        patch_of(
            {point(9, 9, 9), point(nan_double, 0, 0), point(0, 0, 0), point(1, 1, 1), inner, inner},
            {triangle(0, 1, 4), triangle(1, 2, 4), triangle(2, 3, 4), triangle(3, 0, 5),
             triangle(0, 4, 5), triangle(4, 3, 5), triangle(1, 2, 4), triangle(4, 2, 1)},
            4));
    ASSERT_EQ(slots.size(), 6u);
    EXPECT_EQ(std::vector<_vert*>(slots.begin(), slots.begin() + 4), border);
    EXPECT_EQ(bits(border[0]->pos), bits(Point(3, 3, 0)));
    for (int k = 4; k < 6; ++k) {
        EXPECT_EQ(slots[k], vertex(*grid.mesh, old_vertices + k - 4));
        EXPECT_EQ(slots[k]->tag, 0xFFFF0008u);
        EXPECT_EQ(slots[k]->flags, 0);
        EXPECT_EQ(bits(slots[k]->pos), bits(Point(3.6f, 3.5f, 0.1f)));
    }
    EXPECT_EQ(border[0]->tag, 0u);
    EXPECT_EQ(grid.mesh->faces.liveCount, old_faces + 6); // the repeated ones were there already
    const Mesh_M::MeshCheck after = expect_sound(*grid.mesh);
    EXPECT_EQ(after.boundary_edges, before.boundary_edges - 4);
    EXPECT_EQ(after.non_manifold_edges, 0);
    for (int i = old_faces; i < old_faces + 6; ++i) {
        const _face* f = face(*grid.mesh, i);
        EXPECT_EQ(bits(f->normal),
                  bits(normal_by_steps(f->verts[0]->pos, f->verts[1]->pos, f->verts[2]->pos)));
    }
    for (const _vert* v : slots) {
        EXPECT_EQ(bits(v->normal), bits(mean_normal_by_steps(*v)));
    }
    EXPECT_EQ(bits(face(*grid.mesh, old_faces + 4)->normal), bits(Point(0, 0, 1))); // no area
}

TEST(InsertPatchNew, NamesNullBorderVerticesAndGoesOn) {
    const PunchedGrid grid(8, 8, {hole});
    std::vector<_vert*> border = grid.loop(hole);
    border[1] = border[3] = nullptr;
    const int old_faces = grid.mesh->faces.liveCount;
    OutputCapture output;
    const std::vector<_vert*> slots =
        insert(*grid.mesh, border,
               patch_of({MyPoint3(), MyPoint3(), MyPoint3(), MyPoint3(), point(3.5, 3.5, 1)},
                        {triangle(0, 1, 4), triangle(0, 2, 4)}, 4));
    EXPECT_EQ(output.text(), "V_all_org[ith][i] == nullptr\nV_all_org[ith][i] == nullptr\n");
    EXPECT_EQ(slots[1], nullptr);
    EXPECT_EQ(slots[2], border[2]);
    EXPECT_EQ(grid.mesh->faces.liveCount, old_faces + 1); // not the one without a vertex
    expect_sound(*grid.mesh);
}

// The pass ends at the first vertex without a face, here the first of all: the others keep what the
// triangles gave them, and a triangle that exists already gives nothing.
TEST(InsertPatchNew, EndsTheNormalPassAtAVertexWithoutFaces) {
    const PunchedGrid grid(8, 8, {{3, 3, 6, 6}});
    _vert* bare = grid.at(4, 4);
    ASSERT_EQ(bare->faceCount, 0);
    const std::vector<_vert*> border = {bare,          grid.at(3, 3), grid.at(4, 3),
                                        grid.at(0, 0), grid.at(1, 0), grid.at(1, 1)};
    const Point before(0.5f, 0.25f, 0.125f);
    for (_vert* v : border) {
        v->normal = before;
    }
    std::vector<MyPoint3> points(6);
    points.push_back(point(3.5, 3.25, 0.5));
    const std::vector<_vert*> slots =
        insert(*grid.mesh, border, patch_of(points, {triangle(1, 2, 6), triangle(5, 3, 4)}, 6));
    EXPECT_EQ(bits(bare->normal), bits(Point(0, 0, 0)));
    const Point made = normal_by_steps(slots[1]->pos, slots[2]->pos, slots[6]->pos);
    for (const int k : {1, 2, 6}) {
        EXPECT_EQ(bits(slots[k]->normal), bits(made));
    }
    for (const int k : {3, 4, 5}) {
        EXPECT_EQ(bits(slots[k]->normal), bits(before));
    }
}

TEST(InsertPatchNew, PassesOverDeletedVerticesAndTakesTheFirstFaceWhereTheMeanVanishes) {
    const std::unique_ptr<Mesh> mesh = make_mesh(planar_grid(1, 1));
    face(*mesh, 0)->normal = Point(0.0f, 0.6f, 0.8f);
    face(*mesh, 1)->normal = Point(0.0f, -0.6f, -0.8f);
    _vert gone;
    gone.status = 3;
    gone.normal = Point(5, 5, 5);
    const std::vector<_vert*> border = {&gone, vertex(*mesh, 0), vertex(*mesh, 3)};
    insert(*mesh, border, patch_of({MyPoint3(), MyPoint3(), MyPoint3()}, {}, 3));
    EXPECT_EQ(bits(gone.normal), bits(Point(5, 5, 5)));
    EXPECT_EQ(bits(border[1]->normal), bits(border[1]->faces[0]->normal));
    EXPECT_EQ(bits(border[2]->normal), bits(border[2]->faces[0]->normal));
}

// Every single rounding of the mean: sum in single, division in double, narrowed, length of the
// narrowed vector.
TEST(InsertPatchNew, RoundsVertexNormalsStepByStep) {
    const std::unique_ptr<Mesh> mesh = make_mesh(planar_grid(30, 30));
    std::uint32_t state = 12345;
    const auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return static_cast<float>(state >> 8) / 8388608.0f - 1.0f;
    };
    for (int i = 0; i < mesh->faces.total(); ++i) {
        face(*mesh, i)->normal = Point(next(), next(), next());
    }
    std::vector<_vert*> border;
    for (int i = 0; i < mesh->vertices.total(); ++i) {
        border.push_back(vertex(*mesh, i));
    }
    insert(*mesh, border,
           patch_of(std::vector<MyPoint3>(border.size()), {}, static_cast<int>(border.size())));
    for (const _vert* v : border) {
        ASSERT_EQ(bits(v->normal), bits(mean_normal_by_steps(*v))) << v->index;
    }
}

} // namespace
} // namespace test
