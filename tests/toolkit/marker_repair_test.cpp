// Whole repairs of small synthetic scans.
#include "toolkit_support.hpp"

#include "kelvane/kernel/mesh_check.hpp"
#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/block_cut.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/measure/marker_deviation.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"
#include "kelvane/toolkit/scan/scan_mesh.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

using namespace KVN::toolkit;

namespace {

const SyntheticScan& panel() {
    static const SyntheticScan scan = [] {
        DemoOptions options;
        options.width = 70.0;
        options.depth = 60.0;
        options.inside = 4;
        options.on_rim = 2;
        return make_demo_scan(options);
    }();
    return scan;
}

/// The mean edge of the panel is 0.73: cut about two edges beyond the stickers.
RepairOptions options_for(Method method) {
    RepairOptions options;
    options.method = method;
    return options;
}

class Repair : public testing::TestWithParam<Method> {};

bool same_bytes(const Scan& a, const Scan& b) {
    return a.triangles == b.triangles && a.positions.size() == b.positions.size() &&
           std::memcmp(a.positions.data(), b.positions.data(), 4 * a.positions.size()) == 0;
}

} // namespace

TEST_P(Repair, ClosesMarkersInsideNearTheTruth) {
    Scan scan = panel().marked;
    const RepairReport report = repair_scan(scan, panel().markers, options_for(GetParam()));
    const auto deviations =
        marker_deviations(scan, panel().truth, panel().markers, report.marker_size);
    ASSERT_EQ(report.markers.size(), panel().markers.size());
    for (std::size_t i = 0; i < report.markers.size(); ++i) {
        const MarkerReport& m = report.markers[i];
        SCOPED_TRACE("marker " + std::to_string(i + 1) + ": " + describe(m.outcome));
        if (panel().kinds[i] == MarkerKind::inside) {
            EXPECT_EQ(m.outcome, Outcome::repaired_loop);
            EXPECT_GT(m.border_vertices, 10);
            EXPECT_GT(m.new_vertices, 10);
            // A disc: faces = 2 * inner vertices + border - 2.
            EXPECT_EQ(m.new_faces, 2 * m.new_vertices + m.border_vertices - 2);
            // Noise of 0.01 on both surfaces, stickers of 0.1 to 0.2, holes some 9 across.
            EXPECT_LT(deviations[i].largest, GetParam() == Method::low ? 0.15 : 0.08);
        } else if (panel().kinds[i] == MarkerKind::overlapping) {
            EXPECT_TRUE(is_repaired(m.outcome));
            EXPECT_LT(deviations[i].largest, 0.15);
        } else if (panel().kinds[i] == MarkerKind::off_surface) {
            EXPECT_EQ(m.outcome, Outcome::no_vertex_within_reach);
        }
    }
}

TEST_P(Repair, LeavesASoundMeshWithTheRimAsItsOnlyBoundary) {
    Mesh_M::Mesh mesh;
    build_from(panel().marked, mesh);
    repair_mesh(mesh, panel().markers, options_for(GetParam()));
    const Mesh_M::MeshCheck check = Mesh_M::check_mesh(mesh);
    EXPECT_EQ(check.fault, "");
    EXPECT_EQ(check.non_manifold_edges, 0);
    EXPECT_EQ(scan_info(scan_of(mesh)).boundary_loops, 1);
    EXPECT_EQ(scan_info(scan_of(mesh)).components, 1);
}

TEST_P(Repair, IsTheSameForEveryNumberOfThreads) {
    Scan one = panel().marked;
    RepairOptions options = options_for(GetParam());
    options.threads = 1;
    repair_scan(one, panel().markers, options);
    for (const int threads : {2, 7}) {
        Scan other = panel().marked;
        options.threads = threads;
        repair_scan(other, panel().markers, options);
        EXPECT_TRUE(same_bytes(one, other)) << threads;
    }
}

// In another unit a power of two away the same repair comes out, to the bit. Markers of 2 to 4 mm.
TEST_P(Repair, IsTheSameInEveryUnit) {
    Scan plain = panel().marked;
    RepairOptions options = options_for(GetParam());
    options.marker_size = 1.5;
    const int repaired = repair_scan(plain, panel().markers, options).repaired();
    for (const int exponent : {-10, -100, 20, 55}) { // metres, smaller than any, beyond planets
        SCOPED_TRACE(exponent);
        const auto in_unit = [&](auto value) { return std::ldexp(value, exponent); };
        const auto rescale = [&](std::vector<float> values) {
            std::transform(values.begin(), values.end(), values.begin(), in_unit);
            return values;
        };
        std::vector<KVN::Marker> markers = panel().markers;
        for (KVN::Marker& m : markers) {
            m = {in_unit(m.x), in_unit(m.y), in_unit(m.z), m.nx, m.ny, m.nz, in_unit(m.radius)};
        }
        options.marker_size = in_unit(1.5);
        Scan scan = panel().marked;
        scan.positions = rescale(panel().marked.positions);
        Mesh_M::Mesh mesh;
        build_from(scan, mesh);
        const RepairReport report = repair_scan(scan, markers, options);
        EXPECT_EQ(report.repaired(), repaired);
        EXPECT_EQ(report.marker_size, in_unit(1.5));
        EXPECT_EQ(scan.triangles, plain.triangles);
        EXPECT_EQ(scan.positions, rescale(plain.positions));
        EXPECT_EQ(repair_mesh(mesh, markers, options).repaired(), repaired);
        EXPECT_EQ(scan_info(scan_of(mesh)).upper, scan_info(scan).upper);
    }
}

std::vector<Method> all_methods() {
    std::vector<Method> list;
    for (const MethodInfo& info : methods()) {
        list.push_back(info.method);
    }
    return list;
}

INSTANTIATE_TEST_SUITE_P(Methods, Repair, testing::ValuesIn(all_methods()),
                         [](const auto& info) { return to_string(info.param); });

// What is not under a marker comes out bit for bit and in its order, before all that is new.
TEST(MarkerRepair, LeavesTheRestAlone) {
    Scan scan = panel().marked;
    const RepairReport report = repair_scan(scan, panel().markers, {});
    int fresh = 0;
    for (const MarkerReport& m : report.markers) {
        fresh += m.new_vertices;
    }
    EXPECT_EQ(report.vertices_after, static_cast<std::int64_t>(scan.vertex_count()));
    EXPECT_EQ(report.faces_after, static_cast<std::int64_t>(scan.face_count()));
    const std::size_t kept = 3 * (scan.vertex_count() - static_cast<std::size_t>(fresh));
    const std::vector<float>& before = panel().marked.positions;
    std::size_t at = 0; // each kept vertex is found behind the last one
    for (std::size_t i = 0; i < kept; i += 3) {
        while (at < before.size() &&
               std::memcmp(&before[at], &scan.positions[i], 3 * sizeof(float)) != 0) {
            at += 3;
        }
        ASSERT_LT(at, before.size()) << "vertex " << i / 3;
        at += 3;
    }
}

TEST(MarkerRepair, TellsWhyNothingWasCut) {
    const std::vector<KVN::Marker> markers{
        {0, 0, 500, 0, 0, 1, 2},
        {std::numeric_limits<float>::quiet_NaN(), 0, 0, 0, 0, 1, 2},
        {0, 0, -2.2F, 0, 0, -1, 3},
    };
    Scan scan = panel().truth;
    const RepairReport report = repair_scan(scan, markers, {});
    EXPECT_EQ(report.markers[0].outcome, Outcome::no_vertex_within_reach);
    EXPECT_EQ(report.markers[1].outcome, Outcome::no_vertex_within_reach);
    EXPECT_EQ(report.markers[2].outcome, Outcome::all_facing_away);
    EXPECT_EQ(report.repaired(), 0);
    EXPECT_TRUE(same_bytes(scan, panel().truth));
}

TEST(MarkerRepair, MarkersWithinOneAnotherShareAHole) {
    const KVN::Marker first = panel().markers[0];
    const std::vector<float> lists[] = {{1, 1, 1}, {0.5F, 1, 0.7F}, {0.4F, 0.7F, 1}, {1, 0.4F}};
    for (const std::vector<float>& shares : lists) {
        std::vector<KVN::Marker> markers(shares.size(), first);
        for (std::size_t i = 0; i < shares.size(); ++i) {
            markers[i].radius = shares[i] * first.radius;
        }
        Scan scan = panel().marked;
        const RepairReport report = repair_scan(scan, markers, {});
        EXPECT_EQ(report.repaired(), static_cast<int>(shares.size()));
        EXPECT_EQ(std::count_if(report.markers.begin(), report.markers.end(),
                                [](const MarkerReport& m) { return m.new_faces > 0; }),
                  1);
    }
}

TEST(MarkerRepair, TakesNoMoreThreadsThanCanHaveWork) {
    const int useful = std::max(omp_get_num_procs(), static_cast<int>(panel().markers.size()));
    const int default_threads = omp_get_max_threads();
    omp_set_num_threads(100000); // as the environment may
    for (const int threads : {0, 100000}) {
        RepairOptions options;
        options.threads = threads;
        Scan scan = panel().marked;
        EXPECT_EQ(repair_scan(scan, panel().markers, options).threads, useful);
    }
    omp_set_num_threads(default_threads);
}

TEST(MarkerRepair, WarnsOfCoarseCoordinates) {
    for (const float away : {0.0F, 100e3F, 10e6F}) { // millimetres; edges of 0.73
        Scan scan = panel().marked;
        for (std::size_t i = 0; i < scan.positions.size(); i += 3) {
            scan.positions[i] += away;
        }
        KVN::Marker marker = panel().markers[0];
        marker.x += away;
        EXPECT_EQ(repair_scan(scan, {marker}, {}).warnings.empty(), away < 1e6F) << away;
    }
}

TEST(MarkerRepair, CancelLeavesTheScanAlone) {
    for (int stop = 0; stop < stage_count; ++stop) {
        Scan scan = panel().marked;
        Progress progress([&](Stage stage, double) {
            if (static_cast<int>(stage) == stop) {
                progress.cancel();
            }
        });
        EXPECT_THROW(repair_scan(scan, panel().markers, {}, &progress), Cancelled) << stop;
        EXPECT_TRUE(same_bytes(scan, panel().marked)) << stop;
        EXPECT_LT(progress.fraction(), 1.0);
    }
}

// In place there is no way back once a face is deleted.
TEST(MarkerRepair, InPlaceIsCancelledOnlyBeforeTheCut) {
    const auto run = [](Stage stop) {
        Mesh_M::Mesh mesh;
        build_from(panel().marked, mesh);
        Progress progress([&](Stage stage, double) {
            if (stage == stop) {
                progress.cancel();
            }
        });
        const int before = mesh.faces.liveCount;
        try {
            repair_mesh(mesh, panel().markers, {}, &progress);
        } catch (const Cancelled&) {
            EXPECT_EQ(mesh.faces.liveCount, before);
            return true;
        }
        EXPECT_EQ(progress.fraction(), 1.0);
        return false;
    };
    EXPECT_TRUE(run(Stage::removal));
    EXPECT_FALSE(run(Stage::fill));
}

TEST(MarkerRepair, RefusesOptionsThatMakeNoSense) {
    Scan scan = panel().marked;
    RepairOptions options;
    options.marker_size = -0.1;
    EXPECT_THROW(repair_scan(scan, panel().markers, options), InputError);
    options = {};
    options.threads = -1;
    EXPECT_THROW(repair_scan(scan, panel().markers, options), InputError);
    EXPECT_THROW(repair_scan(scan, {{0, 0, 0, 0, 0, 1, 0}}, {}), InputError);
    EXPECT_TRUE(same_bytes(scan, panel().marked));
}

TEST(MarkerRepair, SizeFollowsTheResolutionWhenAdjustable) {
    Scan scan = panel().marked;
    RepairOptions options;
    options.size_adjustable = true;
    options.resolution = 0.5F;
    options.marker_size = 4.8;
    EXPECT_NEAR(repair_scan(scan, {}, options).marker_size, 5.3, 1e-6);
    options.size_adjustable = false;
    EXPECT_EQ(repair_scan(scan, {}, options).marker_size, 4.8);
}

TEST(BlockCut, TakesWhatTouchesTheBlocksAndNothingElse) {
    Scan scan = panel().truth;
    const CutReport report = cut_blocks(scan, {{5, 5, 0, 6}, {-20, 10, 0, 4}, {0, 0, 300, 5}});
    EXPECT_EQ(report.faces_after, static_cast<std::int64_t>(scan.face_count()));
    EXPECT_LT(report.faces_after, report.faces_before);
    EXPECT_EQ(scan_info(scan).boundary_loops, 3);
    for (std::size_t i = 0; i < scan.positions.size(); i += 3) {
        const float* p = &scan.positions[i];
        EXPECT_GT(std::hypot(p[0] - 5, p[1] - 5, p[2]), 6.0F - 1e-4F);
    }
    Scan whole = panel().truth;
    EXPECT_EQ(cut_blocks(whole, {}).faces_after, report.faces_before);
    EXPECT_TRUE(same_bytes(whole, panel().truth));
}
