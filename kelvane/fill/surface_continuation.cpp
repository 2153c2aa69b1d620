#include "kelvane/fill/surface_continuation.hpp"

#include "kelvane/fill/energy_fairing.hpp"
#include "kelvane/fill/height_placement.hpp"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace Mesh_M::fill {

namespace {

Point triangleArea(const HoleScene& scene, const Triangle& t) {
    const Point& a = scene.points[static_cast<std::size_t>(t[0])];
    const Point& b = scene.points[static_cast<std::size_t>(t[1])];
    const Point& c = scene.points[static_cast<std::size_t>(t[2])];
    return (b - a).cross(c - a);
}

double borderDiameter(const HoleScene& scene) {
    Point low = scene.points[static_cast<std::size_t>(scene.border.front())];
    Point high = low;
    for (const int v : scene.border) {
        low = low.cwiseMin(scene.points[static_cast<std::size_t>(v)]);
        high = high.cwiseMax(scene.points[static_cast<std::size_t>(v)]);
    }
    return (high - low).norm();
}

bool canMove(const HoleScene& scene, const Triangle& t) {
    return std::any_of(t.begin(), t.end(),
                       [&](int v) { return scene.movable[static_cast<std::size_t>(v)] != 0; });
}

// Edges of the patch across which the surface turns back by more than 120 degrees.
int countFolds(const HoleScene& scene) {
    constexpr double backCosine = -0.5;
    std::map<std::pair<int, int>, Point> normals;
    int folds = 0;
    for (const Triangle& t : scene.patch) {
        const Point normal = triangleArea(scene, t).stableNormalized();
        for (int c = 0; c < 3; ++c) {
            const auto other = normals.find({t[(c + 1) % 3], t[c]});
            if (other != normals.end() && other->second.dot(normal) < backCosine)
                ++folds;
            normals[{t[c], t[(c + 1) % 3]}] = normal;
        }
    }
    return folds;
}

// Whether every border edge has a triangle of the surroundings. Where one has not, at an open rim,
// the curvature that the higher order carries on is held from one side only and runs away.
bool isSurrounded(const HoleScene& scene) {
    std::set<std::pair<int, int>> edges;
    for (const Triangle& t : scene.surroundings)
        for (int c = 0; c < 3; ++c)
            edges.insert({t[c], t[(c + 1) % 3]});
    for (std::size_t i = 0; i < scene.border.size(); ++i)
        if (!edges.count({scene.border[(i + 1) % scene.border.size()], scene.border[i]}))
            return false;
    return true;
}

bool isSound(const HoleScene& scene, const std::vector<Point>& start, int startFolds) {
    const double reach = 0.75 * borderDiameter(scene);
    for (std::size_t v = 0; v < start.size(); ++v)
        if (!scene.points[v].allFinite() || (scene.points[v] - start[v]).norm() > reach)
            return false;
    const double least = 1e-12 * reach * reach;
    for (const Triangle& t : scene.patch)
        if (canMove(scene, t) && !(triangleArea(scene, t).norm() > least))
            return false;
    return countFolds(scene) <= startFolds;
}

// On rough ground the trend of the surroundings and their mere tangents foretell about equally well
// and err differently, so that the mean of both errs less than either.
void blendWithFairing(HoleScene& scene, const std::vector<Point>& start, int startFolds,
                      double roughness) {
    constexpr double greatestShare = 0.5;
    constexpr double negligible = 1e-3;
    const double share = greatestShare * roughness;
    if (share < negligible)
        return;
    const std::vector<Point> placed = scene.points;
    scene.points = start;
    if (!fairByEnergy(scene, FairingOrder::biharmonic) || !isSound(scene, start, startFolds)) {
        scene.points = placed;
        return;
    }
    for (std::size_t v = 0; v < placed.size(); ++v)
        if (scene.movable[v])
            scene.points[v] = (1.0 - share) * placed[v] + share * scene.points[v];
    if (!isSound(scene, start, startFolds))
        scene.points = placed;
}

} // namespace

Continuation continueSurface(HoleScene& scene) {
    const std::vector<Point> start = scene.points;
    const int folds = countFolds(scene);
    double roughness = 0.0;
    if (placeOnHeightField(scene, roughness) && isSound(scene, start, folds)) {
        blendWithFairing(scene, start, folds, roughness);
        return Continuation::heightField;
    }
    scene.points = start;
    if (isSurrounded(scene) && fairByEnergy(scene, FairingOrder::triharmonic) &&
        isSound(scene, start, folds))
        return Continuation::triharmonic;
    scene.points = start;
    if (fairByEnergy(scene, FairingOrder::biharmonic) && isSound(scene, start, folds))
        return Continuation::biharmonic;
    scene.points = start;
    return Continuation::unchanged;
}

} // namespace Mesh_M::fill
