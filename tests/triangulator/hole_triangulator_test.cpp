#include "tests/triangulator/holes.hpp"

#include <algorithm>
#include <string>

namespace test {
namespace {

/// The clipping in its plainest form: every cost afresh in every cycle.
std::vector<_face*> clip_plainly(HoleTriangulator& triangulator) {
    std::vector<_vert*> front = triangulator.boundary;
    std::vector<_face*> faces;
    while (front.size() > 2) {
        double least = std::numeric_limits<double>::max();
        std::size_t best = front.size();
        for (std::size_t i = 0; i < front.size(); ++i) {
            const double cost = triangulator.ear_cost(front, static_cast<int>(i));
            if (least > cost && (front[i]->flags & 2) == 0) {
                least = cost;
                best = i;
            }
        }
        if (best == front.size()) {
            break;
        }
        _vert* prev = front[(best + front.size() - 1) % front.size()];
        _vert* next = front[(best + 1) % front.size()];
        if (_face* ear = triangulator.add_ear(prev, front[best], next)) {
            faces.push_back(ear);
            front.erase(front.begin() + static_cast<std::ptrdiff_t>(best));
            prev->flags &= 0xFD;
            next->flags &= 0xFD;
        } else {
            front[best]->flags |= 2;
        }
    }
    return faces;
}

std::vector<int> corners_of(const std::vector<_face*>& faces) {
    std::vector<int> corners;
    for (const _face* f : faces) {
        for (const _vert* v : f->verts) {
            corners.push_back(v->index);
        }
    }
    return corners;
}

/// Chords with one or two faces between loop vertices, which make ears be refused.
void add_chords(TestMesh& arrays, int n, unsigned seed) {
    std::mt19937 random(seed);
    for (int k = 0; k < n / 3; ++k) {
        const int i = static_cast<int>(random() % static_cast<unsigned>(n));
        const int j = (i + 2) % n;
        arrays.add_triangle(i, j, arrays.add_vertex(i, k, 9));
        if (random() % 2 == 0) {
            arrays.add_triangle(j, i, arrays.add_vertex(j, k, -9));
        }
    }
}

TEST(ClipFront, ChoosesTheEarsOfThePlainWay) {
    int refusals = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        const int n = 3 + static_cast<int>(seed * 7 % 60);
        TestMesh arrays = ragged_hole(n, seed, seed % 3 == 0 ? 1.5 : 0.0);
        if (seed % 2 == 0) {
            add_chords(arrays, n, seed);
        }
        if (seed % 10 == 7) {
            arrays.positions[3] = std::numeric_limits<float>::quiet_NaN();
        }
        Hole quick(arrays, n);
        Hole plain(arrays, n);
        for (Hole* hole : {&quick, &plain}) {
            if (seed % 5 == 1) { // the loop comes back to a vertex
                hole->boundary[static_cast<std::size_t>(n / 2)] = hole->v(0);
            } else if (seed % 25 == 3) {
                hole->boundary[1] = nullptr;
            }
            hole->start();
        }
        std::vector<_face*> faces;
        quick->clip_front(faces);
        EXPECT_EQ(corners_of(faces), corners_of(clip_plainly(*plain.triangulator))) << seed;
        for (int i = 0; i < n; ++i) {
            EXPECT_EQ(quick.v(i)->flags, plain.v(i)->flags);
            refusals += (quick.v(i)->flags & 2) != 0 ? 1 : 0;
        }
        expect_sound(*quick.mesh);
    }
    EXPECT_GT(refusals, 20);      // the cases do reach the refusal
    Hole square(disc_hole(4), 4); // four equal costs
    std::vector<_face*> faces;
    square->clip_front(faces);
    EXPECT_EQ(corners_of(faces), (std::vector<int>{3, 0, 1, 3, 1, 2}));
}

TEST(Construction, MarksLiveRecordsAndTheEndLeavesTheMeshAlone) {
    Hole hole(disc_hole(8), 8);
    hole.mesh->faces.dele_face(face(*hole.mesh, 3));
    for (int i = 0; i < 16; ++i) {
        face(*hole.mesh, i)->flags = hole.v(i)->flags = 0x70;
    }
    hole.start();
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(face(*hole.mesh, i)->flags, i == 3 ? 0x70 : 1);
        EXPECT_EQ(hole.v(i)->flags, 1);
    }
    hole.mesh.reset(); // before the triangulator
}

struct Case {
    std::string name;
    TestMesh arrays;
    int loop;
    bool closes; ///< every loop edge must end with two faces
};

TestMesh with_coordinate(int v, float value) {
    TestMesh arrays = disc_hole(20);
    arrays.positions[static_cast<std::size_t>(3 * v)] = value;
    return arrays;
}

std::vector<Case> corpus() {
    const auto on_square = [](int i, bool outer) {
        const double half = outer ? 5.0 : 4.0;
        const double t = (i % 8) * half / 4.0 - half;
        const Point sides[4] = {{t, -half, 0}, {half, t, 0}, {-t, half, 0}, {-half, -t, 0}};
        return sides[i / 8];
    };
    const auto on_slot = [](int i, bool outer) { // long and narrow
        const double along = (i >= 1000 ? 1999 - i : i) + 0.3 * std::sin(i);
        return Point(along, (i >= 1000 ? 3.0 : 0.0) + (outer ? (i >= 1000 ? 1.0 : -1.0) : 0.0),
                     0.0);
    };
    const auto on_ring = [](int i, bool outer) { return on_circle(outer ? 6.7 : 5.7, i / 36.0); };
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinite = std::numeric_limits<float>::infinity();
    std::vector<Case> cases{
        {"flat square", ring_around(32, on_square), 32, true},
        {"waves", disc_hole(60, 1.0, 0.3), 60, true},
        {"ragged", ragged_hole(60, 3), 60, true},
        {"coincident vertices", ragged_hole(40, 9, 2.0), 40, false},
        {"pinched surroundings",
         ring_around(36, on_ring, [](int t) { return t % 6 > 1 && t % 2 == 1; }), 36, true},
        {"no surroundings", ring_around(36, on_ring, [](int) { return true; }), 36, false},
        {"tiny", disc_hole(60, 0.004), 60, true},
        {"loop vertex not a number", with_coordinate(4, nan), 20, false},
        {"outer vertex not a number", with_coordinate(24, nan), 20, true},
        {"loop vertex at infinity", with_coordinate(4, infinite), 20, false},
        {"outer vertex at infinity", with_coordinate(24, infinite), 20, true},
        {"loop vertex near overflow", with_coordinate(4, 3e38f), 20, true},
        {"outer vertex far away", with_coordinate(24, 1e6f), 20, true},
        {"slot of 2000", ring_around(2000, on_slot), 2000, true},
    };
    for (int loop = 0; loop <= 3; ++loop) {
        cases.push_back({"loop of " + std::to_string(loop), disc_hole(3), loop, loop == 3});
    }
    return cases;
}

TEST(FillFront, LeavesASoundMeshAndTheInputAsItWas) {
    for (const Case& hole_case : corpus()) {
        SCOPED_TRACE(hole_case.name);
        Hole hole(hole_case.arrays, hole_case.loop);
        const Mesh_M::MeshArrays input = to_arrays(*hole.mesh);
        hole->memory_guard =
            std::min<std::int64_t>(hole->memory_guard, 20'000); // one case meets it
        hole->fill_front();
        EXPECT_EQ(expect_sound(*hole.mesh).non_manifold_edges, 0);
        const Mesh_M::MeshArrays result = to_arrays(*hole.mesh);
        ASSERT_GE(result.positions.size(), input.positions.size());
        EXPECT_EQ(0, std::memcmp(input.positions.data(), result.positions.data(),
                                 sizeof(float) * input.positions.size()));
        ASSERT_GE(result.triangles.size(), input.triangles.size());
        EXPECT_TRUE(
            std::equal(input.triangles.begin(), input.triangles.end(), result.triangles.begin()));
        for (int i = 0; hole_case.closes && i < hole_case.loop; ++i) {
            const _edge* e = hole.e(i, (i + 1) % hole_case.loop);
            ASSERT_TRUE(e != nullptr && e->faceCount == 2) << i;
        }
    }
}

// The passes are limited, what they make is not.
TEST(FillFront, MakesAsManyFacesAsAFarVertexAsksFor) {
    const auto one_far_off = [](int i, bool outer) {
        return on_circle(outer ? 6.0 : i == 0 ? 60.0 : 5.0, i / 20.0);
    };
    int faces[2];
    for (const bool guarded : {false, true}) {
        Hole hole(ring_around(20, one_far_off), 20);
        if (guarded) {
            hole->memory_guard = 13'000;
        }
        hole->fill_front();
        faces[guarded] = hole.mesh->faces.liveCount;
    }
    EXPECT_GT(faces[0], faces[1]);
}

TEST(FillFront, ContinuesASphere) {
    Hole hole(ring_around(56,
                          [](int i, bool outer) {
                              const double polar = outer ? 1.0 : 0.9; // radians from the top
                              return on_circle(10.0 * std::sin(polar), i / 56.0,
                                               10.0 * std::cos(polar));
                          }),
              56);
    hole->fill_front();
    EXPECT_EQ(expect_sound(*hole.mesh).boundary_edges, 56);
    for (int i = 112; i < hole.mesh->vertices.total(); ++i) {
        const _vert* v = hole.v(i);
        if (v->status != Mesh_R::status_deleted) { // a flat lid would lie 6.2 from the centre
            EXPECT_NEAR(std::hypot(v->pos.x, v->pos.y, v->pos.z), 10.0, 2.0);
        }
    }
}

} // namespace
} // namespace test
