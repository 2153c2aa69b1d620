// Whole runs.
#include "tests/core/core_access.hpp"

#include <omp.h>

namespace test {
namespace {

// A waved plate of 30 x 24 with an interior marker, one on the rim, and two that overlap. Heights
// are multiples of 1/1024, so that moving the plate by a power of two is exact.
struct Plate {
    TestMesh arrays = height_grid(60, 48, 0.5, [](double x, double y) {
        return std::round(1024.0 * 0.8 * std::sin(0.3 * x) * std::cos(0.25 * y)) / 1024.0;
    });
    std::vector<Marker> markers = {marker(8, 8), marker(15, 0), marker(20, 16), marker(22, 16.5f)};

    Marker marker(float x, float y) const {
        const int at = static_cast<int>(y / 0.5f + 0.25f) * 61 + static_cast<int>(x / 0.5f + 0.25f);
        const float z = arrays.positions[3 * static_cast<std::size_t>(at) + 2];
        return {x, y, z, 0.0f, 0.0f, 1.0f, 1.6f};
    }
};

// What must not depend on how the plate is given. A disc has the Euler characteristic 1; every hole
// left open lowers it.
std::string outcome_of(const Mesh& mesh, RepairMarkers repair) {
    const Mesh_M::MeshCheck check = expect_sound(mesh);
    EXPECT_EQ(check.non_manifold_edges, 0);
    EXPECT_EQ(check.pinch_vertices, 0);
    std::ostringstream text;
    std::sort(repair.holeBoundaryCount.begin(), repair.holeBoundaryCount.end());
    for (const int size : repair.holeBoundaryCount) {
        text << "hole of " << size << ", ";
    }
    text << check.boundary_edges << " boundary edges, Euler characteristic "
         << check.live_vertices - check.live_edges + check.live_faces << '.';
    return text.str();
}

RepairMarkers run(Mesh& mesh, const std::vector<Marker>& markers, int threads = 2) {
    RepairMarkers repair = repairer(mesh, markers, 0.4);
    repair.DeleteMarkRegion();
    repair.MarkerRepairprocessing(threads);
    return repair;
}

TEST(MarkerRepairprocessing, ClosesInteriorRimAndOverlappingMarkers) {
    const Plate plate;
    const auto mesh = make_mesh(plate.arrays);
    RepairMarkers repair = run(*mesh, plate.markers);
    const std::string outcome = outcome_of(*mesh, repair);
    EXPECT_NE(outcome.find("Euler characteristic 1."), std::string::npos) << outcome;
    for (int hole = 0; hole < 3; ++hole) { // one each for the first three markers
        EXPECT_EQ(repair.notes.holes[hole].marker, hole);
        EXPECT_EQ(repair.notes.regions[hole].hole, hole);
        EXPECT_EQ(repair.notes.holes[hole].is_chain, hole == 1);
        EXPECT_GT(repair.notes.holes[hole].new_faces, repair.notes.holes[hole].new_vertices);
    }
    EXPECT_EQ(repair.notes.regions[3].joined_hole, 2);

    const int old_vertices = static_cast<int>(plate.arrays.vertex_count());
    for (int i = 0; i < old_vertices; ++i) { // untouched to the bit, in place, or gone
        const std::size_t k = 3 * static_cast<std::size_t>(i);
        const Point before(plate.arrays.positions[k], plate.arrays.positions[k + 1],
                           plate.arrays.positions[k + 2]);
        EXPECT_EQ(bits(vertex(*mesh, i)->pos), bits(before));
    }
    for (const Marker& m : plate.markers) {
        EXPECT_EQ(
            vertex(*mesh, static_cast<int>(m.y / 0.5f) * 61 + static_cast<int>(m.x / 0.5f))->status,
            3);
    }
    for (int i = 0; i < mesh->faces.total(); ++i) {
        const _face* f = face(*mesh, i);
        if (f->status != 3) {
            ASSERT_EQ(bits(f->normal),
                      bits(normal_by_steps(f->verts[0]->pos, f->verts[1]->pos, f->verts[2]->pos)));
            EXPECT_GT(f->normal.z, 0.5f); // the patches are wound like the plate
        }
    }
    for (int i = 0; i < mesh->vertices.total(); ++i) {
        const _vert* v = vertex(*mesh, i);
        if (v->status != 3) {
            ASSERT_EQ(bits(v->normal), bits(mean_normal_by_steps(*v)));
        }
        if (i >= old_vertices) { // near the wave that the plate had there
            const double wave = 0.8 * std::sin(0.3 * v->pos.x) * std::cos(0.25 * v->pos.y);
            // A chord closes the hole in the rim, and the plate curves away from it.
            EXPECT_NEAR(v->pos.z, wave, v->pos.y < 4.0f ? 0.15 : 0.03) << i;
            EXPECT_EQ(v->tag, 0xFFFF0008u);
        }
    }
}

// A fairing that is turned down leaves its own patch as it was filled, and no other.
TEST(MarkerRepairprocessing, KeepsTheFillWhereTheFairingIsTurnedDown) {
    const Plate plate;
    std::vector<std::vector<float>> heights[3]; // per hole, by what is turned down
    for (const int turned_down : {-1, 0, 1}) {
        const auto mesh = make_mesh(plate.arrays);
        RepairMarkers repair = repairer(*mesh, plate.markers, 0.4);
        repair.DeleteMarkRegion();
        KVN::RunPlaces places;
        places.before_move = [&](const KVN::FairPlace& place) {
            EXPECT_EQ(static_cast<int>(place.moves.size()), place.note.new_vertices);
            return place.note.marker != turned_down;
        };
        repair.run(RepairMarkers::closings().front(), 2, places);
        for (const KVN::HoleNote& hole : repair.notes.holes) {
            EXPECT_EQ(hole.unfaired, hole.marker == turned_down);
            std::vector<float> z;
            for (int i = 0; i < hole.new_vertices; ++i) {
                z.push_back(vertex(*mesh, hole.first_vertex + i)->pos.z);
            }
            heights[turned_down + 1].push_back(z);
        }
    }
    for (const std::size_t hole : {0, 1, 2}) {
        EXPECT_EQ(heights[0][hole] != heights[1][hole], hole == 0);
        EXPECT_EQ(heights[0][hole] != heights[2][hole], hole == 1);
    }
}

TEST(MarkerRepairprocessing, SameBitsForEveryNumberOfThreads) {
    const Plate plate;
    const int default_threads = omp_get_max_threads();
    std::set<std::vector<std::uint32_t>> results;
    for (const int threads : {1, 2, 8}) {
        omp_set_num_threads(threads);
        const auto mesh = make_mesh(plate.arrays);
        run(*mesh, plate.markers, 9 - threads);
        results.insert(fingerprint(*mesh));
    }
    omp_set_num_threads(default_threads);
    EXPECT_EQ(results.size(), 1u);
}

// One plate, moved about in space and in memory.
TEST(MarkerRepairprocessing, SameOutcomeHoweverThePlateIsGiven) {
    const Plate plate;
    const auto as_given = make_mesh(plate.arrays);
    const std::string expected = outcome_of(*as_given, run(*as_given, plate.markers));
    const auto vary = [&](const char* what, auto place, bool reversed, bool renumbered) {
        TestMesh arrays = plate.arrays;
        std::vector<Marker> markers = plate.markers;
        const auto vertices = static_cast<std::int32_t>(arrays.vertex_count());
        // 1009 has no divisor in common with the number of vertices or triangles.
        const auto stored = [&](std::int64_t i, std::int64_t count) {
            return static_cast<std::size_t>(renumbered ? (i * 1009 + 17) % count : i);
        };
        for (std::int32_t i = 0; i < vertices; ++i) {
            const float* p = &plate.arrays.positions[3 * static_cast<std::size_t>(i)];
            const Point moved = place(Point(p[0], p[1], p[2]), true);
            float* to = &arrays.positions[3 * stored(i, vertices)];
            to[0] = moved.x;
            to[1] = moved.y;
            to[2] = moved.z;
        }
        const auto triangles = static_cast<std::int64_t>(arrays.triangle_count());
        for (std::int64_t t = 0; t < triangles; ++t) {
            for (std::size_t k = 0; k < 3; ++k) {
                arrays.triangles[3 * stored(t, triangles) + (reversed ? 2 - k : k)] =
                    static_cast<std::int32_t>(stored(
                        plate.arrays.triangles[3 * static_cast<std::size_t>(t) + k], vertices));
            }
        }
        for (Marker& m : markers) {
            const Point centre = place(Point(m.x, m.y, m.z), true);
            const Point normal = place(Point(m.nx, m.ny, m.nz), false);
            m = {centre.x, centre.y, centre.z, normal.x, normal.y, normal.z, m.radius};
        }
        const auto mesh = make_mesh(arrays);
        EXPECT_EQ(outcome_of(*mesh, run(*mesh, markers)), expected) << what;
    };
    const auto same = [](Point p, bool) { return p; };
    vary("renumbered", same, false, true);
    vary(
        "turned", [](Point p, bool) { return Point(p.z, -p.x, -p.y); }, false, false);
    vary(
        "mirrored", [](Point p, bool) { return Point(-p.x, p.y, p.z); }, true, false);
    vary(
        "moved",
        [](Point p, bool place) {
            return place ? Point(p.x + 128.0f, p.y - 64.0f, p.z + 32.0f) : p;
        },
        false, false);
    vary(
        "all of it",
        [](Point p, bool place) {
            return place ? Point(p.y - 16.0f, p.x, p.z + 16.0f) : Point(p.y, p.x, p.z);
        },
        true, true);
}

TEST(MarkerRepairprocessing, RecomputesNormalsAndFreesEdgesWithoutAnyMarker) {
    const auto mesh = make_mesh(bumpy_grid(8, 8, 1.0, 1.0, 5.0));
    const std::vector<std::uint32_t> expected = fingerprint(*mesh);
    vertex(*mesh, 3)->pos = vertex(*mesh, 4)->pos; // two faces without an area
    face(*mesh, 20)->normal = Point(5, 5, 5);
    vertex(*mesh, 30)->normal = Point(5, 5, 5);
    edge(*mesh, 3)->status = 1;
    edge(*mesh, 5)->status = 2;
    vertex(*mesh, 40)->index = -7;
    RepairMarkers repair = repairer(*mesh);
    repair.DeleteMarkRegion();
    EXPECT_TRUE(repair.markRegions.empty());
    repair.MarkerRepairprocessing(3);
    EXPECT_EQ(edge(*mesh, 3)->status, 8);
    EXPECT_EQ(edge(*mesh, 5)->status, 2); // no mark of this search
    edge(*mesh, 5)->status = 8;
    EXPECT_EQ(vertex(*mesh, 40)->index, 40);
    EXPECT_EQ(bits(face(*mesh, 6)->normal), bits(Point(0, 0, 1)));
    vertex(*mesh, 3)->pos = Point(3.0f, 0.0f, std::sin(2.0 * pi * 3.0 / 5.0));
    repair.MarkerRepairprocessing(1);
    EXPECT_EQ(fingerprint(*mesh), expected);
}

// A hole whose border is not finite stays open and harms no other.
TEST(MarkerRepairprocessing, LeavesAHoleThatCannotBeFilled) {
    const Plate plate;
    const auto mesh = make_mesh(plate.arrays);
    vertex(*mesh, 16 * 61 + 20)->pos.z = nan_float; // on the ring, 2 beside the first marker
    const RepairMarkers repair = run(*mesh, {plate.markers[0], plate.markers[2]});
    ASSERT_EQ(repair.patches.size(), 2u);
    EXPECT_TRUE(repair.patches[0].points.empty());
    EXPECT_TRUE(repair.patchVerts[0].empty());
    EXPECT_FALSE(repair.patchVerts[1].empty());
    const Mesh_M::MeshCheck check = expect_sound(*mesh);
    EXPECT_EQ(check.boundary_edges, 2 * (60 + 48) + repair.holeBoundaryCount[0]);
}

TEST(MarkerRepairprocessing, TakesACutOfTheCallersOwn) {
    const Rect hole{6, 6, 10, 9};
    const PunchedGrid grid(16, 16, {hole});
    RepairMarkers repair = repairer(*grid.mesh, {flat_marker(8, 7.5f, 1.5f)});
    std::vector<_vert*> region = grid.loop(hole);
    set_flags(region, ring_bit); // as a removal would leave them
    repair.DeleMK(region);
    repair.MarkerRepairprocessing(2);
    EXPECT_EQ(expect_sound(*grid.mesh).boundary_edges, 64);
    EXPECT_EQ(repair.holeBoundaryCount, std::vector<int>{14});
    EXPECT_TRUE(flags_clear(*grid.mesh, 0xFF));
}

// Not what the class is made for, but it must not fall over: the lists of the first run are there.
TEST(MarkerRepairprocessing, SurvivesASecondRun) {
    const Plate plate;
    const auto mesh = make_mesh(plate.arrays);
    RepairMarkers repair = run(*mesh, plate.markers);
    repair.MarkerRepairprocessing(2);
    EXPECT_GE(repair.holeBorders.size(), 3u);
    repair.DeleteMarkRegion();
    repair.MarkerRepairprocessing(2);
    EXPECT_EQ(repair.holePoints.size(), repair.patchVerts.size());
}

} // namespace
} // namespace test
