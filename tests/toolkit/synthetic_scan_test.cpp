#include "toolkit_support.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"
#include "kelvane/toolkit/measure/surface_distance.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

using namespace KVN::toolkit;

namespace {

DemoOptions small_panel() {
    DemoOptions options;
    options.width = 70.0;
    options.depth = 60.0;
    options.inside = 4;
    options.on_rim = 2;
    return options;
}

double distance_to(const KVN::Marker& m, const float* p) {
    return std::hypot(m.x - p[0], m.y - p[1], m.z - p[2]);
}

} // namespace

TEST(SyntheticScan, IsFixedByItsSeed) {
    const SyntheticScan a = make_demo_scan(small_panel());
    const SyntheticScan b = make_demo_scan(small_panel());
    DemoOptions other = small_panel();
    other.seed = 2;
    EXPECT_EQ(a.marked.positions, b.marked.positions);
    EXPECT_EQ(a.marked.triangles, b.marked.triangles);
    EXPECT_NE(a.marked.positions, make_demo_scan(other).marked.positions);
}

TEST(SyntheticScan, LooksAsItSays) {
    const SyntheticScan scan = make_demo_scan();
    const ScanInfo truth = scan_info(scan.truth);
    EXPECT_NEAR(double(truth.faces), 100000, 2000);
    EXPECT_NEAR(truth.edge_lengths.mean, 0.7, 0.05);
    EXPECT_EQ(truth.boundary_loops, 1);
    EXPECT_EQ(truth.components, 1);
    EXPECT_EQ(truth.loaded.refused(), 0);
    EXPECT_GT(scan_info(scan.marked).boundary_loops, 4); // hollow stickers
    ASSERT_EQ(scan.markers.size(), 23U);
    for (const MarkerKind kind : {MarkerKind::inside, MarkerKind::on_rim, MarkerKind::overlapping,
                                  MarkerKind::off_surface}) {
        const auto expected = kind == MarkerKind::inside        ? 16
                              : kind == MarkerKind::on_rim      ? 4
                              : kind == MarkerKind::off_surface ? 1
                                                                : 2;
        EXPECT_EQ(std::count(scan.kinds.begin(), scan.kinds.end(), kind), expected);
    }
}

// Away from all stickers every vertex of the one scan is a vertex of the other, bit for bit; under
// a sticker the surface is raised by its thickness.
TEST(SyntheticScan, DiffersFromTheTruthUnderStickersOnly) {
    const SyntheticScan scan = make_demo_scan(small_panel());
    std::set<std::array<float, 3>> true_points;
    const std::vector<float>& truth = scan.truth.positions;
    for (std::size_t i = 0; i < truth.size(); i += 3) {
        true_points.insert({truth[i], truth[i + 1], truth[i + 2]});
    }
    const SurfaceDistance true_surface(scan.truth);
    int raised = 0;
    for (std::size_t i = 0; i < scan.marked.positions.size(); i += 3) {
        const float* p = &scan.marked.positions[i];
        if (true_points.count({p[0], p[1], p[2]}) == 0) {
            ++raised;
            EXPECT_TRUE(std::any_of(scan.markers.begin(), scan.markers.end(), [&](const auto& m) {
                return distance_to(m, p) < m.radius + 0.3;
            }));
            const double lift = true_surface.distance(p[0], p[1], p[2]);
            EXPECT_GT(lift, 0.02);
            EXPECT_LT(lift, 0.5); // two stickers overlap
        }
    }
    EXPECT_GT(raised, 100);
}

TEST(SyntheticScan, RefusesWhatHasNoRoom) {
    DemoOptions options = small_panel();
    options.inside = 500;
    EXPECT_THROW(make_demo_scan(options), InputError);
    options = DemoOptions{};
    options.spacing = 0.0;
    EXPECT_THROW(make_demo_scan(options), InputError);
    options.spacing = 1e-6;
    EXPECT_THROW(make_demo_scan(options), InputError);
}
