#include "kelvane/fill/continuation/surface_continuation.hpp"

#include "kelvane/fill/continuation/energy_fairing.hpp"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

namespace Mesh_M::fill {

namespace {

// Rounds after which a fairing from any start has settled.
constexpr int settling_rounds = 4;

Point triangle_area(const HoleScene& scene, const Triangle& t) {
    const Point& a = scene.points[static_cast<std::size_t>(t[0])];
    const Point& b = scene.points[static_cast<std::size_t>(t[1])];
    const Point& c = scene.points[static_cast<std::size_t>(t[2])];
    return (b - a).cross(c - a);
}

double border_diameter(const HoleScene& scene) {
    Point low = scene.points[static_cast<std::size_t>(scene.border.front())];
    Point high = low;
    for (const int v : scene.border) {
        low = low.cwiseMin(scene.points[static_cast<std::size_t>(v)]);
        high = high.cwiseMax(scene.points[static_cast<std::size_t>(v)]);
    }
    return (high - low).norm();
}

bool can_move(const HoleScene& scene, const Triangle& t) {
    return std::any_of(t.begin(), t.end(),
                       [&](int v) { return scene.movable[static_cast<std::size_t>(v)] != 0; });
}

// Edges of the patch across which the surface turns back by more than 120 degrees.
int count_folds(const HoleScene& scene) {
    constexpr double back_cosine = -0.5;
    std::vector<Point> normals;
    std::vector<std::pair<std::pair<int, int>, std::size_t>> sides;
    for (const Triangle& t : scene.patch) {
        for (int c = 0; c < 3; ++c) {
            sides.emplace_back(std::minmax(t[c], t[(c + 1) % 3]), normals.size());
        }
        normals.push_back(triangle_area(scene, t).stableNormalized());
    }
    std::sort(sides.begin(), sides.end());
    int folds = 0;
    for (std::size_t i = 1; i < sides.size(); ++i) {
        folds += sides[i].first == sides[i - 1].first &&
                         normals[sides[i].second].dot(normals[sides[i - 1].second]) < back_cosine
                     ? 1
                     : 0;
    }
    return folds;
}

// Whether every border edge has a triangle of the surroundings. Where one has not, at an open rim,
// the curvature that the higher order carries on is held from one side only and runs away.
bool is_surrounded(const HoleScene& scene) {
    std::set<std::pair<int, int>> edges;
    for (const Triangle& t : scene.surroundings) {
        for (int c = 0; c < 3; ++c) {
            edges.insert({t[c], t[(c + 1) % 3]});
        }
    }
    for (std::size_t i = 0; i < scene.border.size(); ++i) {
        if (!edges.count({scene.border[(i + 1) % scene.border.size()], scene.border[i]})) {
            return false;
        }
    }
    return true;
}

bool is_sound(const HoleScene& scene, const std::vector<Point>& start, int start_folds) {
    const double reach = 0.75 * border_diameter(scene);
    for (std::size_t v = 0; v < start.size(); ++v) {
        if (!scene.points[v].allFinite() || (scene.points[v] - start[v]).norm() > reach) {
            return false;
        }
    }
    const double least = 1e-12 * reach * reach;
    for (const Triangle& t : scene.patch) {
        if (can_move(scene, t) && !(triangle_area(scene, t).norm() > least)) {
            return false;
        }
    }
    return count_folds(scene) <= start_folds;
}

// What the trend of the surroundings cannot be trusted for is left to their mere tangents. The
// continued surface is so near to the fairing that one round of weights will do. False, with the
// continued surface as it was, if the mean of both is not sound.
bool blend_with_fairing(HoleScene& scene, const std::vector<Point>& start, int start_folds,
                        double trust) {
    const std::vector<Point> continued = scene.points;
    if (fair_by_energy(scene, FairingOrder::biharmonic, 1)) {
        for (std::size_t v = 0; v < continued.size(); ++v) {
            if (scene.movable[v]) {
                scene.points[v] = trust * continued[v] + (1.0 - trust) * scene.points[v];
            }
        }
        if (is_sound(scene, start, start_folds)) {
            return true;
        }
    }
    scene.points = continued;
    return false;
}

} // namespace

int continue_surface(const HeightField& field, Finish finish, HoleScene& scene) {
    const std::vector<Point> start = scene.points;
    const int folds = count_folds(scene);
    if (place_on_field(field, finish, scene) && is_sound(scene, start, folds)) {
        const bool blended = finish == Finish::even && field.trust() < 1.0 &&
                             blend_with_fairing(scene, start, folds, field.trust());
        const double fairing_share = blended ? 1.0 - field.trust() : 0.0;
        return placement_result(blended ? Placement::blended : Placement::continued,
                                static_cast<int>(std::lround(100.0 * fairing_share)));
    }
    scene.points = start;
    if (is_surrounded(scene) && fair_by_energy(scene, FairingOrder::triharmonic, settling_rounds) &&
        is_sound(scene, start, folds)) {
        return placement_result(Placement::faired);
    }
    scene.points = start;
    if (fair_by_energy(scene, FairingOrder::biharmonic, settling_rounds) &&
        is_sound(scene, start, folds)) {
        return placement_result(Placement::faired);
    }
    scene.points = start;
    return placement_result(Placement::unchanged);
}

} // namespace Mesh_M::fill
