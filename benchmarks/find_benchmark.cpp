// How many markers that nobody listed are found, and what else is taken for one: round holes among
// other holes, painted markers among blotches and lines.
//
//     find_benchmark [--seed FIRST] [--runs N] [--million]
#include "stopwatch.hpp"

#include "kelvane/toolkit/find/painted_markers.hpp"
#include "kelvane/toolkit/find/round_holes.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"
#include "kelvane/toolkit/synthesis/unlisted_markers.hpp"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>

namespace {

using namespace KVN::toolkit;

struct Score {
    int wanted = 0;
    int found = 0;
    int right = 0;
    int repaired = 0;
    double centre_error = 0.0; ///< largest, mm

    void add(const std::vector<KVN::Marker>& wanted_ones, const std::vector<FoundMarker>& list) {
        wanted += static_cast<int>(wanted_ones.size());
        found += static_cast<int>(list.size());
        for (const KVN::Marker& w : wanted_ones) {
            for (const FoundMarker& f : list) {
                const double apart =
                    std::hypot(w.x - f.marker.x, std::hypot(w.y - f.marker.y, w.z - f.marker.z));
                if (apart < 0.5 * w.radius) {
                    ++right;
                    centre_error = std::max(centre_error, apart);
                    break;
                }
            }
        }
    }

    void print(const char* name) const {
        std::printf("%-8s wanted %4d  listed %4d  recall %.3f  precision %.3f  "
                    "listed and repaired %4d  largest centre error %.2f mm\n",
                    name, wanted, found, static_cast<double>(right) / std::max(1, wanted),
                    static_cast<double>(right) / std::max(1, found), repaired, centre_error);
    }
};

SyntheticScan panel(std::uint64_t seed, double size) {
    DemoOptions options;
    options.width = size;
    options.depth = 0.75 * size;
    options.inside = 24;
    options.on_rim = 0;
    options.overlapping = false;
    options.off_surface = false;
    options.seed = seed;
    return make_demo_scan(options);
}

int repaired_places(Scan scan, const std::vector<FoundMarker>& list) {
    return repair_scan(scan, markers_of(list), {}).repaired();
}

void add_holes(std::uint64_t seed, Score& score) {
    const SyntheticScan made = panel(seed, 160.0);
    Scan scan = made.truth;
    std::vector<KVN::Marker> discs;
    for (std::size_t i = 0; i < made.markers.size(); ++i) {
        // Every second hole is round; the others take the other shapes in turn.
        const auto shape = static_cast<HoleShape>(i % 2 == 0 ? 0 : 1 + i / 2 % (hole_shapes - 1));
        cut_hole(scan, made.markers[i], shape);
        if (shape == HoleShape::disc) {
            discs.push_back(made.markers[i]);
        }
    }
    const std::vector<FoundMarker> list = find_round_holes(scan, {1.5, 5.0});
    score.add(discs, list);
    score.repaired += repaired_places(scan, list);
}

void add_paint(std::uint64_t seed, Score& score) {
    SyntheticScan made = panel(seed, 160.0);
    constexpr float radius = 2.8F;
    for (KVN::Marker& m : made.markers) {
        m.radius = radius;
    }
    paint_markers(made.truth, made.markers, seed);
    const std::vector<FoundMarker> list = find_painted_markers(made.truth, {radius, 0.6, false});
    score.add(made.markers, list);
    score.repaired += repaired_places(made.truth, list);
}

void time_a_million() {
    SyntheticScan made = panel(1, 580.0);
    paint_markers(made.marked, made.markers, 1);
    KVN::bench::Stopwatch watch;
    find_round_holes(made.marked);
    const double holes = watch.seconds();
    watch.restart();
    find_painted_markers(made.marked, {2.8, 0.6, false});
    std::printf("%zu faces: holes %.2f s, paint %.2f s\n", made.marked.face_count(), holes,
                watch.seconds());
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"Recall and precision of the search for markers that nobody listed"};
    std::uint64_t seed = 1;
    int runs = 8;
    bool million = false;
    app.add_option("--seed", seed, "First seed");
    app.add_option("--runs", runs, "Scans of each kind");
    app.add_flag("--million", million, "Also the time for a scan of a million faces");
    CLI11_PARSE(app, argc, argv);
    Score holes;
    Score paint;
    for (int run = 0; run < runs; ++run) {
        add_holes(seed + static_cast<std::uint64_t>(run), holes);
        add_paint(seed + static_cast<std::uint64_t>(run), paint);
    }
    holes.print("holes");
    paint.print("paint");
    if (million) {
        time_a_million();
    }
    return 0;
}
