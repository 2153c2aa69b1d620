#include "kelvane/fill/continuation/trend_trial.hpp"

#include "kelvane/fill/continuation/plate_field.hpp"

#include <algorithm>
#include <limits>

namespace Mesh_M::fill {

namespace {

// Weights at which the trend has no and full trust: what two rows tell of a whole hole is
// uncertain, and a trend that fails does more harm than a plate. Chosen on panels and scans with
// detail. With 0 and 1 a quarter more holes there come out a fifth worse than by the plain fill;
// lower values cost the smooth noisy surfaces less and the detailed ones more.
constexpr double no_trust = 0.3;
constexpr double full_trust = 0.95;
// Fewer samples do not fix a trend.
constexpr std::size_t least_known = 12;
// A plate costs the cube of its samples; the trend takes all.
constexpr std::size_t most_samples = 120;
constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max() / 2;
constexpr int most_rings = std::numeric_limits<int>::max();

// Rows foretold: the border alone, and together with the one behind it. A hole is wider than a row;
// with two, fewer patches come out worse than the plain fill.
constexpr int most_rows = 2;

/// What is left to foretell after the plate, and how far the trend is from the plate, in products
/// over the places asked.
struct Trial {
    double met = 0.0;
    double apart = 0.0;
};

/// Foretells the first `rows` rings from those behind them. Nothing, if these are too few.
Trial foretell_rows(const HeightModel& trend, const SurfaceSamples& samples, int rows) {
    const SurfaceSamples asked = pick_rings(samples, 0, rows - 1, unlimited);
    const SurfaceSamples known = pick_rings(samples, rows, rows + 1, most_samples);
    const SurfaceSamples behind = pick_rings(samples, rows, most_rings, unlimited);
    PlateField plate;
    if (known.places.size() < least_known || !plate.fit(known.places, known.heights)) {
        return {};
    }
    const Eigen::VectorXd by_trend = trend.foretell(behind.places, behind.heights, asked.places);
    Eigen::VectorXd by_plate(asked.heights.size());
    for (std::size_t i = 0; i < asked.places.size(); ++i) {
        by_plate[static_cast<Eigen::Index>(i)] = plate(asked.places[i]);
    }
    const Eigen::VectorXd apart = by_trend - by_plate;
    return {(asked.heights - by_plate).dot(apart), apart.squaredNorm()};
}

} // namespace

double trend_trust(const HeightModel& trend, const SurfaceSamples& samples) {
    Trial all;
    for (int rows = 1; rows <= most_rows; ++rows) {
        const Trial trial = foretell_rows(trend, samples, rows);
        all.met += trial.met;
        all.apart += trial.apart;
    }
    const double weight = all.met / all.apart;
    // The plate is as good where they do not differ.
    return weight == weight ? std::clamp((weight - no_trust) / (full_trust - no_trust), 0.0, 1.0)
                            : 1.0;
}

} // namespace Mesh_M::fill
