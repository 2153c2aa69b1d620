#include "kelvane/fill/continuation/height_placement.hpp"

#include "kelvane/fill/continuation/border_lean.hpp"
#include "kelvane/fill/continuation/facet_balance.hpp"
#include "kelvane/fill/continuation/plane_patch.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace Mesh_M::fill {

namespace {

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
void slide(HoleScene& scene, PlanePatch& plane, const HeightField& field) {
    const Frame& frame = field.frame();
    constexpr int sweeps = 8;
    std::vector<char> settled(scene.points.size(), 0); // tried in vain, and nothing moved since
    for (int sweep = 0; sweep < sweeps; ++sweep) {
        for (std::size_t v = 0; v < scene.points.size(); ++v) {
            if (!scene.movable[v] || settled[v]) {
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
                for (const int f : plane.around(v)) {
                    for (const int corner : scene.patch[static_cast<std::size_t>(f)]) {
                        settled[static_cast<std::size_t>(corner)] = 0;
                    }
                }
                continue;
            }
            settled[v] = 1;
            plane.places[v] = old_place;
            scene.points[v] = old_point;
        }
    }
}

} // namespace

bool place_on_field(const HeightField& field, Finish finish, HoleScene& scene) {
    if (!field.learnt()) {
        return false;
    }
    const Frame& frame = field.frame();
    PlanePatch plane(scene, frame);
    if (!plane.is_unfolded() && !(plane.embed() && plane.is_unfolded())) {
        return false;
    }
    for (std::size_t v = 0; v < scene.points.size(); ++v) {
        if (scene.movable[v]) {
            scene.points[v] = frame.lift(plane.places[v], field(plane.places[v]));
        }
    }
    if (finish == Finish::even) {
        slide(scene, plane, field);
        balance_facets(plane, field, scene);
        lean_on_border(plane, field, scene);
    }
    return true;
}

} // namespace Mesh_M::fill
