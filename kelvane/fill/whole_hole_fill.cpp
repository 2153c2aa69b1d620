#include "kelvane/fill/continuation/neighbourhood_surface.hpp"
#include "kelvane/fill/continuation/surface_continuation.hpp"
#include "kelvane/fill/disc/patch_builder.hpp"
#include "kelvane/fill/hole_filling.hpp"

#include <algorithm>
#include <set>
#include <utility>

namespace Mesh_M {

namespace fill {

namespace {

// The wished edge length at each border point: the mean of all edges of the surroundings there,
// held near that of the border's own edges, which a ragged border makes uneven.
std::vector<double> surrounding_sizes(const HoleScene& scene, const std::vector<Point>& border) {
    std::vector<double> sums(scene.points.size(), 0.0);
    std::vector<int> counts(scene.points.size(), 0);
    std::set<std::pair<int, int>> edges;
    for (const Triangle& t : scene.surroundings) {
        for (int c = 0; c < 3; ++c) {
            edges.insert(std::minmax(t[c], t[(c + 1) % 3]));
        }
    }
    for (const auto& [a, b] : edges) {
        const double length =
            (scene.points[static_cast<std::size_t>(a)] - scene.points[static_cast<std::size_t>(b)])
                .norm();
        for (const int v : {a, b}) {
            sums[static_cast<std::size_t>(v)] += length;
            ++counts[static_cast<std::size_t>(v)];
        }
    }
    std::vector<double> sizes = border_sizes(border);
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const auto v = static_cast<std::size_t>(scene.border[i]);
        if (counts[v] > 0) {
            sizes[i] = std::clamp(sums[v] / counts[v], 0.5 * sizes[i], 2.0 * sizes[i]);
        }
    }
    return sizes;
}

// The scene's patch with the border points in front, as the patch builder wants it.
Patch to_patch(const HoleScene& scene, const Patch& layout) {
    Patch patch = layout;
    const std::size_t first = scene.points.size() - (layout.points.size() - scene.border.size());
    for (std::size_t i = scene.border.size(); i < patch.points.size(); ++i) {
        patch.points[i] = scene.points[first + i - scene.border.size()];
    }
    return patch;
}

} // namespace

} // namespace fill

int Orbrel::fillHole2(const std::vector<double>& neighbourhood, const std::vector<double>& border,
                      std::vector<MyPoint3>& points, std::vector<MyFace>& faces,
                      std::vector<MyPoint3>& normals, std::vector<int>& borderIndices) {
    fill::HoleScene around;
    std::vector<fill::Point> loop;
    fill::Patch patch;
    if (!fill::read_scene(neighbourhood, border, false, 0, around) ||
        !fill::read_border(border, loop) || !fill::build_patch(loop, patch)) {
        return -1;
    }
    fill::HoleScene scene = around;
    fill::adopt_patch(patch, scene);
    const fill::HeightField field(around);
    fill::continue_surface(field, fill::Finish::draft, scene);

    // A curved surface has more room than the membrane that the patch began as.
    fill::Patch denser = fill::to_patch(scene, patch);
    if (fill::refine_patch(denser, fill::surrounding_sizes(scene, loop), true)) {
        scene = around;
        fill::adopt_patch(denser, scene);
    } else {
        scene = around;
        fill::adopt_patch(patch, scene);
    }
    const int placement = fill::continue_surface(field, fill::Finish::even, scene);
    fill::write_patch(scene, points, faces, normals, borderIndices);
    return placement;
}

} // namespace Mesh_M
