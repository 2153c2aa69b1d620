// Small scans named by what is wrong with them: what becomes of their markers, by every method.
#include "tests/support/promises.hpp"

#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"

#include <gtest/gtest.h>

#include <ostream>

using namespace KVN::toolkit;

namespace {

struct Case {
    const char* scan;
    const char* markers;
    const char* outcomes;            ///< of every method, one letter per marker: see letter_of()
    const char* flat_only = nullptr; ///< likewise where bodies are left alone, if it differs
    RepairOptions options{};
};

void PrintTo(const Case& c, std::ostream* out) {
    *out << c.scan << ", " << c.markers;
}

RepairOptions sized(double size) {
    RepairOptions options;
    options.marker_size = size;
    return options;
}

RepairOptions adjustable(std::optional<double> size, std::optional<float> resolution) {
    RepairOptions options;
    options.size_adjustable = true;
    options.marker_size = size;
    options.resolution = resolution;
    return options;
}

/// L loop, C chain, N with a neighbour; small letters are markers that were not repaired.
char letter_of(Outcome outcome) {
    switch (outcome) {
    case Outcome::repaired_loop:
        return 'L';
    case Outcome::repaired_chain:
        return 'C';
    case Outcome::repaired_with_neighbour:
        return 'N';
    case Outcome::no_vertex_within_reach:
        return 'v';
    case Outcome::all_facing_away:
        return 'a';
    case Outcome::no_border_found:
        return 'b';
    case Outcome::not_filled:
        return 'f';
    case Outcome::body_not_bounded:
        return 'u';
    case Outcome::edges_left_open:
        return 'o';
    case Outcome::part_left:
        return 'p';
    case Outcome::body_left:
        return 's';
    case Outcome::wild_patch:
        return 'w';
    case Outcome::left_with_neighbour:
        return 'n';
    }
    return '?';
}

std::string letters(const RepairReport& report) {
    std::string text;
    for (const MarkerReport& m : report.markers) {
        text += letter_of(m.outcome);
    }
    return text;
}

/// Repairs the scan by every method, each with and without a look for bodies.
void expect_outcomes(const Case& c, const Scan& scan, const std::vector<KVN::Marker>& markers) {
    for (const MethodInfo& method : methods()) {
        for (const bool flat_only : {false, true}) {
            SCOPED_TRACE(std::string(method.name) + (flat_only ? ", flat only" : ""));
            RepairOptions options = c.options;
            options.method = method.method;
            options.flat_only = flat_only;
            const test::CheckedRepair repair = test::checked_repair(scan, markers, options);
            EXPECT_EQ(repair.broken, "");
            EXPECT_EQ(letters(repair.report),
                      flat_only && c.flat_only != nullptr ? c.flat_only : c.outcomes);
        }
    }
}

class NastyScan : public testing::TestWithParam<Case> {};

} // namespace

TEST_P(NastyScan, EndsAsStated) {
    const std::string folder = KELVANE_ROOT "/tests/nasty/";
    expect_outcomes(GetParam(), read_scan(folder + GetParam().scan),
                    read_markers(folder + GetParam().markers));
}

INSTANTIATE_TEST_SUITE_P(
    All, NastyScan,
    testing::Values(
        Case{"pinch.obj", "pinch.csv", "L"}, Case{"double_pinch.obj", "double_pinch.csv", "L"},
        Case{"fin.obj", "fin.csv", "L"}, Case{"island_in_a_hole.obj", "island_in_a_hole.csv", "b"},
        Case{"moebius_strip.obj", "moebius_strip.csv", "Lb", nullptr, sized(0.6)},
        Case{"zero_area_faces.obj", "zero_area_faces.csv", "L"},
        Case{"coincident_vertices.obj", "coincident_vertices.csv", "o"},
        Case{"inconsistent_winding.obj", "inconsistent_winding.csv", "b"},
        Case{"two_sheets_closer_than_a_radius.obj", "two_sheets_closer_than_a_radius.csv", "L"},
        Case{"marker_larger_than_the_mesh.obj", "marker_larger_than_the_mesh.csv", "b"},
        Case{"all_markers_in_one_place.obj", "all_markers_in_one_place.csv", "LNNNNNN"},
        Case{"tall_marker_whose_cap_stays_behind.obj", "tall_marker_whose_cap_stays_behind.csv",
             "L", "b"},
        // Scans that once got edges with three faces, turned faces, or a wrong outcome.
        Case{"chain_that_an_edge_closes.ply", "chain_that_an_edge_closes.csv", "f", nullptr,
             adjustable({}, 0.6F)},
        Case{"border_edge_of_two_faces.ply", "border_edge_of_two_faces.csv", "u", "f",
             adjustable({}, 0.6F)},
        Case{"turned_patch.ply", "turned_patch.csv", "fb", nullptr, adjustable(20.0, {})},
        Case{"bumpy_sheet.ply", "equal_markers.csv", "LNN"}));

// A thousand small holes, some of them under markers, none of which may be closed beside them.
TEST(NastyScan, OfAThousandHoles) {
    constexpr int size = 100;
    Scan scan;
    for (int y = 0; y <= size; ++y) {
        for (int x = 0; x <= size; ++x) {
            const float z = 0.002F * static_cast<float>((x - 50) * (x - 50) + (y - 50) * y);
            scan.positions.insert(scan.positions.end(),
                                  {static_cast<float>(x), static_cast<float>(y), z});
            const int v = y * (size + 1) + x;
            if (x < size && y < size && (x % 5 != 2 || y % 2 != 0)) {
                for (const int corner : {v, v + 1, v + size + 2, v, v + size + 2, v + size + 1}) {
                    scan.triangles.push_back(corner);
                }
            }
        }
    }
    expect_outcomes({"", "", "LLL", nullptr, sized(1.0)}, scan,
                    {{50, 50, 0, 0, 0, 1, 2}, {20, 30, 0, 0, 0, 1, 3}, {70, 80, 5, 0, 0, 1, 1}});
}
