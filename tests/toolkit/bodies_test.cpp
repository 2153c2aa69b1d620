#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/measure/marker_deviation.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"
#include "kelvane/toolkit/scan/scan_mesh.hpp"
#include "kelvane/toolkit/synthesis/raised_bodies.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

using namespace KVN::toolkit;
using KVN::Marker;

namespace {

constexpr double edge = 0.8;

/// The marker on the vertex of `scan` that is nearest to (x, y) from above.
Marker foot_at(const Scan& scan, const KVN::Mesh& mesh, float x, float y, float radius) {
    std::size_t best = 0;
    double least = 1e30;
    for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
        const float* p = &scan.positions[3 * v];
        const double away = std::hypot(p[0] - x, p[1] - y) - 1e-3 * p[2];
        if (away < least) {
            least = away;
            best = v;
        }
    }
    const float* p = &scan.positions[3 * best];
    const auto n = mesh.vertices.at(static_cast<int>(best)).normal;
    return {p[0], p[1], p[2], n.x, n.y, n.z, radius};
}

/// A curved panel with one body of every kind.
struct Bodies {
    Scan truth;
    std::vector<Marker> feet;
    RaisedScan raised;

    Bodies() {
        DemoOptions panel;
        panel.width = 96;
        panel.depth = 76;
        panel.spacing = edge / 1.15;
        panel.inside = panel.on_rim = 0;
        panel.overlapping = panel.off_surface = false;
        truth = make_demo_scan(panel).truth;
        KVN::Mesh mesh;
        build_from(truth, mesh);
        std::vector<RaisedBody> bodies;
        for (int kind = 0; kind < body_kinds; ++kind) {
            const auto x = static_cast<float>(22 * (kind % 4) - 33);
            const auto y = static_cast<float>(22 * (kind / 4) - 22);
            feet.push_back(foot_at(truth, mesh, x, y, 2.5F));
            bodies.push_back({static_cast<BodyKind>(kind), feet.back()});
        }
        raised = raise_bodies(truth, bodies, {edge, 0.01, 7});
    }
};

/// A plate of 30 x 30 x `thickness` around the origin, its upper side at 0.
Scan plate(double thickness) {
    constexpr int cells = 42;
    const int layers = 2;
    std::map<std::array<int, 3>, std::int32_t> places;
    Scan scan;
    const auto at = [&](std::array<int, 3> c) {
        const auto [entry, fresh] = places.emplace(c, scan.vertex_count());
        if (fresh) {
            scan.positions.insert(scan.positions.end(),
                                  {30.0F * c[0] / cells - 15.0F, 30.0F * c[1] / cells - 15.0F,
                                   static_cast<float>(thickness) * (float(c[2]) / layers - 1.0F)});
        }
        return entry->second;
    };
    // Each side: where it begins, and its two directions, their cross product pointing outwards.
    const std::array<int, 3> x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
    const auto side = [&](std::array<int, 3> o, std::array<int, 3> u, std::array<int, 3> v) {
        const auto steps = [&](const std::array<int, 3>& d) { return d[2] != 0 ? layers : cells; };
        const auto corner = [&](int i, int j) {
            return at({o[0] + i * u[0] + j * v[0], o[1] + i * u[1] + j * v[1],
                       o[2] + i * u[2] + j * v[2]});
        };
        for (int i = 0; i < steps(u); ++i) {
            for (int j = 0; j < steps(v); ++j) {
                const std::int32_t a = corner(i, j), b = corner(i + 1, j);
                const std::int32_t c = corner(i + 1, j + 1), d = corner(i, j + 1);
                scan.triangles.insert(scan.triangles.end(), {a, b, c, a, c, d});
            }
        }
    };
    side({0, 0, layers}, x, y);
    side({0, 0, 0}, y, x);
    side({0, 0, 0}, x, z);
    side({0, cells, 0}, z, x);
    side({0, 0, 0}, z, y);
    side({cells, 0, 0}, y, z);
    return scan;
}

std::set<std::array<float, 2>> under_side(const Scan& scan, float z) {
    std::set<std::array<float, 2>> points;
    for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
        const float* p = &scan.positions[3 * v];
        if (p[2] == z) {
            points.insert({p[0], p[1]});
        }
    }
    return points;
}

RepairOptions with_margin(double margin) {
    RepairOptions options;
    options.marker_size = margin;
    return options;
}

} // namespace

TEST(Bodies, OfEveryKindAreTakenOffByEveryMethod) {
    const Bodies bodies;
    for (const MethodInfo& method : methods()) {
        RepairOptions options = with_margin(1.0);
        options.method = method.method;
        Scan scan = bodies.raised.scan;
        const RepairReport report = repair_scan(scan, bodies.raised.markers, options);
        const auto off = marker_deviations(scan, bodies.truth, bodies.feet, 1.0 + 2 * edge);
        for (int kind = 0; kind < body_kinds; ++kind) {
            SCOPED_TRACE(std::string(method.name) + ", " + to_string(BodyKind(kind)));
            EXPECT_EQ(report.markers[kind].outcome, Outcome::repaired_loop);
            EXPECT_LT(off[kind].largest, 0.15);
        }
        const TakenBody& debris = report.markers[int(BodyKind::specks)].body;
        EXPECT_GT(debris.islands + debris.specks, 0); // the cut takes those within its reach
        EXPECT_NEAR(report.markers[int(BodyKind::disc_8)].body.base_height, -8, 0.5);
        EXPECT_EQ(scan_info(scan).boundary_edges, scan_info(bodies.truth).boundary_edges);
        EXPECT_EQ(scan_info(scan).components, 1);
    }
}

TEST(Bodies, AreNotReportedRepairedWhereTheyStay) {
    const Bodies bodies;
    RepairOptions flat = with_margin(1.0);
    flat.flat_only = true;
    RepairOptions low = with_margin(1.0);
    low.body_height = 4.0; // half of the highest
    Scan scan = bodies.raised.scan;
    const RepairReport left = repair_scan(scan, bodies.raised.markers, flat);
    const auto off = marker_deviations(scan, bodies.truth, bodies.feet, 1.0);
    for (int kind = 0; kind < body_kinds; ++kind) {
        SCOPED_TRACE(to_string(BodyKind(kind)));
        EXPECT_FALSE(is_repaired(left.markers[kind].outcome) && off[kind].largest > 0.6 * edge);
    }
    EXPECT_LE(left.repaired(), 1); // the flattest
    scan = bodies.raised.scan;
    const RepairReport higher = repair_scan(scan, bodies.raised.markers, low);
    EXPECT_EQ(higher.markers[int(BodyKind::disc_8)].outcome, Outcome::body_not_bounded);
    EXPECT_EQ(higher.markers[int(BodyKind::disc_8)].new_faces, 0);
}

TEST(Bodies, OnThinPlatesLeaveTheOtherSideAlone) {
    const float thickness = 1.2F;
    const Scan bare = plate(thickness);
    std::vector<RaisedBody> bodies;
    for (const auto& [x, y] : {std::pair(0.0F, 0.0F), std::pair(0.0F, 11.3F), // out to 0.2 mm
                               std::pair(-10.5F, -10.5F)}) {
        bodies.push_back({BodyKind::disc_3, {x, y, 0, 0, 0, 1, 2.5F}});
    }
    const RaisedScan raised = raise_bodies(bare, bodies, {0.7, 0.0, 3});
    Scan scan = raised.scan;
    const RepairReport report = repair_scan(scan, raised.markers, with_margin(1.0));
    EXPECT_EQ(report.repaired(), 3);
    EXPECT_EQ(under_side(scan, -thickness), under_side(bare, -thickness));
    EXPECT_EQ(scan_info(scan).boundary_edges, 0);
}

TEST(Bodies, AreNotSeenInStickers) {
    DemoOptions panel;
    panel.width = 80;
    panel.depth = 70;
    panel.inside = 4;
    panel.ragged_rim = true;
    const SyntheticScan made = make_demo_scan(panel);
    Scan looked = made.marked;
    Scan flat = made.marked;
    RepairOptions options = with_margin(1.0);
    const RepairReport report = repair_scan(looked, made.markers, options);
    options.flat_only = true;
    repair_scan(flat, made.markers, options);
    EXPECT_EQ(looked.positions, flat.positions);
    EXPECT_EQ(looked.triangles, flat.triangles);
    EXPECT_EQ(report.repaired() + 1, static_cast<int>(made.markers.size())); // one lies nowhere
}
