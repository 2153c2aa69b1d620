#include "kelvane/fill/continuation/height_field.hpp"

#include "kelvane/fill/continuation/trend_trial.hpp"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace Mesh_M::fill {

namespace {

// Deviations below this share of an edge are no sign of an outlier.
constexpr double resolution_share = 1e-3;

double median_border_edge(const HoleScene& scene) {
    // The median: one long edge may close an open chain.
    std::vector<double> lengths;
    for (std::size_t i = 0; i < scene.border.size(); ++i) {
        const auto a = static_cast<std::size_t>(scene.border[i]);
        const auto b = static_cast<std::size_t>(scene.border[(i + 1) % scene.border.size()]);
        lengths.push_back((scene.points[b] - scene.points[a]).norm());
    }
    return median(std::move(lengths));
}

// Points of the surroundings that lie on triangles which face the frame's way. Empty if a good part
// of the surface does not.
std::vector<int> collect_samples(const HoleScene& scene, const Frame& frame) {
    constexpr double least_cosine = 0.25;
    constexpr double greatest_hidden_share = 0.25;
    double total = 0.0;
    double hidden = 0.0;
    std::set<int> samples(scene.border.begin(), scene.border.end());
    for (const Triangle& t : scene.surroundings) {
        const Point& a = scene.points[static_cast<std::size_t>(t[0])];
        const Point& b = scene.points[static_cast<std::size_t>(t[1])];
        const Point& c = scene.points[static_cast<std::size_t>(t[2])];
        const Point cross = (b - a).cross(c - a);
        const double area = cross.norm();
        total += area;
        if (cross.dot(frame.normal) > least_cosine * area) {
            samples.insert(t.begin(), t.end());
        } else {
            hidden += area;
        }
    }
    if (hidden > greatest_hidden_share * total) {
        samples.clear();
    }
    return {samples.begin(), samples.end()};
}

// The samples nearest to the border; the correction needs no others and costs their cube.
std::vector<std::size_t> near_border(const HoleScene& scene, const std::vector<int>& samples) {
    constexpr std::size_t greatest = 100;
    std::vector<std::pair<double, std::size_t>> order;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const Point& p = scene.points[static_cast<std::size_t>(samples[i])];
        double nearest =
            (p - scene.points[static_cast<std::size_t>(scene.border[0])]).squaredNorm();
        for (const int v : scene.border) {
            nearest =
                std::min(nearest, (p - scene.points[static_cast<std::size_t>(v)]).squaredNorm());
        }
        order.emplace_back(nearest, i);
    }
    std::sort(order.begin(), order.end());
    if (order.size() > greatest) {
        order.resize(greatest);
    }
    std::vector<std::size_t> result;
    for (const auto& entry : order) {
        result.push_back(entry.second);
    }
    return result;
}

// Edges from the border to each sample, over the surroundings; `beyond` beyond the rings that
// matter.
std::vector<int> rings_of(const HoleScene& scene, const std::vector<int>& samples) {
    constexpr int beyond = 4;
    std::vector<int> rings(scene.points.size(), beyond);
    for (const int v : scene.border) {
        rings[static_cast<std::size_t>(v)] = 0;
    }
    for (int ring = 0; ring + 1 < beyond; ++ring) {
        for (const Triangle& t : scene.surroundings) {
            const bool met = std::any_of(t.begin(), t.end(), [&](int v) {
                return rings[static_cast<std::size_t>(v)] == ring;
            });
            for (const int v : t) {
                int& own = rings[static_cast<std::size_t>(v)];
                own = met ? std::min(own, ring + 1) : own;
            }
        }
    }
    std::vector<int> result;
    for (const int v : samples) {
        result.push_back(rings[static_cast<std::size_t>(v)]);
    }
    return result;
}

} // namespace

HeightField::HeightField(const HoleScene& scene) {
    if (!make_frame(scene, frame_)) {
        return;
    }
    const std::vector<int> points = collect_samples(scene, frame_);
    level_frame(scene, points, frame_);
    const double edge = median_border_edge(scene);
    SurfaceSamples all;
    all.heights.resize(static_cast<Eigen::Index>(points.size()));
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Point& p = scene.points[static_cast<std::size_t>(points[i])];
        all.places.push_back(frame_.place(p));
        all.heights[static_cast<Eigen::Index>(i)] = frame_.height(p);
    }
    if (!trend_.fit(all.places, all.heights, resolution_share * edge)) {
        return;
    }
    std::vector<Place> near;
    std::vector<double> residuals;
    for (const std::size_t i : near_border(scene, points)) {
        near.push_back(all.places[i]);
        residuals.push_back(all.heights[static_cast<Eigen::Index>(i)] - trend_(all.places[i]));
    }
    correction_.fit(near,
                    Eigen::Map<const Eigen::VectorXd>(residuals.data(),
                                                      static_cast<Eigen::Index>(residuals.size())),
                    edge);
    all.rings = rings_of(scene, points);
    trust_ = trend_trust(trend_, all);
    learnt_ = true;
}

} // namespace Mesh_M::fill
