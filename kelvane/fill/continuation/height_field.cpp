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

// The samples nearest to the border; correction and plate need no others and cost their cube.
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

std::vector<char> on_border(const HoleScene& scene, const std::vector<int>& samples) {
    const std::set<int> border(scene.border.begin(), scene.border.end());
    std::vector<char> result;
    for (const int v : samples) {
        result.push_back(border.count(v) > 0);
    }
    return result;
}

Samples pick(const Samples& samples, const std::vector<std::size_t>& indices) {
    Samples picked;
    picked.heights.resize(static_cast<Eigen::Index>(indices.size()));
    for (std::size_t i = 0; i < indices.size(); ++i) {
        picked.places.push_back(samples.places[indices[i]]);
        picked.heights[static_cast<Eigen::Index>(i)] =
            samples.heights[static_cast<Eigen::Index>(indices[i])];
    }
    return picked;
}

} // namespace

HeightField::HeightField(const HoleScene& scene) {
    if (!make_frame(scene, frame_)) {
        return;
    }
    const std::vector<int> points = collect_samples(scene, frame_);
    level_frame(scene, points, frame_);
    const double edge = median_border_edge(scene);
    Samples all;
    all.heights.resize(static_cast<Eigen::Index>(points.size()));
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Point& p = scene.points[static_cast<std::size_t>(points[i])];
        all.places.push_back(frame_.place(p));
        all.heights[static_cast<Eigen::Index>(i)] = frame_.height(p);
    }
    if (!trend_.fit(all.places, all.heights, resolution_share * edge)) {
        return;
    }
    const Samples near = pick(all, near_border(scene, points));
    Eigen::VectorXd residuals = near.heights;
    for (std::size_t i = 0; i < near.places.size(); ++i) {
        residuals[static_cast<Eigen::Index>(i)] -= trend_(near.places[i]);
    }
    correction_.fit(near.places, residuals, edge);
    trust_ = trend_trust(trend_, all, on_border(scene, points));
    if (trust_ < 1.0 && !plate_.fit(near.places, near.heights)) {
        trust_ = 1.0;
    }
    learnt_ = true;
}

} // namespace Mesh_M::fill
