#include "toolkit_support.hpp"

#include "kelvane/toolkit/measure/surface_distance.hpp"
#include "kelvane/toolkit/synthesis/portable_random.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

using namespace KVN::toolkit;

TEST(SurfaceDistance, EveryRegionOfATriangle) {
    Scan scan;
    scan.positions = {0, 0, 0, 4, 0, 0, 0, 3, 0};
    scan.triangles = {0, 1, 2};
    const SurfaceDistance surface(scan);
    const std::array<double, 4> cases[] = {
        {1, 1, 2, 2},      // face
        {-3, -4, 0, 5},    // corner a
        {6, 0, 0, 2},      // corner b
        {0, 7, 3, 5},      // corner c
        {2, -1, 0, 1},     // edge ab
        {-2, 1, 0, 2},     // edge ac
        {3.2, 2.7, 0, 1.5} // edge bc, 1.5 along its normal (0.6, 0.8) from the middle of it
    };
    for (const auto& [x, y, z, expected] : cases) {
        const double shift = expected == 1.5 ? -0.3 : 0.0; // (2.9, 2.7) = (2, 1.5) + 1.5 (0.6, 0.8)
        EXPECT_NEAR(surface.distance(x + shift, y, z), expected, 1e-12) << x << ' ' << y;
    }
    EXPECT_EQ(surface.closest(1, 1, 2).triangle, 0);
    EXPECT_TRUE(std::isinf(surface.distance(std::nan(""), 0, 0)));
    EXPECT_TRUE(std::isinf(SurfaceDistance(Scan{}).distance(0, 0, 0)));
}

// The tree must not miss what a search through all triangles finds; each triangle is searched as a
// surface of its own.
TEST(SurfaceDistance, AgreesWithASearchThroughAllTriangles) {
    DemoOptions options;
    options.width = options.depth = 40.0;
    options.spacing = 2.0;
    options.inside = 1;
    options.on_rim = 0;
    options.overlapping = options.off_surface = false;
    Scan scan = make_demo_scan(options).marked;
    scan.positions[0] = std::numeric_limits<float>::quiet_NaN();
    const SurfaceDistance surface(scan);
    PortableRandom random(5);
    for (int k = 0; k < 40; ++k) {
        const double p[3] = {random.uniform(-30, 30), random.uniform(-30, 30),
                             random.uniform(-9, 9)};
        double nearest = std::numeric_limits<double>::infinity();
        for (std::size_t f = 0; f < scan.face_count(); ++f) {
            Scan one;
            one.positions = scan.positions;
            one.triangles.assign(&scan.triangles[3 * f], &scan.triangles[3 * f] + 3);
            nearest = std::min(nearest, SurfaceDistance(one).distance(p[0], p[1], p[2]));
        }
        EXPECT_EQ(surface.distance(p[0], p[1], p[2]), nearest);
    }
}
