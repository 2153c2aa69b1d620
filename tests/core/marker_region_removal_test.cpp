#include "tests/core/core_access.hpp"

namespace test {
namespace {

// A sheet of 6 x 6 large cells, of which a marker in the middle reaches the middle vertex only.
struct OneVertex {
    std::unique_ptr<Mesh> mesh = make_mesh(planar_grid(6, 6, 10.0));
    _vert* middle = vertex(*mesh, 3 * 7 + 3);

    OneVertex(float height, float normal_z) {
        middle->pos.z = height;
        middle->normal = Point(0.0f, 0.0f, normal_z);
    }

    // Tells whether the vertex is cut out.
    bool cut_by(const Marker& marker, char adjustable) {
        RepairMarkers repair = repairer(*mesh, {marker}, 1.0, adjustable);
        repair.DeleteMarkRegion();
        EXPECT_EQ(repair.markRegions.size(), 1u);
        const bool cut = middle->status == 3;
        EXPECT_EQ(repair.markRegions[0].size(), cut ? 6u : 0u);
        EXPECT_EQ(mesh->faces.liveCount, cut ? 66 : 72);
        expect_sound(*mesh);
        return cut;
    }
};

TEST(DeleteMarkRegion, SelectsByHeightAndFacing) {
    struct Case {
        float height, normal_z; // of the vertex
        float radius;           // limits the height; the search reaches further by 1
        char adjustable;
        bool accepted;
    };
    const float limit = -0.70710677f; // the limit in double lies between this and the next float
    const Case cases[] = {
        {0.5f, 1.0f, 0.5f, 0, true},   {0.51f, 1.0f, 0.5f, 0, false},
        {-0.5f, 0.0f, 0.5f, 0, true},  {-0.51f, 1.0f, 0.5f, 1, false},
        {0.0f, -0.5f, 2.0f, 0, false}, {0.0f, -0.5f, 2.0f, 1, true},
        {0.5f, -0.5f, 2.0f, 1, true},  {0.6f, -0.5f, 2.0f, 1, false},
        {-1.4f, -0.5f, 2.0f, 1, true}, {-1.5f, -0.5f, 2.0f, 1, false},
        {0.0f, limit, 2.0f, 1, true},  {0.0f, std::nextafter(limit, -1.0f), 2.0f, 1, false},
        {0.0f, -0.0f, 2.0f, 0, true},  {0.0f, nan_float, 2.0f, 1, false},
    };
    for (const Case& c : cases) {
        OneVertex sheet(c.height, c.normal_z);
        EXPECT_EQ(sheet.cut_by(flat_marker(30, 30, c.radius), c.adjustable), c.accepted)
            << c.height << " " << c.normal_z << " " << int(c.adjustable);
    }
}

TEST(DeleteMarkRegion, TakesMarkerNormalsOfAnyLength) {
    // Without a normal nothing compares with a height that is not a number.
    EXPECT_TRUE(OneVertex(0.6f, -1.0f).cut_by({30, 30, 0, 0, 0, 0, 0.2f}, 0));
    // The height is divided by the normal's length, the facing is not: -0.5 times 2 is -1.
    EXPECT_TRUE(OneVertex(0.4f, 1.0f).cut_by({30, 30, 0, 0, 0, 2, 0.5f}, 0));
    EXPECT_FALSE(OneVertex(0.0f, -0.5f).cut_by({30, 30, 0, 0, 0, 2, 0.5f}, 1));
}

TEST(DeleteMarkRegion, FindsNothingWhereASearchMakesNoSense) {
    const float inf = std::numeric_limits<float>::infinity();
    for (const Marker& m : {Marker{nan_float, 30, 0, 0, 0, 1, 1}, Marker{30, inf, 0, 0, 0, 1, 1},
                            Marker{30, 30, 0, 0, 0, 1, nan_float}, Marker{30, 30, 50, 0, 0, 1, 1},
                            Marker{30, 30, 0, 0, 0, 1, -0.1f}, Marker{30, 30, 0, 0, 0, 1, -3}}) {
        EXPECT_FALSE(OneVertex(0.0f, 1.0f).cut_by(m, 1));
    }
}

// Against a search over all vertices, with several markers, on a curved sheet.
TEST(DeleteMarkRegion, CutsTheFacesOfWhatLiesInReach) {
    const TestMesh arrays = bumpy_grid(40, 40, 0.5, 1.0, 12.0);
    const std::unique_ptr<Mesh> mesh = make_mesh(arrays);
    std::vector<Marker> markers;
    for (const int at : {10 * 41 + 9, 10 * 41 + 13, 30 * 41 + 30, 41 * 20, 15 * 41 + 33}) {
        const _vert* v = vertex(*mesh, at);
        markers.push_back(
            {v->pos.x, v->pos.y, v->pos.z, v->normal.x, v->normal.y, v->normal.z, 0.9f});
    }
    const double size = 0.35;
    std::set<int> doomed; // faces with an accepted vertex
    std::vector<std::set<const _vert*>> accepted(markers.size());
    for (std::size_t m = 0; m < markers.size(); ++m) {
        const Eigen::Vector3d centre(markers[m].x, markers[m].y, markers[m].z);
        const Eigen::Vector3d normal =
            Eigen::Vector3d(markers[m].nx, markers[m].ny, markers[m].nz).normalized();
        for (int i = 0; i < mesh->vertices.total(); ++i) {
            const _vert* v = vertex(*mesh, i);
            const Eigen::Vector3d offset = Eigen::Vector3d(v->pos.x, v->pos.y, v->pos.z) - centre;
            if (offset.norm() <= markers[m].radius + size &&
                std::fabs(offset.dot(normal)) <= markers[m].radius &&
                normal.dot(Eigen::Vector3d(v->normal.x, v->normal.y, v->normal.z)) >= 0.0) {
                accepted[m].insert(v);
            }
        }
    }
    for (int f = 0; f < mesh->faces.total(); ++f) {
        for (const auto& of_marker : accepted) {
            for (const _vert* corner : face(*mesh, f)->verts) {
                if (of_marker.count(corner) != 0) {
                    doomed.insert(f);
                }
            }
        }
    }
    RepairMarkers repair = repairer(*mesh, markers, size);
    repair.DeleteMarkRegion();
    for (int f = 0; f < mesh->faces.total(); ++f) {
        EXPECT_EQ(face(*mesh, f)->status == 3, doomed.count(f) != 0) << f;
    }
    ASSERT_EQ(repair.markRegions.size(), markers.size());
    for (std::size_t m = 0; m < markers.size(); ++m) {
        EXPECT_FALSE(repair.markRegions[m].empty());
        for (const _vert* v : repair.markRegions[m]) {
            EXPECT_EQ(accepted[m].count(v), 0u); // just outside of the cut
        }
    }
    expect_sound(*mesh);

    // Once more: everything accepted is gone, and the faces that are marked already are deleted.
    const int left = mesh->faces.liveCount;
    repair.DeleteMarkRegion();
    EXPECT_EQ(mesh->faces.liveCount, left);
    EXPECT_EQ(repair.markRegions, std::vector<std::vector<_vert*>>(markers.size()));
}

// A ring vertex inside the search sphere loses its mark, one outside keeps it and is left to the
// region that has it.
TEST(DeleteMarkRegion, MarksTheRingOutsideTheSphere) {
    const std::unique_ptr<Mesh> mesh = make_mesh(planar_grid(12, 12));
    _vert* middle = vertex(*mesh, 6 * 13 + 6);
    // A hit that is not accepted, and so a ring vertex within the sphere.
    _vert* turned = vertex(*mesh, 6 * 13 + 7);
    turned->normal = Point(0.0f, 0.0f, -1.0f);
    RepairMarkers repair = repairer(*mesh, {flat_marker(6, 6, 1.1f), flat_marker(3, 6, 0.1f)}, 0.0);
    repair.DeleteMarkRegion();
    EXPECT_EQ(middle->status, 3);
    ASSERT_EQ(repair.markRegions.size(), 2u);
    const std::vector<_vert*>& ring = repair.markRegions[0];
    ASSERT_EQ(std::count(ring.begin(), ring.end(), turned), 1);
    for (const _vert* v : ring) {
        EXPECT_EQ(v->flags, v == turned ? 0 : ring_bit);
    }
    // (4, 6) belongs to the first ring; the second has the other five neighbours of (3, 6).
    for (const _vert* v : repair.markRegions[1]) {
        EXPECT_EQ(std::count(ring.begin(), ring.end(), v), 0);
    }
    EXPECT_EQ(repair.markRegions[1].size(), 5u);
}

} // namespace
} // namespace test
