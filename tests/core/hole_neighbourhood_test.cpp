#include "tests/core/core_access.hpp"

namespace test {
namespace {

struct Neighbourhood {
    std::vector<MyPoint3> points;
    std::vector<MyFace> faces;
    std::vector<MyPoint3> normals;
    std::map<int, int> vertexMap;
    int boundaryCount = -1;

    void gather(Mesh& mesh, std::vector<_vert*>& border) {
        RepairMarkers repair = repairer(mesh);
        repair.setPointIndex();
        repair.HoleNeighbor7(border, points, faces, normals, vertexMap, boundaryCount);
    }
};

bool at(const MyPoint3& p, const Point& pos) {
    return p.p[0] == pos.x && p.p[1] == pos.y && p.p[2] == pos.z;
}

// The faces with a corner within `rings` - 1 steps of the border.
std::set<const _face*> band(const std::vector<_vert*>& border, int rings) {
    std::set<const _vert*> reached(border.begin(), border.end());
    std::set<const _face*> faces;
    for (int ring = 0; ring < rings; ++ring) {
        for (const _vert* v : std::set<const _vert*>(reached)) {
            for (int i = 0; i < v->faceCount; ++i) {
                faces.insert(v->faces[i]);
                reached.insert(v->faces[i]->verts, v->faces[i]->verts + 3);
            }
        }
    }
    return faces;
}

TEST(HoleNeighbor7, IsARingWiderWhereTheBorderIsFine) {
    // Mean edge lengths of the border, in mesh units. Single precision must not take 0.2 for less.
    struct Case {
        double step;
        int rings;
    };
    for (const Case& c : {Case{0.1, 4}, Case{0.1999, 4}, Case{0.25, 3}, Case{1.0, 3}}) {
        const TestMesh arrays = without_triangles(
            bumpy_grid(20, 14, c.step, 1e-3 * c.step, 7.0),
            [&](const std::array<double, 3>& centroid) {
                return Rect{3, 6, 6, 8}.holds({centroid[0] / c.step, centroid[1] / c.step, 0.0});
            });
        const std::unique_ptr<Mesh> mesh = make_mesh(arrays);
        std::vector<_vert*> border;
        for (const int i : {0, 1, 2, 3, 24, 45, 44, 43, 42, 21}) {
            border.push_back(vertex(*mesh, 6 * 21 + 3 + i));
        }
        Neighbourhood hole;
        hole.points.resize(5); // leftovers of another hole
        hole.faces.resize(5);
        hole.vertexMap[77] = 77;
        hole.gather(*mesh, border);

        EXPECT_EQ(hole.boundaryCount, 10);
        const std::set<const _face*> expected = band(border, c.rings);
        ASSERT_EQ(hole.faces.size(), expected.size()) << c.step;
        ASSERT_EQ(hole.normals.size(), expected.size());
        std::set<const _vert*> corners(border.begin(), border.end());
        for (const _face* f : expected) {
            corners.insert(f->verts, f->verts + 3);
        }
        ASSERT_EQ(hole.points.size(), corners.size());
        EXPECT_EQ(hole.vertexMap.size(), corners.size());
        for (std::size_t k = 0; k < border.size(); ++k) {
            EXPECT_TRUE(at(hole.points[k], border[k]->pos));
        }
        EXPECT_TRUE(flags_clear(*mesh, 0xFF));
        // Every gathered triangle is a face of the band, corner for corner, with its own normal.
        std::map<std::array<int, 3>, MyPoint3> gathered;
        for (std::size_t f = 0; f < hole.faces.size(); ++f) {
            const int* corner = hole.faces[f].t_idx;
            gathered[{corner[0], corner[1], corner[2]}] = hole.normals[f];
        }
        for (const _face* f : expected) {
            std::array<int, 3> local{};
            for (std::size_t k = 0; k < 3; ++k) {
                local[k] = hole.vertexMap.at(f->verts[k]->index);
                EXPECT_TRUE(at(hole.points[static_cast<std::size_t>(local[k])], f->verts[k]->pos));
            }
            EXPECT_TRUE(at(gathered.at(local), f->normal));
        }
    }
}

TEST(HoleNeighbor7, NumbersARepeatedBorderVertexTwice) {
    const std::unique_ptr<Mesh> mesh = make_mesh(planar_grid(8, 8));
    _vert* repeated = vertex(*mesh, 40);
    std::vector<_vert*> border = {vertex(*mesh, 31), repeated, vertex(*mesh, 41), repeated};
    Neighbourhood hole;
    hole.gather(*mesh, border);
    EXPECT_EQ(hole.boundaryCount, 4);
    EXPECT_TRUE(at(hole.points[1], repeated->pos));
    EXPECT_TRUE(at(hole.points[3], repeated->pos));
    EXPECT_EQ(hole.vertexMap.at(repeated->index), 1);
    EXPECT_EQ(hole.vertexMap.size() + 1, hole.points.size());
    for (const auto& [index, local] : hole.vertexMap) { // numbers still tell places
        EXPECT_TRUE(at(hole.points[static_cast<std::size_t>(local)], vertex(*mesh, index)->pos));
    }
}

TEST(HoleBoundaryAverLength, SumsTheClosedLoopInSinglePrecision) {
    const std::unique_ptr<Mesh> mesh = make_mesh(bumpy_grid(20, 20, 0.3, 1.0, 3.7));
    std::vector<_vert*> border;
    for (int i = 0; i < 300; ++i) {
        border.push_back(vertex(*mesh, (i * 37) % 441));
    }
    volatile float sum = 0.25f; // the caller's start value counts
    for (std::size_t i = 0; i < border.size(); ++i) {
        const Point& a = border[i]->pos;
        const Point& b = border[(i + 1) % border.size()]->pos;
        volatile float squared = 0.0f;
        for (const float d : {a.x - b.x, a.y - b.y, a.z - b.z}) {
            volatile float square = d * d;
            squared = squared + square;
        }
        sum = sum + std::sqrt(static_cast<float>(squared));
    }
    float average = 0.25f;
    repairer(*mesh).HoleBoundaryAverLength(border, average);
    EXPECT_EQ(average, sum / 300.0f);
}

} // namespace
} // namespace test
