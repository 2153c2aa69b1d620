// Life cycle of the object; whole runs are in repair_driver_tests.cpp.
#include "tests/core/core_access.hpp"

#include <type_traits>

namespace test {
namespace {

static_assert(!std::is_polymorphic_v<RepairMarkers>);
static_assert(sizeof(Marker) == 7 * sizeof(float));

TEST(RepairMarkers, SetResolutionRaisesASmallMarkerSize) {
    struct Case {
        float resolution;
        double size;
        char adjustable;
        double expected;
    };
    const Case cases[] = {
        {0.3f, 3.0, 1, 4.0},
        {0.3f, 4.5, 1, 4.5},
        {0.5f, 3.0, 1, 5.0},
        {0.5f, 4.8, 1, 5.3},
        {0.5f, 6.0, 1, 6.0},
        {3.0f, 4.9, 1, 7.0},
        {0.5f, 3.0, 0, 3.0},
        {0.5f, 50.0, 1, 50.0},
        {0.4f, 4.0, 1, 5.0},
        {std::nextafter(0.4f, 0.0f), 3.0, 1, 4.0},
        {0.4f, 4.8, 1, 4.8 + static_cast<double>(0.4f)},
        {nan_float, 3.0, 1, 4.0},
    };
    Mesh mesh;
    for (const Case& c : cases) {
        RepairMarkers repair = repairer(mesh, {}, c.size, c.adjustable);
        EXPECT_EQ(repair.resolution, 0.5f);
        repair.setResolution(c.resolution);
        EXPECT_EQ(repair.markerSize, c.expected) << c.resolution << " " << c.size;
        EXPECT_TRUE(repair.resolution == c.resolution || std::isnan(c.resolution));
    }
}

// Runs every operation and expects the mesh to stay as it is.
void expect_idle(RepairMarkers repair, Mesh* mesh) {
    const std::vector<std::uint32_t> before =
        mesh ? fingerprint(*mesh) : std::vector<std::uint32_t>();
    const std::vector<std::vector<_vert*>> regions = {{nullptr}};
    repair.markRegions = regions;
    repair.DeleteMarkRegion();
    EXPECT_EQ(repair.markRegions, regions);
    repair.MarkerRepairprocessing(2);
    EXPECT_EQ(repair.deleteblocks(), nullptr);
    if (mesh != nullptr) {
        EXPECT_EQ(fingerprint(*mesh), before);
    }
}

TEST(RepairMarkers, IsValidButIdleWithoutASurface) {
    std::vector<Marker> markers = {flat_marker(1, 1, 1)};
    expect_idle(RepairMarkers(nullptr, markers, 1.0, 1, nullptr, 0), nullptr);
    Mesh empty;
    expect_idle(repairer(empty, markers), &empty);
    TestMesh points;
    points.add_vertex(1, 1, 0);
    const auto no_faces = make_mesh(points);
    expect_idle(repairer(*no_faces, markers), no_faces.get());
    const auto deleted = make_mesh(planar_grid(2, 2));
    for (int f = 0; f < 8; ++f) {
        deleted->faces.dele_face(face(*deleted, f));
    }
    expect_idle(repairer(*deleted, markers), deleted.get());
    // Live vertices at no finite place make an object that works and finds nothing.
    TestMesh nowhere = planar_grid(2, 2);
    nowhere.positions.assign(nowhere.positions.size(), nan_float);
    const auto not_finite = make_mesh(nowhere);
    RepairMarkers finds_nothing = repairer(*not_finite, markers);
    finds_nothing.DeleteMarkRegion();
    EXPECT_EQ(finds_nothing.markRegions, std::vector<std::vector<_vert*>>(1));
    EXPECT_EQ(finds_nothing.deleteblocks(), not_finite.get());
}

TEST(RepairMarkers, SearchesOnlyVerticesAliveAtConstruction) {
    TestMesh arrays = planar_grid(4, 4);
    arrays.positions[3 * 7] = nan_float; // left out of the tree
    const auto mesh = make_mesh(arrays);
    mesh->faces.dele_face(face(*mesh, 0));
    mesh->faces.dele_face(face(*mesh, 1)); // takes vertex 0 along
    const RepairMarkers repair = repairer(*mesh);
    std::vector<int> found = repair.vertices_within(0, 0, 0, 1.5);
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<int>{1, 5, 6}));
    // By growing distance, through copies too.
    const RepairMarkers copy = repair;
    EXPECT_EQ(copy.vertices_within(3.2f, 3.1f, 0, 1.0), (std::vector<int>{18, 19, 23}));
    EXPECT_TRUE(repair.vertices_within(2, 2, 0, -1.0).empty());
}

// What an object is made of, to compare copies by.
auto parts(const RepairMarkers& r) {
    return std::make_tuple(r.mesh, r.markers.size(), r.markerSize, r.sizeAdjustable, r.resolution,
                           r.kdToVertex, r.hasCloud, r.blockSpheres, r.blockSphereCount,
                           r.markRegions, r.holeBoundaryCount, r.holePoints.size(),
                           r.holeFaces.size(), r.holeFaceNormals.size(), r.holeRingIndices,
                           r.holeBorders, r.patches.size(), r.patchVerts, r.currentMarker);
}

TEST(RepairMarkers, CopiesAndMovesMemberByMember) {
    const auto mesh = make_mesh(planar_grid(12, 12));
    float blocks[4] = {2, 2, 0, 0.5f};
    std::vector<Marker> markers = {flat_marker(3, 3, 1), flat_marker(8, 8, 1.5f)};
    RepairMarkers original(mesh.get(), markers, 0.6, 1, blocks, 1);
    original.DeleteMarkRegion();
    original.MarkerRepairprocessing(1);
    const auto expected = parts(original);
    EXPECT_EQ(original.holeBorders.size(), 2u);

    RepairMarkers copy(original);
    RepairMarkers assigned = repairer(*mesh);
    assigned = copy;
    RepairMarkers& same = assigned;
    assigned = same;
    assigned = std::move(same);
    EXPECT_EQ(parts(original), expected);
    EXPECT_EQ(parts(copy), expected);
    EXPECT_EQ(parts(assigned), expected);

    RepairMarkers moved(std::move(copy));
    RepairMarkers move_assigned = repairer(*mesh);
    move_assigned = std::move(assigned);
    EXPECT_EQ(parts(moved), expected);
    EXPECT_EQ(parts(move_assigned), expected);
    RepairMarkers emptied = repairer(*mesh, {}, 0.6, 1);
    emptied.blockSpheres = blocks; // plain members stay in the source, lists are gone
    emptied.blockSphereCount = 1;
    emptied.kdToVertex.clear();
    emptied.currentMarker = original.currentMarker;
    for (RepairMarkers* source : {&copy, &assigned}) {
        EXPECT_EQ(parts(*source), parts(emptied));
        expect_idle(*source, mesh.get());
    }
    EXPECT_EQ(moved.deleteblocks(), mesh.get());
    EXPECT_EQ(vertex(*mesh, 2 * 13 + 2)->status, 3);
}

TEST(RepairMarkers, DeleMKReplacesAllRegions) {
    const auto mesh = make_mesh(planar_grid(4, 4));
    RepairMarkers repair = repairer(*mesh, {flat_marker(1, 1, 1)});
    const std::vector<_vert*> one = {vertex(*mesh, 1), vertex(*mesh, 2)};
    repair.markRegions = {{}, one, {}};
    repair.DeleMK(repair.markRegions[1]); // an entry of its own list
    EXPECT_EQ(repair.markRegions, std::vector<std::vector<_vert*>>{one});
    EXPECT_EQ(mesh->faces.liveCount, 32);
}

} // namespace
} // namespace test
