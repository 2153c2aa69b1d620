#include "tests/support/test_meshes.hpp"

#include <cstring>
#include <limits>
#include <map>
#include <new>
#include <random>
#include <set>
#include <stdexcept>
#include <string>

#ifdef __linux__
#include <sys/resource.h>
#endif

namespace {

using Mesh_M::BuildReport;
using Mesh_M::Mesh;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using test::TestMesh;

// What build_mesh must come out as: every triangle through the single operations.
BuildReport insert_one_by_one(Mesh& mesh, const TestMesh& arrays) {
    BuildReport report;
    const auto count = static_cast<std::int32_t>(arrays.vertex_count());
    for (std::size_t i = 0; i < arrays.vertex_count(); ++i) {
        const float* p = &arrays.positions[3 * i];
        MemS::Point3v<float> position(p[0], p[1], p[2]);
        mesh.vertices.insert_vert(position);
    }
    std::set<std::set<std::int32_t>> known;
    for (std::size_t i = 0; i < arrays.triangle_count(); ++i) {
        const std::int32_t* t = &arrays.triangles[3 * i];
        const std::set<std::int32_t> key(t, t + 3);
        if (*key.begin() < 0 || *key.rbegin() >= count) {
            ++report.out_of_range;
        } else if (key.size() < 3) {
            ++report.degenerate;
        } else if (known.count(key) > 0) {
            ++report.duplicate;
        } else {
            _vert* v[3] = {test::vertex(mesh, t[0]), test::vertex(mesh, t[1]),
                           test::vertex(mesh, t[2])};
            MemS::Point3v<float> normal = Mesh_M::face_normal(v[0]->pos, v[1]->pos, v[2]->pos);
            if (mesh.insert_face(v[0], v[1], v[2], normal) != nullptr) {
                ++report.inserted;
                known.insert(key);
            } else {
                ++report.overfull;
            }
        }
    }
    mesh.vertices.R_cal_vector();
    return report;
}

/// Compares two meshes record by record, pointers by the places that they point to.
class Comparison {
  public:
    Comparison(const Mesh& first, const Mesh& second) : a(first), b(second) {
        number(a.vertices, a_vertices);
        number(b.vertices, b_vertices);
        number(a.edges, a_edges);
        number(b.edges, b_edges);
        number(a.faces, a_faces);
        number(b.faces, b_faces);
    }

    void expect_same() {
        ASSERT_EQ(a.vertices.total(), b.vertices.total());
        ASSERT_EQ(a.edges.total(), b.edges.total());
        ASSERT_EQ(a.faces.total(), b.faces.total());
        EXPECT_EQ(a.faces.liveCount, b.faces.liveCount);
        EXPECT_EQ(a.faces.fullBlocks, b.faces.fullBlocks);
        for (std::int32_t i = 0; i < a.vertices.total(); ++i) {
            const _vert& v = a.vertices.at(i);
            const _vert& w = b.vertices.at(i);
            ASSERT_EQ(std::memcmp(&v.pos, &w.pos, sizeof(v.pos)), 0) << "vertex " << i;
            ASSERT_EQ(std::memcmp(&v.normal, &w.normal, sizeof(v.normal)), 0) << "vertex " << i;
            ASSERT_TRUE(v.index == w.index && v.status == w.status && v.flags == w.flags);
            ASSERT_TRUE(same(v.edges, v.edgeCount, w.edges, w.edgeCount, a_edges, b_edges))
                << "edges of vertex " << i;
            ASSERT_TRUE(same(v.faces, v.faceCount, w.faces, w.faceCount, a_faces, b_faces))
                << "faces of vertex " << i;
        }
        for (std::int32_t i = 0; i < a.edges.total(); ++i) {
            const _edge& e = a.edges.at(i);
            const _edge& f = b.edges.at(i);
            ASSERT_EQ(a_vertices.at(e.start), b_vertices.at(f.start)) << "edge " << i;
            ASSERT_EQ(a_vertices.at(e.end), b_vertices.at(f.end)) << "edge " << i;
            ASSERT_EQ(e.status, f.status);
            ASSERT_TRUE(same(e.faces, e.faceCount, f.faces, f.faceCount, a_faces, b_faces))
                << "faces of edge " << i;
        }
        for (std::int32_t i = 0; i < a.faces.total(); ++i) {
            const _face& f = a.faces.at(i);
            const _face& g = b.faces.at(i);
            ASSERT_TRUE(same(f.verts, 3, g.verts, 3, a_vertices, b_vertices)) << "face " << i;
            ASSERT_TRUE(same(f.edges, 3, g.edges, 3, a_edges, b_edges)) << "face " << i;
            ASSERT_EQ(std::memcmp(&f.normal, &g.normal, sizeof(f.normal)), 0) << "face " << i;
            ASSERT_EQ(f.status, g.status);
        }
    }

  private:
    template <class Record>
    using Places = std::map<const Record*, std::int32_t>;

    template <class Store, class Record>
    static void number(const Store& store, Places<Record>& places) {
        for (std::int32_t i = 0; i < store.total(); ++i) {
            places[&store.at(i)] = i;
        }
    }

    template <class Record>
    static bool same(Record* const* p, int p_count, Record* const* q, int q_count,
                     const Places<Record>& p_places, const Places<Record>& q_places) {
        if (p_count != q_count) {
            return false;
        }
        for (int k = 0; k < p_count; ++k) {
            if (p_places.at(p[k]) != q_places.at(q[k])) {
                return false;
            }
        }
        return true;
    }

    const Mesh& a;
    const Mesh& b;
    Places<_vert> a_vertices, b_vertices;
    Places<_edge> a_edges, b_edges;
    Places<_face> a_faces, b_faces;
};

void expect_as_one_by_one(const TestMesh& arrays) {
    Mesh bulk;
    Mesh single;
    const BuildReport report = test::fill(bulk, arrays);
    const BuildReport expected = insert_one_by_one(single, arrays);
    EXPECT_EQ(report.inserted, expected.inserted);
    EXPECT_EQ(report.out_of_range, expected.out_of_range);
    EXPECT_EQ(report.degenerate, expected.degenerate);
    EXPECT_EQ(report.duplicate, expected.duplicate);
    EXPECT_EQ(report.overfull, expected.overfull);
    EXPECT_EQ(report.inserted + report.refused(),
              static_cast<std::int64_t>(arrays.triangle_count()));
    test::expect_sound(bulk);
    Comparison(bulk, single).expect_same();
}

TEST(MeshBuild, SurfacesComeOutAsIfInsertedOneByOne) {
    expect_as_one_by_one(TestMesh());
    expect_as_one_by_one(test::bumpy_grid(70, 60, 0.7));
    expect_as_one_by_one(test::torus(40, 30, 10, 4));
    expect_as_one_by_one(test::cylinder(30, 10, 5, 20));
}

TEST(MeshBuild, RefusedAndNonManifoldTrianglesComeOutAsIfInsertedOneByOne) {
    TestMesh odd = test::planar_grid(4, 4);
    const std::int32_t fin = odd.add_vertex(2, 2, 1);
    const std::int32_t tip = odd.add_vertex(9, 9, 0);
    const std::int32_t far = odd.add_vertex(9, 0, 0);
    odd.add_vertex(5, 5, 5);        // isolated
    odd.add_triangle(12, 13, fin);  // a third face on an inner edge
    odd.add_triangle(13, 12, 7);    // a fourth one
    odd.add_triangle(24, tip, far); // a pinch at the corner of the sheet
    odd.add_triangle(6, 1, 0);      // the first face, turned over
    odd.add_triangle(3, 3, 8);
    odd.add_triangle(-1, 3, 8);
    odd.add_triangle(3, 8, static_cast<std::int32_t>(odd.vertex_count()));
    odd.add_triangle(0, 0, std::numeric_limits<std::int32_t>::min());
    expect_as_one_by_one(odd);
    const auto check = test::expect_sound(*test::make_mesh(odd));
    EXPECT_EQ(check.non_manifold_edges, 1);
    EXPECT_GE(check.pinch_vertices, 1);
}

TEST(MeshBuild, RandomTrianglesComeOutAsIfInsertedOneByOne) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        TestMesh soup;
        const std::int32_t count = 4 + static_cast<std::int32_t>(3 * seed);
        for (std::int32_t i = 0; i < count; ++i) {
            soup.add_vertex(random() % 100, random() % 100, random() % 100);
        }
        const auto any = [&] { // now and then out of range
            return static_cast<std::int32_t>(random() % static_cast<unsigned>(count + 2)) - 1;
        };
        for (int k = 0; k < 400; ++k) {
            const std::int32_t a = any();
            const std::int32_t b = any();
            soup.add_triangle(a, b, any());
        }
        SCOPED_TRACE("seed " + std::to_string(seed));
        expect_as_one_by_one(soup);
    }
}

TEST(MeshBuild, FacesBeyondTheCountOfAVertexAreRefused) {
    TestMesh fan;
    fan.add_vertex(0, 0, 0);
    fan.add_vertex(1, 0, 0);
    for (std::int32_t i = 2; i <= Mesh_R::max_list_count + 10; ++i) {
        fan.add_vertex(i, 1, 0);
        fan.add_triangle(0, i - 1, i);
    }
    expect_as_one_by_one(fan);
    Mesh mesh;
    EXPECT_GT(test::fill(mesh, fan).overfull, 0);
}

TEST(MeshBuild, CoordinatesThatAreNotFiniteAreKept) {
    TestMesh arrays = test::planar_grid(3, 3);
    const float bad[3] = {std::numeric_limits<float>::quiet_NaN(),
                          std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::max()};
    for (std::size_t i = 0; i < arrays.positions.size(); i += 5) {
        arrays.positions[i] = bad[i % 3];
    }
    const auto mesh = test::make_mesh(arrays);
    mesh->vertices.R_cal_vector();
    EXPECT_EQ(test::expect_sound(*mesh).live_faces, 18);
    const Mesh_M::MeshArrays back = Mesh_M::to_arrays(*mesh);
    ASSERT_EQ(back.positions.size(), arrays.positions.size());
    EXPECT_EQ(std::memcmp(back.positions.data(), arrays.positions.data(),
                          back.positions.size() * sizeof(float)),
              0);
}

TEST(MeshBuild, RefusesFullMeshesAndTooManyRecords) {
    const auto mesh = test::make_mesh(test::planar_grid(1, 1));
    EXPECT_THROW(test::fill(*mesh, test::planar_grid(1, 1)), std::invalid_argument);
    EXPECT_EQ(test::expect_sound(*mesh).live_faces, 2);
    Mesh empty;
    const std::size_t too_many = std::size_t{1} << 31;
    EXPECT_THROW(Mesh_M::build_mesh(empty, nullptr, too_many, nullptr, 0), std::length_error);
    EXPECT_THROW(Mesh_M::build_mesh(empty, nullptr, 0, nullptr, too_many), std::length_error);
    EXPECT_EQ(empty.memory_bytes(), 0u);
}

// A sanitizer maps more address space than any limit leaves.
#if defined(__linux__) && !defined(KELVANE_SANITIZED)
// In a child process with little memory: the mesh must be empty after each failure and work in the
// end.
int build_with_little_memory() {
    const TestMesh arrays = test::planar_grid(600, 600);
    int failures = 0;
    for (rlim_t megabytes = 16; megabytes <= 1024; megabytes += 16) {
        rlimit limit{};
        getrlimit(RLIMIT_AS, &limit);
        limit.rlim_cur = megabytes << 20;
        setrlimit(RLIMIT_AS, &limit);
        Mesh mesh;
        try {
            test::fill(mesh, arrays);
            return failures > 2 && Mesh_M::check_mesh(mesh).sound() ? 0 : 1;
        } catch (const std::bad_alloc&) {
            ++failures;
            if (mesh.memory_bytes() != 0 || mesh.vertices.total() != 0) {
                return 2;
            }
        }
    }
    return 3;
}

TEST(MeshBuildDeathTest, ExhaustedMemoryLeavesAnEmptyMesh) {
    EXPECT_EXIT(std::_Exit(build_with_little_memory()), testing::ExitedWithCode(0), "");
}
#endif

TEST(MeshArrays, LiveRecordsComeBackInOrderWhateverTheirIndexSays) {
    const TestMesh arrays = test::bumpy_grid(80, 60);
    const auto mesh = test::make_mesh(arrays);
    EXPECT_EQ(Mesh_M::to_arrays(*mesh).triangles, arrays.triangles);
    EXPECT_EQ(Mesh_M::to_arrays(*mesh).positions, arrays.positions);

    mesh->faces.dele_face(test::face(*mesh, 0));
    mesh->faces.dele_face(test::face(*mesh, 1)); // vertex 0 goes with them
    for (std::int32_t i = 0; i < mesh->vertices.total(); ++i) {
        test::vertex(*mesh, i)->index = -7;
    }
    const Mesh_M::MeshArrays rest = Mesh_M::to_arrays(*mesh);
    ASSERT_EQ(rest.stored_as.size(), arrays.vertex_count() - 1);
    ASSERT_EQ(rest.triangles.size(), arrays.triangles.size() - 6);
    EXPECT_EQ(rest.normals.size(), rest.positions.size());
    for (std::size_t i = 0; i < rest.triangles.size(); ++i) {
        const auto place = static_cast<std::size_t>(rest.triangles[i]);
        ASSERT_EQ(rest.stored_as[place], arrays.triangles[i + 6]);
        ASSERT_EQ(rest.positions[3 * place],
                  arrays.positions[3 * static_cast<std::size_t>(arrays.triangles[i + 6])]);
    }
}

} // namespace
