#include "kelvane/patch/fairing_rows.hpp"
#include "support/bi_laplace.hpp"
#include "tests/core/core_access.hpp"

#include <omp.h>

namespace test {
namespace {

using KVN::PatchFairing;

// A patch over vertices that are in the mesh already, all of them free.
struct FreeVertices {
    MyOFFDataNew patch;
    std::vector<_vert*> vertices;

    explicit FreeVertices(std::vector<_vert*> free) : vertices(std::move(free)) {
        patch.points.resize(vertices.size());
    }

    int fair(Mesh& mesh) const { return PatchFairing(&mesh, patch, vertices, 0).fair(); }
};

std::vector<_vert*> block(const Mesh& mesh, int nx, const Rect& r) {
    std::vector<_vert*> vertices;
    for (int j = r.y0; j <= r.y1; ++j) {
        for (int i = r.x0; i <= r.x1; ++i) {
            vertices.push_back(vertex(mesh, j * (nx + 1) + i));
        }
    }
    return vertices;
}

Eigen::Vector3d place(const _vert* v) {
    return {v->pos.x, v->pos.y, v->pos.z};
}

// The same equations by another road.
std::vector<Eigen::Vector3d> solve_plainly(const Mesh& mesh, const std::vector<_vert*>& free) {
    std::vector<Eigen::Vector3d> points;
    for (int i = 0; i < mesh.vertices.total(); ++i) {
        points.push_back(place(vertex(mesh, i)));
    }
    std::vector<std::array<int, 3>> triangles;
    for (int f = 0; f < mesh.faces.total(); ++f) {
        const auto& corners = face(mesh, f)->verts;
        triangles.push_back({corners[0]->index, corners[1]->index, corners[2]->index});
    }
    std::vector<int> indices;
    for (const _vert* v : free) {
        indices.push_back(v->index);
    }
    return support::solve_bi_laplace(points, triangles, indices);
}

TEST(PatchFairing, SolvesTheBiLaplaceEquation) {
    // One free vertex, a block, and two blocks with a gap that both equations reach across.
    const std::vector<std::vector<Rect>> cases = {
        {{6, 6, 6, 6}}, {{4, 4, 8, 8}}, {{3, 3, 5, 6}, {7, 3, 9, 6}}};
    for (const std::vector<Rect>& blocks : cases) {
        TestMesh arrays = bumpy_grid(12, 12, 1.0, 1.5, 9.0);
        for (std::size_t i = 0; i < arrays.positions.size(); ++i) { // obtuse triangles as well
            arrays.positions[i] += 0.35f * std::sin(12.9f * static_cast<float>(i));
        }
        const std::unique_ptr<Mesh> mesh = make_mesh(arrays);
        std::vector<_vert*> free;
        for (const Rect& r : blocks) {
            const std::vector<_vert*> part = block(*mesh, 12, r);
            free.insert(free.end(), part.rbegin(), part.rend());
        }
        // Corners of the grid have one face and no area; they are out of reach of the free ones.
        const std::vector<Eigen::Vector3d> expected = solve_plainly(*mesh, free);
        EXPECT_EQ(FreeVertices(free).fair(*mesh), 0);
        for (std::size_t i = 0; i < free.size(); ++i) {
            EXPECT_LT((place(free[i]) - expected[i]).norm(), 2e-4) << free[i]->index;
        }
        int moved = 0;
        for (int i = 0; i < mesh->vertices.total(); ++i) {
            const std::size_t k = 3 * static_cast<std::size_t>(i);
            moved +=
                bits(vertex(*mesh, i)->pos) !=
                bits(Point(arrays.positions[k], arrays.positions[k + 1], arrays.positions[k + 2]));
        }
        EXPECT_EQ(moved, static_cast<int>(free.size()));
    }
}

// Rows from stencils evaluated once against the plain recursion, to the last bit.
TEST(PatchFairing, ExpandsRowsAsTheRecursionDoes) {
    const std::unique_ptr<Mesh> made = make_mesh(bumpy_grid(12, 10));
    Mesh& mesh = *made;
    const FreeVertices free(block(mesh, 12, {3, 3, 8, 7}));
    PatchFairing plain(&mesh, free.patch, free.vertices, 0);
    std::map<_vert*, int> ids;
    for (_vert* v : free.vertices) {
        ids.emplace(v, static_cast<int>(ids.size()));
    }
    std::vector<_vert*> numbered(ids.size());
    for (const auto& [v, id] : ids) {
        numbered[id] = v;
    }
    KVN::FairingRows rows(numbered);
    std::vector<std::pair<int, double>> entries;
    for (int row = 0; row < static_cast<int>(numbered.size()); ++row) {
        plain.coefficients.clear();
        double expected[3] = {0.0, 0.0, 0.0};
        plain.computeRow(numbered[row], row, expected[0], expected[1], expected[2], 1.0, ids, 2);
        double right[3] = {0.0, 0.0, 0.0};
        rows.expand(row, entries, right);
        std::sort(entries.begin(), entries.end());
        EXPECT_EQ(std::memcmp(right, expected, sizeof right), 0) << row;
        ASSERT_EQ(entries.size(), plain.coefficients.size()) << row;
        std::size_t k = 0;
        for (const auto& [key, value] : plain.coefficients) {
            EXPECT_EQ(entries[k].first, key.second);
            EXPECT_EQ(std::memcmp(&entries[k].second, &value, sizeof value), 0) << row;
            ++k;
        }
    }
}

TEST(PatchFairing, WeightsAndAreasOfSingleTriangles) {
    struct Case {
        double x, y;         // third corner over the base (0, 0) to (1, 0)
        double weight, area; // of the base; of the third corner, in two such triangles
    };
    const Case cases[] = {
        {0.0, 1.0, 1.0, 0.25},     // acute at the third corner, right angle at the first
        {0.5, 0.5, 0.0, 0.25},     // right angle at the third corner
        {0.5, 0.25, -0.75, 0.125}, // obtuse there: half of the triangle
        {2.0, 0.5, 4.5, 0.125},    // obtuse elsewhere: a quarter
        {0.5, 1e-3, -19.1, 5e-4},  // nearly 180 degrees
        {50.0, 0.5, 19.1, 0.125},  // nearly 0
        {3.0, 0.0, 0.0, 0.0},      // no triangle at all
    };
    for (const Case& c : cases) {
        TestMesh arrays;
        arrays.add_vertex(0, 0, 0);
        arrays.add_vertex(1, 0, 0);
        arrays.add_vertex(c.x, c.y, 0);
        arrays.add_vertex(1, 0, 0);
        arrays.add_vertex(0, 0, 0);
        arrays.add_triangle(0, 1, 2);
        arrays.add_triangle(4, 3, 2);
        const std::unique_ptr<Mesh> mesh = make_mesh(arrays);
        const FreeVertices none({});
        PatchFairing fairing(mesh.get(), none.patch, none.vertices, 0);
        _edge* base = mesh->vertices.find_edge(vertex(*mesh, 0), vertex(*mesh, 1));
        const double tolerance = std::fabs(c.weight) == 19.1 ? 0.0 : 1e-6;
        EXPECT_NEAR(fairing.edgeWeight(base), c.weight, tolerance) << c.x << " " << c.y;
        EXPECT_NEAR(fairing.mixedArea(vertex(*mesh, 2)), c.area, 1e-7) << c.x << " " << c.y;
        EXPECT_EQ(fairing.mixedArea(vertex(*mesh, 0)), 0.0); // one face
    }
    const FreeVertices none({});
    const _edge bare;
    EXPECT_EQ(PatchFairing(nullptr, none.patch, none.vertices, 0).edgeWeight(&bare), 0.0);
}

TEST(PatchFairing, MovesNothingWithoutFreeVertices) {
    const std::unique_ptr<Mesh> mesh = make_mesh(planar_grid(4, 4));
    const std::vector<std::uint32_t> before = fingerprint(*mesh);
    FreeVertices none(block(*mesh, 4, {1, 1, 3, 3}));
    none.patch.freeStart = 9;
    EXPECT_EQ(none.fair(*mesh), 0);
    none.patch.freeStart = 12;
    EXPECT_EQ(none.fair(*mesh), 0);
    EXPECT_EQ(FreeVertices({}).fair(*mesh), 0);
    EXPECT_EQ(fingerprint(*mesh), before);
}

TEST(PatchFairing, RefusesInfiniteEntriesWithALine) {
    const std::unique_ptr<Mesh> mesh = make_mesh(bumpy_grid(5, 5));
    ASSERT_EQ(vertex(*mesh, 5)->faceCount, 1); // a corner with one face and so without an area
    const std::vector<std::uint32_t> before = fingerprint(*mesh);
    OutputCapture output;
    EXPECT_EQ(FreeVertices({vertex(*mesh, 4), vertex(*mesh, 21)}).fair(*mesh), -1);
    EXPECT_EQ(output.text(), "std::isinf(kv.second)\n");
    EXPECT_EQ(fingerprint(*mesh), before);
}

// So large that the areas overflow to infinity: all weights and all entries vanish.
TEST(PatchFairing, LeavesASingularSystemAloneWithoutAWord) {
    TestMesh fan;
    fan.add_vertex(0.0, 0.0, 0.0);
    for (int i = 0; i < 3; ++i) {
        fan.add_vertex(1e20 * std::cos(2.0 * pi * i / 3), 1e20 * std::sin(2.0 * pi * i / 3), 0.0);
        fan.add_triangle(0, 1 + i, 1 + (i + 1) % 3);
    }
    const std::unique_ptr<Mesh> mesh = make_mesh(fan);
    const std::vector<std::uint32_t> before = fingerprint(*mesh);
    OutputCapture output;
    EXPECT_EQ(FreeVertices({vertex(*mesh, 0)}).fair(*mesh), 0);
    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(fingerprint(*mesh), before);
}

// Two patches side by side, each within the reach of the other's equations: neither their order nor
// the number of threads may tell.
TEST(PatchFairing, NeighbouringPatchesReadThePositionsOfTheInsertion) {
    const int default_threads = omp_get_max_threads();
    std::set<std::vector<std::uint32_t>> results;
    for (const int threads : {1, 2, 8}) {
        for (const bool swapped : {false, true}) {
            const std::unique_ptr<Mesh> mesh = make_mesh(bumpy_grid(16, 12, 1.0, 1.0, 7.0));
            RepairMarkers repair = repairer(*mesh);
            std::vector<FreeVertices> patches = {
                FreeVertices(block(*mesh, 16, {3, 3, 7, 8})),
                FreeVertices(block(*mesh, 16, {8, 3, 12, 8})),
            };
            if (swapped) {
                std::swap(patches[0], patches[1]);
            }
            for (const FreeVertices& p : patches) {
                repair.patches.push_back(p.patch);
                repair.patchVerts.push_back(p.vertices);
            }
            repair.holePoints.resize(2);
            repair.holeBoundaryCount = {18, 18};
            omp_set_num_threads(threads);
            const std::vector<std::uint32_t> unfaired = fingerprint(*mesh);
            repair.fair_patches(threads, {});
            EXPECT_NE(fingerprint(*mesh), unfaired);
            results.insert(fingerprint(*mesh));
        }
    }
    omp_set_num_threads(default_threads);
    EXPECT_EQ(results.size(), 1u);
}

} // namespace
} // namespace test
