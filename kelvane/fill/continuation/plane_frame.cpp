#include "kelvane/fill/continuation/plane_frame.hpp"

#include "kelvane/fill/continuation/arc_fit.hpp"

namespace Mesh_M::fill {

bool make_frame(const HoleScene& scene, Frame& frame) {
    frame.origin = Point::Zero();
    double length = 0.0;
    for (std::size_t i = 0; i < scene.border.size(); ++i) {
        const auto a = static_cast<std::size_t>(scene.border[i]);
        const auto b = static_cast<std::size_t>(scene.border[(i + 1) % scene.border.size()]);
        frame.origin += scene.points[a] / static_cast<double>(scene.border.size());
        length += (scene.points[b] - scene.points[a]).norm();
    }
    const Point area = area_vector(scene);
    if (!(area.norm() > 1e-3 * length * length)) {
        return false;
    }
    frame.turn(area.normalized());
    return true;
}

void level_frame(const HoleScene& scene, const std::vector<int>& samples, Frame& frame) {
    constexpr int rounds = 5;
    constexpr double greatest_tilt = 0.6;
    constexpr double settled = 1e-7;
    const Frame initial = frame;
    const auto count = static_cast<Eigen::Index>(samples.size());
    for (int round = 0; round < rounds; ++round) {
        std::vector<Place> places;
        Eigen::VectorXd heights(count);
        for (const int v : samples) {
            const Point& p = scene.points[static_cast<std::size_t>(v)];
            heights[static_cast<Eigen::Index>(places.size())] = frame.height(p);
            places.push_back(frame.place(p));
        }
        if (places.empty()) {
            return;
        }
        const ArcFit fit = fit_arcs(places, heights, Eigen::VectorXd::Ones(count), enclose(places));
        if (!fit.valid || fit.slope.norm() > greatest_tilt) {
            frame = initial;
            return;
        }
        frame.turn((frame.normal - fit.slope.x() * frame.x - fit.slope.y() * frame.y).normalized());
        if (fit.slope.norm() < settled) {
            return;
        }
    }
}

} // namespace Mesh_M::fill
