// Markers cut by the rim of a scan: the curve through the gap, and whole repairs with it.
#include "kelvane/kernel/mesh_check.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/job/repair_plan.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"
#include "kelvane/toolkit/report/explanation.hpp"
#include "kelvane/toolkit/rims/rim_curve.hpp"
#include "kelvane/toolkit/scan/scan_mesh.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

using namespace KVN::toolkit;
using Eigen::Vector3d;

namespace {

using Curve = std::function<Vector3d(double)>; // by x

/// A corner of 110 degrees over x = 0.
Vector3d corner(double x) {
    return {x, 30.0 - 0.7 * std::fabs(x), 0.0};
}

Vector3d wave(double x) {
    return {x, 20.0 + 1.5 * std::sin(0.15 * x + 0.4), 0.8 * std::cos(0.12 * x)};
}

Curve circle(double radius) {
    return [radius](double x) {
        return Vector3d(radius * std::sin(x / radius), 5.0 + radius * std::cos(x / radius), 0.0);
    };
}

double distance_to(const Curve& curve, const Vector3d& p) {
    double least = std::numeric_limits<double>::infinity();
    for (double x = -20.0; x <= 20.0; x += 0.01) {
        least = std::min(least, (curve(x) - p).norm());
    }
    return least;
}

/// `edges` edges of length about 1 on either side of a gap from -half to half.
RimSide side(const Curve& curve, double half, double sign, int edges, double noise) {
    RimSide points;
    for (int k = 0; k <= edges; ++k) {
        const double off = noise * std::sin(37.0 * k + sign);
        points.push_back(curve(sign * (half + k)) + Vector3d(0.0, off, -off));
    }
    return points;
}

/// A sheet of unit edges below a rim: rows follow the rim, one edge apart, the last one is it.
Scan sheet_below(const Curve& rim, int half_width, int rows) {
    Scan scan;
    const int columns = 2 * half_width + 1;
    for (int row = rows; row >= 0; --row) {
        for (int i = 0; i < columns; ++i) {
            const Vector3d p =
                rim(i - half_width + 0.2 * std::sin(5.0 * i + row)) - Vector3d(0.0, row, 0.0);
            for (int k = 0; k < 3; ++k) {
                scan.positions.push_back(static_cast<float>(p[k]));
            }
        }
    }
    for (int row = 0; row < rows; ++row) {
        for (int i = 0; i + 1 < columns; ++i) {
            const int v = row * columns + i;
            scan.triangles.insert(scan.triangles.end(),
                                  {v, v + 1, v + columns + 1, v, v + columns + 1, v + columns});
        }
    }
    return scan;
}

KVN::Marker marker_at(const Curve& rim) {
    const Vector3d top = rim(0.0);
    return {static_cast<float>(top.x()),
            static_cast<float>(top.y() - 2.0),
            static_cast<float>(top.z()),
            0.0F,
            0.0F,
            1.0F,
            3.0F};
}

} // namespace

TEST(Rims, FollowTheCurveOfBothSides) {
    struct Case {
        const char* name;
        Curve curve;
        double half; // of the gap
        int edges;
        double noise;
        RimClosing closing;
        double tolerance;
    };
    const Case cases[] = {
        {"straight", [](double x) { return Vector3d(x, 0, 0); }, 5, 10, 0, RimClosing::curved,
         1e-9},
        {"circle", circle(25), 5, 10, 0, RimClosing::curved, 2e-3},
        {"small circle", circle(12), 5, 10, 0, RimClosing::curved, 0.05},
        {"wave", wave, 4, 10, 0, RimClosing::curved, 0.03},
        {"noisy wave", wave, 4, 10, 0.1, RimClosing::curved, 0.2},
        {"fewer edges", wave, 3, 5, 0, RimClosing::curved, 0.1},
        {"too few edges", wave, 3, 4, 0, RimClosing::few_edges, 0},
        {"no gap", wave, 0.6, 10, 0, RimClosing::short_gap, 0},
        {"corner", corner, 5, 10, 0, RimClosing::no_common_curve, 0},
        {"more than half a circle", circle(12.5), 20, 5, 0, RimClosing::bends_back, 0},
        {"not a number", [](double) { return Vector3d(0, std::nan(""), 0); }, 5, 10, 0,
         RimClosing::short_gap, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const RimSide from = side(c.curve, c.half, -1.0, c.edges, c.noise);
        const RimSide to = side(c.curve, c.half, 1.0, c.edges, c.noise);
        const RimCurve rim = continue_rim(from, to);
        EXPECT_EQ(rim.closing, c.closing);
        EXPECT_EQ(rim.points.empty(), c.closing != RimClosing::curved);
        std::vector<Vector3d> line{from.front()};
        line.insert(line.end(), rim.points.begin(), rim.points.end());
        line.push_back(to.front());
        for (std::size_t i = 1; i < line.size() && !rim.points.empty(); ++i) {
            EXPECT_NEAR((line[i] - line[i - 1]).norm(), 1.0, 0.2);
            EXPECT_LT(distance_to(c.curve, line[i]), c.tolerance + c.noise);
        }
    }
}

TEST(Rims, AreClosedByEveryMethod) {
    struct Case {
        const char* name;
        Curve rim;
        bool straight; // asked for
        RimClosing closing;
    };
    const Case cases[] = {{"circle", circle(40), false, RimClosing::curved},
                          {"wave", wave, false, RimClosing::curved},
                          {"straight as asked", wave, true, RimClosing::as_asked},
                          {"corner", corner, false, RimClosing::no_common_curve}};
    for (const Case& c : cases) {
        const Scan scan = sheet_below(c.rim, 24, 16);
        const Vector3d top = c.rim(0.0);
        const KVN::Marker marker = marker_at(c.rim);
        for (const MethodInfo& method : methods()) {
            SCOPED_TRACE(std::string(c.name) + ", " + method.name);
            RepairOptions options;
            options.method = method.method;
            options.marker_size = 0.5;
            options.straight_rims = c.straight;
            Mesh_M::Mesh mesh;
            build_from(scan, mesh);
            const RepairReport report = repair_mesh(mesh, {marker}, options);
            ASSERT_EQ(report.markers[0].outcome, Outcome::repaired_chain);
            EXPECT_EQ(report.markers[0].rim, c.closing);
            EXPECT_NE(explain_marker(scan, {marker}, 0, options).text.find(phrase(c.closing)),
                      std::string::npos);
            EXPECT_TRUE(Mesh_M::check_mesh(mesh).sound());
            const Scan after = scan_of(mesh);
            EXPECT_EQ(static_cast<std::int64_t>(after.vertex_count()), report.vertices_after);
            EXPECT_EQ(scan_info(after).boundary_loops, 1);
            double farthest = 0.0;
            for (int i = 0; i < mesh.edges.total(); ++i) {
                const Mesh_R::_edge& e = mesh.edges.at(i);
                const Vector3d middle =
                    0.5 * Vector3d(e.start->pos.x + e.end->pos.x, e.start->pos.y + e.end->pos.y,
                                   e.start->pos.z + e.end->pos.z);
                if (e.status != Mesh_R::status_deleted && e.faceCount == 1 &&
                    std::fabs(middle.x()) < 6.0 && middle.y() > top.y() - 8.0) {
                    farthest = std::max(farthest, distance_to(c.rim, middle));
                }
            }
            EXPECT_EQ(farthest < 0.06, c.closing == RimClosing::curved) << farthest;
        }
    }
}

// A property that grows like a coordinate comes out as the coordinate, along the rim and inside.
TEST(Rims, HandPropertiesOn) {
    const Curve rim = circle(40);
    Scan scan = sheet_below(rim, 24, 16);
    scan.vertex_properties = {{"quality", std::vector<float>(scan.vertex_count())}};
    RepairOptions options;
    options.marker_size = 0.5;
    RepairReport report;
    StageClock clock(report, nullptr, false);
    const Splice splice = plan_repair(ScanSurface(scan), {marker_at(rim)}, options, report, clock);
    ASSERT_EQ(splice.new_vertex_count(), static_cast<std::size_t>(report.markers[0].new_vertices));
    for (std::size_t v = 0; v < splice.new_vertex_count(); ++v) {
        double x = 0.0;
        for (std::uint32_t k = splice.origin_begin[v]; k < splice.origin_begin[v + 1]; ++k) {
            ASSERT_LT(splice.origin_vertex[k], scan.vertex_count());
            x += static_cast<double>(splice.origin_weight[k]) *
                 static_cast<double>(scan.positions[3 * std::size_t{splice.origin_vertex[k]}]);
        }
        EXPECT_NEAR(x, static_cast<double>(splice.positions[3 * v]), 0.05);
    }
}
