#include "kelvane/fill/continuation/trend_trial.hpp"

#include "kelvane/fill/continuation/plate_field.hpp"

#include <algorithm>

namespace Mesh_M::fill {

namespace {

// Weights at which the trend has no and full trust. One row ahead the plate is still near even
// where it will have strayed by the middle of the hole, and what the trial cannot tell speaks for
// neither; so the trend keeps a share when the plate alone would have won. Chosen for the least
// error on panels and scans with detail; the error of the weight itself, 0 to 1, is 2 % greater.
constexpr double no_trust = -0.5;
constexpr double full_trust = 0.85;
// Fewer samples do not fix a trend.
constexpr std::size_t least_known = 12;

Samples pick(const Samples& samples, const std::vector<char>& marks, char wanted) {
    Samples picked;
    std::vector<double> heights;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        if (marks[i] == wanted) {
            picked.places.push_back(samples.places[i]);
            heights.push_back(samples.heights[static_cast<Eigen::Index>(i)]);
        }
    }
    picked.heights = Eigen::Map<const Eigen::VectorXd>(heights.data(),
                                                       static_cast<Eigen::Index>(heights.size()));
    return picked;
}

} // namespace

double trend_trust(const HeightModel& trend, const Samples& samples,
                   const std::vector<char>& held) {
    const Samples known = pick(samples, held, 0);
    const Samples asked = pick(samples, held, 1);
    PlateField plate;
    if (known.places.size() < least_known || !plate.fit(known.places, known.heights)) {
        return 1.0;
    }
    const Eigen::VectorXd by_trend = trend.foretell(known.places, known.heights, asked.places);
    Eigen::VectorXd by_plate(asked.heights.size());
    for (std::size_t i = 0; i < asked.places.size(); ++i) {
        by_plate[static_cast<Eigen::Index>(i)] = plate(asked.places[i]);
    }
    const Eigen::VectorXd apart = by_trend - by_plate;
    const double weight = (asked.heights - by_plate).dot(apart) / apart.squaredNorm();
    // The plate is as good where they do not differ.
    return weight == weight ? std::clamp((weight - no_trust) / (full_trust - no_trust), 0.0, 1.0)
                            : 1.0;
}

} // namespace Mesh_M::fill
