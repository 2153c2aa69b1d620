#include "kelvane/fill/continuation/height_placement.hpp"

#include "kelvane/fill/continuation/plane_patch.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <set>
#include <utility>

namespace Mesh_M::fill {

namespace {

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

// 1 for an equilateral triangle, 0 for a degenerate one.
double shape(const std::vector<Point>& points, const Triangle& t) {
    const Point& a = points[static_cast<std::size_t>(t[0])];
    const Point& b = points[static_cast<std::size_t>(t[1])];
    const Point& c = points[static_cast<std::size_t>(t[2])];
    const double squares = (b - a).squaredNorm() + (c - b).squaredNorm() + (a - c).squaredNorm();
    return squares > 0.0 ? 2.0 * std::sqrt(3.0) * (b - a).cross(c - a).norm() / squares : 0.0;
}

double worst_shape(const HoleScene& scene, const PlanePatch& plane, std::size_t v) {
    double worst = 1.0;
    for (const int f : plane.around(v)) {
        const Triangle& t = scene.patch[static_cast<std::size_t>(f)];
        worst = std::min(worst, plane.signed_area(t) > 0.0 ? shape(scene.points, t) : -1.0);
    }
    return worst;
}

// Smart Laplacian smoothing on the surface (Freitag 1997): a point goes towards the centre of its
// triangles, by area, if the worst of them gains.
void slide(HoleScene& scene, PlanePatch& plane, const Frame& frame, const HeightField& field) {
    constexpr int sweeps = 8;
    for (int sweep = 0; sweep < sweeps; ++sweep) {
        for (std::size_t v = 0; v < scene.points.size(); ++v) {
            if (!scene.movable[v]) {
                continue;
            }
            Point centre = Point::Zero();
            double weight = 0.0;
            Point normal = Point::Zero();
            for (const int f : plane.around(v)) {
                const Triangle& t = scene.patch[static_cast<std::size_t>(f)];
                const Point& a = scene.points[static_cast<std::size_t>(t[0])];
                const Point& b = scene.points[static_cast<std::size_t>(t[1])];
                const Point& c = scene.points[static_cast<std::size_t>(t[2])];
                const Point cross = (b - a).cross(c - a);
                centre += cross.norm() * (a + b + c) / 3.0;
                weight += cross.norm();
                normal += cross;
            }
            if (!(weight > 0.0) || !(normal.norm() > 0.0)) {
                continue;
            }
            normal.normalize();
            Point step = centre / weight - scene.points[v];
            step -= step.dot(normal) * normal;
            const double before = worst_shape(scene, plane, v);
            const Place old_place = plane.places[v];
            const Point old_point = scene.points[v];
            plane.places[v] = frame.place(old_point + step);
            scene.points[v] = frame.lift(plane.places[v], field(plane.places[v]));
            if (worst_shape(scene, plane, v) > before) {
                continue;
            }
            plane.places[v] = old_place;
            scene.points[v] = old_point;
        }
    }
}

// Rough with clear odds, and by enough to be seen: a few hundredths of an edge.
double ground_roughness(const HeightModel& trend, double edge) {
    constexpr double even_odds = 0.5;
    constexpr double clear_odds = 0.9;
    constexpr double least_noise = 0.005;
    constexpr double full_noise = 0.02;
    const double odds = (trend.roughness() - even_odds) / (clear_odds - even_odds);
    const double size = (trend.noise() / edge - least_noise) / (full_noise - least_noise);
    return std::clamp(odds, 0.0, 1.0) * std::clamp(size, 0.0, 1.0);
}

} // namespace

HeightField::HeightField(const HoleScene& scene) {
    // Deviations below this share of an edge are no sign of an outlier.
    constexpr double resolution_share = 1e-3;
    if (!make_frame(scene, frame_)) {
        return;
    }
    const std::vector<int> samples = collect_samples(scene, frame_);
    level_frame(scene, samples, frame_);
    const double edge = median_border_edge(scene);
    std::vector<Place> places;
    Eigen::VectorXd heights(static_cast<Eigen::Index>(samples.size()));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const Point& p = scene.points[static_cast<std::size_t>(samples[i])];
        places.push_back(frame_.place(p));
        heights[static_cast<Eigen::Index>(i)] = frame_.height(p);
    }
    if (!trend_.fit(places, heights, resolution_share * edge)) {
        return;
    }
    std::vector<Place> near;
    std::vector<double> residuals;
    for (const std::size_t i : near_border(scene, samples)) {
        near.push_back(places[i]);
        residuals.push_back(heights[static_cast<Eigen::Index>(i)] - trend_(places[i]));
    }
    correction_.fit(near,
                    Eigen::Map<const Eigen::VectorXd>(residuals.data(),
                                                      static_cast<Eigen::Index>(residuals.size())),
                    edge);
    roughness_ = ground_roughness(trend_, edge);
    learnt_ = true;
}

bool HeightField::place(HoleScene& scene, Finish finish) const {
    if (!learnt_) {
        return false;
    }
    PlanePatch plane(scene, frame_);
    if (!plane.is_unfolded() && !(plane.embed() && plane.is_unfolded())) {
        return false;
    }
    for (std::size_t v = 0; v < scene.points.size(); ++v) {
        if (scene.movable[v]) {
            scene.points[v] = frame_.lift(plane.places[v], (*this)(plane.places[v]));
        }
    }
    if (finish == Finish::even) {
        slide(scene, plane, frame_, *this);
    }
    return true;
}

} // namespace Mesh_M::fill
