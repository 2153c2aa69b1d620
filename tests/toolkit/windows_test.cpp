// Repairs by windows against repairs of whole meshes: synthetic scans and small scans with random
// defects. KELVANE_RANDOM_SCANS sets how many of the latter are made (default: 60).
#include "toolkit_support.hpp"

#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/job/repair_plan.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/scan/scan_mesh.hpp"
#include "kelvane/toolkit/scan/splice_arrays.hpp"
#include "kelvane/toolkit/synthesis/portable_random.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>
#include <set>

using namespace KVN::toolkit;

namespace {

template <class T>
bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

bool same(const Splice& a, const Splice& b) {
    return a.vertices_gone == b.vertices_gone && a.faces_gone == b.faces_gone &&
           same_bits(a.positions, b.positions) && a.faces == b.faces &&
           a.origin_begin == b.origin_begin && a.origin_vertex == b.origin_vertex &&
           same_bits(a.origin_weight, b.origin_weight) && a.face_origin == b.face_origin &&
           same_bits(a.normals, b.normals);
}

bool same(const RepairReport& a, const RepairReport& b) {
    const auto equal = [](const MarkerReport& m, const MarkerReport& n) {
        return m.outcome == n.outcome && m.border_vertices == n.border_vertices &&
               m.new_vertices == n.new_vertices && m.new_faces == n.new_faces &&
               m.search == n.search && m.body.faces == n.body.faces && m.rim == n.rim;
    };
    return std::equal(a.markers.begin(), a.markers.end(), b.markers.begin(), b.markers.end(),
                      equal) &&
           a.marker_size == b.marker_size && a.faces_after == b.faces_after &&
           a.vertices_after == b.vertices_after && a.diagnostics == b.diagnostics;
}

Splice planned(const Surface& surface, const std::vector<KVN::Marker>& markers,
               const RepairOptions& options, RepairReport& report, const WindowTuning& tuning = {},
               WindowNotes* notes = nullptr) {
    StageClock clock(report, nullptr, false);
    return plan_repair(surface, markers, options, report, clock, tuning, notes);
}

struct Planned {
    Splice splice;
    RepairReport report;
    WindowNotes windows;
};

Planned plan(const Scan& scan, const std::vector<KVN::Marker>& markers, RepairOptions options,
             bool whole, const WindowTuning& tuning = {}) {
    options.whole_mesh = whole;
    options.threads = 1;
    Planned result;
    result.splice =
        planned(ScanSurface(scan), markers, options, result.report, tuning, &result.windows);
    return result;
}

/// A bumpy sheet with everything that can be wrong with a scan, in random order.
struct DefectiveScan {
    Scan scan;
    std::vector<KVN::Marker> markers;
    RepairOptions options;
};

class DefectMaker {
  public:
    explicit DefectMaker(std::uint64_t seed) : random_(seed) {}

    DefectiveScan make() {
        sheet();
        lose_faces();
        spoil();
        if (below(2) == 0) {
            shuffle();
        }
        DefectiveScan made{scan_, {}, {}};
        for (int i = 1 + below(4); i > 0; --i) {
            const auto at = static_cast<float>(size_);
            made.markers.push_back(
                {at * real(), at * real(), 0.0F, 0.0F, 0.0F, 1.0F, 0.8F + 2.5F * real()});
        }
        made.options.method = static_cast<KVN::Method>(below(3));
        made.options.leave_open = below(2) == 0;
        if (below(2) == 0) {
            made.options.marker_size = 1.5F * real();
        }
        return made;
    }

  private:
    int below(int n) { return static_cast<int>(random_.uniform() * n); }
    float real() { return static_cast<float>(random_.uniform()); }
    int any_vertex() { return below(static_cast<int>(scan_.vertex_count())); }
    void face(int a, int b, int c) { scan_.triangles.insert(scan_.triangles.end(), {a, b, c}); }
    int vertex(float x, float y, float z) {
        scan_.positions.insert(scan_.positions.end(), {x, y, z});
        return static_cast<int>(scan_.vertex_count()) - 1;
    }

    void sheet() {
        size_ = 24 + below(12);
        for (int y = 0; y <= size_; ++y) {
            for (int x = 0; x <= size_; ++x) {
                vertex(static_cast<float>(x) + 0.4F * real(), static_cast<float>(y) + 0.4F * real(),
                       0.3F * real());
            }
        }
        const int row = size_ + 1;
        for (int y = 0; y < size_; ++y) {
            for (int x = 0; x < size_; ++x) {
                const int v = y * row + x;
                face(v, v + 1, v + row + 1);
                face(v, v + row + 1, v + row);
            }
        }
    }

    /// Long slits and single faces: walks along them leave the windows, and pinches come about.
    void lose_faces() {
        std::set<int> lost;
        const int faces = static_cast<int>(scan_.face_count());
        for (int i = below(60); i > 0; --i) {
            lost.insert(below(faces));
        }
        for (int i = below(4); i > 0; --i) {
            const int start = below(size_) * 2 * size_ + 2 * below(size_);
            const int step = below(2) == 0 ? 2 : 2 * size_;
            for (int k = 0, f = start; k < 5 + below(size_); ++k, f += step) {
                lost.insert({f, f + 1});
            }
        }
        std::vector<std::int32_t> kept;
        for (int f = 0; f < faces; ++f) {
            if (lost.count(f) == 0) {
                kept.insert(kept.end(), scan_.triangles.begin() + 3 * f,
                            scan_.triangles.begin() + 3 * f + 3);
            }
        }
        scan_.triangles = kept;
    }

    void spoil() {
        const int faces = static_cast<int>(scan_.face_count());
        for (int i = below(12); i > 0; --i) {
            const int* t = &scan_.triangles[3 * static_cast<std::size_t>(below(faces))];
            const int a = t[0], b = t[1], c = t[2];
            const float* p = &scan_.positions[3 * static_cast<std::size_t>(a)];
            switch (below(6)) {
            case 0: // duplicate, turned over or not
                below(2) == 0 ? face(b, c, a) : face(b, a, c);
                break;
            case 1: // degenerate
                face(a, b, a);
                break;
            case 2: // fin
                face(a, b, vertex(p[0], p[1], p[2] + 1.0F));
                break;
            case 3: // sliver far across the sheet
                face(a, any_vertex(), c);
                break;
            case 4: // not finite
                scan_.positions[3 * static_cast<std::size_t>(any_vertex()) +
                                static_cast<std::size_t>(below(3))] =
                    std::numeric_limits<float>::quiet_NaN();
                break;
            case 5: // isolated
                vertex(p[0], p[1], p[2]);
                break;
            }
        }
    }

    void shuffle() {
        std::vector<int> place(scan_.vertex_count());
        for (std::size_t i = 0; i < place.size(); ++i) {
            place[i] = static_cast<int>(i);
        }
        const auto mix = [this](auto& list) {
            for (std::size_t i = list.size(); i > 1; --i) {
                std::swap(list[i - 1], list[static_cast<std::size_t>(below(static_cast<int>(i)))]);
            }
        };
        mix(place);
        std::vector<std::array<std::int32_t, 3>> faces(scan_.face_count());
        for (std::size_t i = 0; i < scan_.triangles.size(); ++i) {
            const auto v = static_cast<std::size_t>(scan_.triangles[i]);
            faces[i / 3][i % 3] = place[v];
        }
        mix(faces);
        std::vector<float> positions(scan_.positions.size());
        for (std::size_t v = 0; v < place.size(); ++v) {
            std::copy_n(&scan_.positions[3 * v], 3,
                        &positions[3 * static_cast<std::size_t>(place[v])]);
        }
        scan_.positions = positions;
        scan_.triangles.clear();
        for (const auto& f : faces) {
            face(f[0], f[1], f[2]);
        }
    }

    PortableRandom random_;
    Scan scan_;
    int size_ = 0;
};

/// Uses of each edge by faces with three different corners in range.
std::map<std::pair<int, int>, int> edge_uses(const Scan& scan) {
    std::map<std::pair<int, int>, int> uses;
    for (std::size_t i = 0; i < scan.triangles.size(); ++i) {
        const int a = scan.triangles[i];
        const int b = scan.triangles[i % 3 == 2 ? i - 2 : i + 1];
        ++uses[std::minmax(a, b)];
    }
    return uses;
}

constexpr double panel_width = 50.0;

SyntheticScan panel(std::uint64_t seed, bool ragged) {
    DemoOptions demo;
    demo.width = panel_width;
    demo.depth = 45.0;
    demo.inside = 2;
    demo.on_rim = 2;
    demo.ragged_rim = ragged;
    demo.seed = seed;
    return make_demo_scan(demo);
}

int random_scans() {
    const char* count = std::getenv("KELVANE_RANDOM_SCANS");
    return count != nullptr ? std::atoi(count) : 60;
}

} // namespace

TEST(Windows, EqualTheWholeMeshOnRandomDefects) {
    int partial = 0;
    int more_rounds = 0;
    int apart = 0;
    int caught = 0;
    std::map<Outcome, int> outcomes;
    for (int seed = 1; seed <= random_scans(); ++seed) {
        const DefectiveScan made = DefectMaker(static_cast<std::uint64_t>(seed)).make();
        const Planned whole = plan(made.scan, made.markers, made.options, true);
        WindowTuning tuning;
        if (seed % 2 == 0) {
            tuning.margins_beyond = 0.0; // the windows have to grow
            tuning.radii_beyond = 0.0;
        }
        if (seed % 3 != 0) {
            tuning.triangles_per_part = 1; // every piece is a part
        }
        const Planned windows = plan(made.scan, made.markers, made.options, false, tuning);
        ASSERT_TRUE(same(whole.splice, windows.splice)) << "seed " << seed;
        ASSERT_TRUE(same(whole.report, windows.report)) << "seed " << seed;
        partial += windows.windows.vertices < made.scan.vertex_count() ? 1 : 0;
        more_rounds += windows.windows.rounds > 1 ? 1 : 0;
        apart += windows.windows.parts > 1 ? 1 : 0;
        for (const MarkerReport& m : whole.report.markers) {
            ++outcomes[m.outcome];
        }
        tuning.guard = false;
        const Planned blind = plan(made.scan, made.markers, made.options, false, tuning);
        caught += !same(whole.splice, blind.splice) || !same(whole.report, blind.report) ? 1 : 0;
    }
    EXPECT_GT(partial, random_scans() / 4);
    EXPECT_GT(more_rounds, random_scans() / 4);
    EXPECT_GT(apart, random_scans() / 8);
    EXPECT_GT(caught, 0) << "without the check the same comparison has to fail somewhere";
    RecordProperty("partial", partial);
    RecordProperty("more_rounds", more_rounds);
    RecordProperty("apart", apart);
    RecordProperty("caught_without_check", caught);
    for (const auto& [outcome, count] : outcomes) {
        RecordProperty(to_string(outcome), count);
    }
}

// A binary STL file is welded in its windows alone; the result is that of its arrays, of which a
// mesh is made.
TEST(Windows, EqualTheWholeMeshOnLooseCorners) {
    const test::Folder folder;
    const auto soup = [](const Scan& scan) {
        std::vector<float> points;
        for (const std::int32_t corner : scan.triangles) {
            const auto from = scan.positions.begin() + 3 * corner;
            points.insert(points.end(), from, from + 3);
        }
        return points;
    };
    int repaired = 0;
    for (int seed = 1; seed <= random_scans() / 2; ++seed) {
        DefectiveScan made = DefectMaker(static_cast<std::uint64_t>(seed)).make();
        for (float& value : made.scan.positions) {
            value = std::isfinite(value) ? value : 0.0F;
        }
        write_scan(folder / "a.stl", made.scan);
        const auto file = open_scan(folder / "a.stl");
        RepairReport report;
        WindowTuning tuning;
        tuning.margins_beyond = seed % 2; // or the windows have to grow
        tuning.radii_beyond = 0.0;
        tuning.triangles_per_part = 1;
        write_spliced(*file,
                      planned(FileSurface(*file), made.markers, made.options, report, tuning),
                      folder / "b.stl");
        Scan arrays = file->to_scan();
        const Planned whole = plan(arrays, made.markers, made.options, true);
        apply_splice(arrays, whole.splice);
        ASSERT_TRUE(same_bits(soup(read_scan(folder / "b.stl")), soup(arrays))) << "seed " << seed;
        EXPECT_EQ(report.faces_after, whole.report.faces_after);
        repaired += report.repaired();
    }
    EXPECT_GT(repaired, 0);
}

// A place that fails is left as it was: no edge gets a third face, and where nothing is repaired
// nothing changes.
TEST(Windows, NeverLeaveAScanWorse) {
    int untouched = 0;
    for (int seed = 1; seed <= random_scans(); ++seed) {
        DefectiveScan made = DefectMaker(static_cast<std::uint64_t>(seed)).make();
        made.options.leave_open = false;
        const Planned repair = plan(made.scan, made.markers, made.options, false);
        const auto crowded = [](const Scan& scan) {
            const auto uses = edge_uses(scan);
            return std::count_if(uses.begin(), uses.end(),
                                 [](const auto& use) { return use.second > 2; });
        };
        Scan after = made.scan;
        apply_splice(after, repair.splice);
        EXPECT_LE(crowded(after), crowded(made.scan)) << "seed " << seed;
        if (repair.report.repaired() == 0) {
            ++untouched;
            EXPECT_TRUE(repair.splice.vertices_gone.empty()) << "seed " << seed;
            EXPECT_TRUE(repair.splice.faces.empty()) << "seed " << seed;
            EXPECT_TRUE(repair.splice.faces_gone.empty()) << "seed " << seed;
        }
    }
    EXPECT_GT(untouched, 0);
}

// Larger scans, in the folders of the environment variable KELVANE_SCANS.
TEST(Windows, EqualTheWholeMeshOnMarkedScans) {
    const char* place = std::getenv("KELVANE_SCANS");
    if (place == nullptr) {
        GTEST_SKIP() << "set KELVANE_SCANS to a folder of marked scans";
    }
    for (const auto& entry : std::filesystem::directory_iterator(place)) {
        if (!std::filesystem::exists(entry.path() / "marked.ply")) {
            continue;
        }
        const Scan scan = read_scan(entry.path() / "marked.ply");
        const std::vector<KVN::Marker> markers = read_markers(entry.path() / "markers.csv");
        for (const MethodInfo& method : methods()) {
            SCOPED_TRACE(entry.path().filename().string() + ", " + method.name);
            RepairOptions options;
            options.method = method.method;
            const Planned whole = plan(scan, markers, options, true);
            const Planned windows = plan(scan, markers, options, false);
            EXPECT_TRUE(same(whole.splice, windows.splice));
            EXPECT_TRUE(same(whole.report, windows.report));
            RepairReport report; // and read from the file piece by piece
            const auto file = open_scan(entry.path() / "marked.ply");
            EXPECT_TRUE(same(whole.splice, planned(FileSurface(*file), markers, options, report)));
        }
    }
}

TEST(Windows, EqualTheWholeMeshOnSyntheticScans) {
    struct Case {
        const char* name;
        std::uint64_t seed;
        bool ragged;
        float radius_scale;
    };
    const Case cases[] = {{"plain", 1, false, 1.0F},
                          {"ragged rim", 2, true, 1.0F},
                          {"cuts run together", 3, true, 2.2F},
                          {"one over everything", 4, false, 40.0F},
                          {"none", 5, false, 0.0F}};
    for (const Case& c : cases) {
        SyntheticScan made = panel(c.seed, c.ragged);
        for (KVN::Marker& m : made.markers) {
            m.radius *= c.radius_scale;
        }
        if (c.radius_scale == 0.0F) {
            made.markers.clear();
        }
        for (const MethodInfo& method : methods()) {
            SCOPED_TRACE(std::string(c.name) + ", " + method.name);
            RepairOptions options;
            options.method = method.method;
            options.leave_open = true;
            const Planned whole = plan(made.marked, made.markers, options, true);
            WindowTuning apart;
            apart.triangles_per_part = 1;
            const Planned windows = plan(made.marked, made.markers, options, false, apart);
            EXPECT_TRUE(same(whole.splice, windows.splice));
            EXPECT_TRUE(same(whole.report, windows.report));

            // And both equal the run on a mesh itself.
            Mesh_M::Mesh mesh;
            build_from(made.marked, mesh);
            options.threads = 1;
            repair_mesh(mesh, made.markers, options);
            const Scan direct = scan_of(mesh);
            Scan spliced = made.marked;
            apply_splice(spliced, windows.splice);
            EXPECT_TRUE(same_bits(direct.positions, spliced.positions));
            EXPECT_EQ(direct.triangles, spliced.triangles);
        }
    }
}

// The same scan with its triangles in pairs: a pair that a cut meets goes as a whole, and what the
// cut leaves of it comes back.
TEST(Windows, KeepWhatACutLeavesOfAPolygon) {
    class Quads : public ScanSurface {
      public:
        explicit Quads(const Scan& scan) : ScanSurface(scan) {}
        std::uint64_t face_count() const override { return ScanSurface::face_count() / 2; }
        void corners_into(std::uint64_t first, std::uint64_t count,
                          std::vector<std::int32_t>& corners,
                          std::vector<std::uint64_t>& records) const override {
            ScanSurface::corners_into(2 * first, 2 * count, corners, records);
            for (std::uint64_t i = 0; i < 2 * count; ++i) {
                records.push_back(first + i / 2);
            }
        }
    };
    SyntheticScan made = panel(1, false);
    made.marked.triangles.resize(made.marked.triangles.size() / 6 * 6);
    RepairReport report;
    Splice pairs = planned(Quads(made.marked), made.markers, {}, report);
    const Splice single = plan(made.marked, made.markers, {}, false).splice;
    EXPECT_GT(pairs.faces.size(), single.faces.size());
    std::vector<std::uint64_t> records; // in single triangles
    for (const std::uint64_t pair : pairs.faces_gone) {
        records.insert(records.end(), {2 * pair, 2 * pair + 1});
    }
    pairs.faces_gone = records;
    const auto sorted_faces = [&](const Splice& splice) {
        Scan scan = made.marked;
        apply_splice(scan, splice);
        std::vector<std::array<std::int32_t, 3>> faces(scan.face_count());
        std::copy(scan.triangles.begin(), scan.triangles.end(), faces.front().begin());
        std::sort(faces.begin(), faces.end());
        return faces;
    };
    EXPECT_EQ(sorted_faces(pairs), sorted_faces(single));
    EXPECT_TRUE(same_bits(pairs.positions, single.positions));
}

// Properties of new vertices are mixed from old ones: a linear ramp goes on under a marker within
// one of 255 levels over the panel's width.
TEST(Windows, MixPropertiesThatContinueARamp) {
    SyntheticScan made = panel(1, false);
    made.marked.vertex_properties = {{"quality", std::vector<float>(made.marked.vertex_count())}};
    const Splice splice = plan(made.marked, made.markers, {}, false).splice;
    ASSERT_GT(splice.new_vertex_count(), 100U);
    double worst = 0.0;
    for (std::size_t k = 0; k < splice.new_vertex_count(); ++k) {
        double mixed = 0.0;
        double sum = 0.0;
        for (std::uint32_t i = splice.origin_begin[k]; i < splice.origin_begin[k + 1]; ++i) {
            mixed += splice.origin_weight[i] * made.marked.positions[3 * splice.origin_vertex[i]];
            sum += splice.origin_weight[i];
        }
        EXPECT_NEAR(sum, 1.0, 1e-5);
        worst = std::max(worst, std::fabs(mixed - splice.positions[3 * k]) * 255.0 / panel_width);
    }
    RecordProperty("worst_level_thousandths", static_cast<int>(1000.0 * worst));
    EXPECT_LT(worst, 1.0);
}
