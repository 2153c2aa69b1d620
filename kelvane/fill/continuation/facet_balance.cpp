#include "kelvane/fill/continuation/facet_balance.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace Mesh_M::fill {

namespace {

// The equations are those of a mass matrix, whose condition does not grow with the patch: each
// sweep leaves about a third of the error.
constexpr int sweeps = 6;

// Shares of a triangle's area in a rule that is exact for polynomials of degree 3, corners not
// counted: there a triangle stands off the field by what its corners do, which is sought.
constexpr double middle_share = 2.0 / 15.0;
constexpr double centre_share = 9.0 / 20.0;

// In mean edges of the border: a longer one closes an open chain, apart from the surface, and what
// its triangle stands off is not to be made good by points on the surface beside it.
constexpr double long_edges = 3.0;

double edge_length(const HoleScene& scene, int a, int b) {
    return (scene.points[static_cast<std::size_t>(a)] - scene.points[static_cast<std::size_t>(b)])
        .norm();
}

double mean_border_edge(const HoleScene& scene) {
    double sum = 0.0;
    for (std::size_t i = 0; i < scene.border.size(); ++i) {
        sum += edge_length(scene, scene.border[i], scene.border[(i + 1) % scene.border.size()]);
    }
    return sum / static_cast<double>(scene.border.size());
}

double longest_edge(const HoleScene& scene, const Triangle& t) {
    return std::max({edge_length(scene, t[0], t[1]), edge_length(scene, t[1], t[2]),
                     edge_length(scene, t[2], t[0])});
}

// What the least squares ask of one triangle: a third of its area and, per corner, the moment of
// its distance from the field, weighted by the corner's hat function.
struct Facet {
    double area = 0.0;
    std::array<double, 3> moments{};
};

Facet measure(const PlanePatch& plane, const HeightField& field, const std::vector<double>& trend,
              const Triangle& t) {
    std::array<Place, 3> places;
    std::array<double, 3> heights{};
    for (std::size_t c = 0; c < 3; ++c) {
        const auto v = static_cast<std::size_t>(t[c]);
        places[c] = plane.places[v];
        heights[c] = trend[v];
    }
    Facet facet;
    facet.area = 0.5 * std::fabs(plane.signed_area(t));
    for (std::size_t c = 0; c < 3; ++c) {
        const std::size_t next = (c + 1) % 3;
        const double off = 0.5 * (heights[c] + heights[next]) -
                           field.trend(Place(0.5 * (places[c] + places[next])));
        const double moment = middle_share * facet.area * off / 2.0;
        facet.moments[c] += moment;
        facet.moments[next] += moment;
    }
    const double off = (heights[0] + heights[1] + heights[2]) / 3.0 -
                       field.trend(Place((places[0] + places[1] + places[2]) / 3.0));
    for (double& moment : facet.moments) {
        moment += centre_share * facet.area * off / 3.0;
    }
    return facet;
}

} // namespace

void balance_facets(const PlanePatch& plane, const HeightField& field, HoleScene& scene) {
    std::vector<double> moments(scene.points.size(), 0.0);
    std::vector<double> areas;
    std::vector<double> trend(scene.points.size(), 0.0);
    for (std::size_t v = 0; v < trend.size(); ++v) {
        if (!plane.around(v).empty()) {
            trend[v] = field.trend(plane.places[v]);
        }
    }
    const double longest = long_edges * mean_border_edge(scene);
    for (const Triangle& t : scene.patch) {
        const bool counts = longest_edge(scene, t) <= longest;
        const Facet facet = counts ? measure(plane, field, trend, t) : Facet();
        areas.push_back(facet.area);
        for (std::size_t c = 0; c < 3; ++c) {
            moments[static_cast<std::size_t>(t[c])] += facet.moments[c];
        }
    }
    // Gauss and Seidel on the mass matrix of hat functions: area / 6 at a corner, / 12 between two.
    std::vector<double> moves(scene.points.size(), 0.0);
    for (int sweep = 0; sweep < sweeps; ++sweep) {
        for (std::size_t v = 0; v < scene.points.size(); ++v) {
            double diagonal = 0.0;
            double rest = moments[v];
            for (const int f : plane.around(v)) {
                const double area = areas[static_cast<std::size_t>(f)];
                diagonal += area / 6.0;
                for (const int corner : scene.patch[static_cast<std::size_t>(f)]) {
                    const auto other = static_cast<std::size_t>(corner);
                    rest += other == v ? 0.0 : area / 12.0 * moves[other];
                }
            }
            if (scene.movable[v] && diagonal > 0.0) {
                moves[v] = -rest / diagonal;
            }
        }
    }
    for (std::size_t v = 0; v < scene.points.size(); ++v) {
        scene.points[v] += moves[v] * field.frame().normal;
    }
}

} // namespace Mesh_M::fill
