// Markers that nobody listed.
#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/find/painted_markers.hpp"
#include "kelvane/toolkit/find/round_holes.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"
#include "kelvane/toolkit/synthesis/unlisted_markers.hpp"

#include <gtest/gtest.h>

#include <cmath>

using namespace KVN::toolkit;

namespace {

SyntheticScan panel() {
    DemoOptions options;
    options.width = 90.0;
    options.depth = 60.0;
    options.inside = 6;
    options.on_rim = 0;
    options.overlapping = false;
    options.off_surface = false;
    return make_demo_scan(options);
}

double apart(const KVN::Marker& a, const KVN::Marker& b) {
    return std::hypot(a.x - b.x, std::hypot(a.y - b.y, a.z - b.z));
}

/// Each of `wanted` is in the list once, and nothing else is.
void expect_found(const std::vector<KVN::Marker>& wanted, const std::vector<FoundMarker>& list,
                  double centre, double radius) {
    ASSERT_EQ(list.size(), wanted.size());
    for (const KVN::Marker& w : wanted) {
        const FoundMarker* nearest = &list.front();
        for (const FoundMarker& f : list) {
            nearest = apart(f.marker, w) < apart(nearest->marker, w) ? &f : nearest;
        }
        EXPECT_LT(apart(nearest->marker, w), centre);
        EXPECT_NEAR(nearest->marker.radius, w.radius, radius);
        const KVN::Marker& m = nearest->marker;
        EXPECT_GT(m.nx * w.nx + m.ny * w.ny + m.nz * w.nz, 0.97F);
        EXPECT_GT(nearest->confidence, 0.0);
    }
}

void expect_repaired(Scan scan, const std::vector<FoundMarker>& list) {
    EXPECT_EQ(repair_scan(scan, markers_of(list), {}).repaired(), static_cast<int>(list.size()));
}

} // namespace

TEST(RoundHoles, AreToldFromOtherHolesAndTheOutline) {
    const SyntheticScan made = panel();
    Scan scan = made.truth;
    std::vector<KVN::Marker> discs;
    for (std::size_t i = 0; i < made.markers.size(); ++i) {
        const auto shape = static_cast<HoleShape>(i < 3 ? 0 : i - 2);
        KVN::Marker place = made.markers[i];
        place.radius = shape == HoleShape::disc ? 3.0F : 3.5F;
        cut_hole(scan, place, shape);
        if (shape == HoleShape::disc) {
            discs.push_back(place);
        }
    }
    const std::vector<FoundMarker> list = find_round_holes(scan);
    // Faces go with any vertex in the disc: the border lies an edge or so outside.
    expect_found(discs, list, 0.45, 0.9);
    expect_repaired(scan, list);
    EXPECT_EQ(find_round_holes(scan, {0.0, 2.0}).size(), 0U);
    for (std::size_t t = 0; t < scan.triangles.size(); t += 3) { // inside out: the same holes
        std::swap(scan.triangles[t], scan.triangles[t + 1]);
    }
    EXPECT_EQ(find_round_holes(scan).size(), discs.size());
    EXPECT_THROW(find_round_holes(scan, {2.0, 1.0}), InputError);
}

TEST(PaintedMarkers, AreFoundAmongBlotchesAndLines) {
    SyntheticScan made = panel();
    for (KVN::Marker& m : made.markers) {
        m.radius = 2.8F;
    }
    EXPECT_THROW(find_painted_markers(made.truth, {2.8, 0.6, false}), InputError) << "no colours";
    paint_markers(made.truth, made.markers, 3);
    const std::vector<FoundMarker> list = find_painted_markers(made.truth, {2.8, 0.6, false});
    expect_found(made.markers, list, 0.45, 1e-6);
    expect_repaired(made.truth, list);
    for (const FoundMarker& inverse : find_painted_markers(made.truth, {2.8, 0.6, true})) {
        for (const KVN::Marker& m : made.markers) {
            EXPECT_GT(apart(inverse.marker, m), 1.4F);
        }
    }
    for (const double radius : {1.0, 0.0, -2.0, std::nan("")}) { // too coarse, senseless
        EXPECT_THROW(find_painted_markers(made.truth, {radius, 0.6, false}), InputError) << radius;
    }
}
