#include "kelvane/toolkit/bodies/place_look.hpp"

#include "kelvane/kernel/record_words.hpp"
#include "kelvane/toolkit/bodies/base_fit.hpp"

#include <algorithm>
#include <cmath>

namespace KVN::toolkit {

namespace {

constexpr double most_high = 0.1; // share of border or patch that may stand over the base

bool has_open_cut(const RegionNote& region) {
    return std::any_of(region.faces.begin(), region.faces.end(), [](const _face* face) {
        return std::any_of(std::begin(face->edges), std::end(face->edges), [](const _edge* edge) {
            return edge->status != Mesh_R::status_deleted && edge->faceCount == 1;
        });
    });
}

std::vector<_vert*> patch_vertices(const Mesh& mesh, const HoleNote& hole) {
    std::vector<_vert*> vertices;
    for (int i = 0; i < hole.new_vertices; ++i) {
        vertices.push_back(&mesh.vertices.at(hole.first_vertex + i));
    }
    return vertices;
}

std::vector<_vert*> live_only(std::vector<_vert*> vertices) {
    vertices.erase(std::remove_if(vertices.begin(), vertices.end(),
                                  [](const _vert* v) { return !is_live(v); }),
                   vertices.end());
    return vertices;
}

} // namespace

PlaceFault look_at_place(const Mesh& mesh, const MarkerCylinder& cylinder, const VerticesNear& near,
                         const RegionNote& region, const HoleNote& hole) {
    if (has_open_cut(region)) {
        return PlaceFault::open_edges;
    }
    const std::vector<_vert*> border = live_only(region.ring);
    const std::vector<_vert*> patch = patch_vertices(mesh, hole);
    const VertexSet made(patch.begin(), patch.end());
    VertexSet joined = made;
    joined.insert(border.begin(), border.end());

    std::vector<_vert*> vertices = cylinder.vertices(mesh, near);
    std::copy_if(patch.begin(), patch.end(), std::back_inserter(vertices),
                 [&](const _vert* v) { return cylinder.holds(v); });
    const std::vector<CylinderPart> parts = connected_parts(vertices, joined);
    const double edge = mean_edge_at(border);
    const std::optional<BaseFit> base = fit_base(cylinder, edge, base_seeds(parts, border));

    for (const CylinderPart& part : parts) {
        if (part.is_island() && (part.touches || lies_near_plane(part, cylinder) ||
                                 (base && is_speck(part, cylinder, *base)))) {
            return PlaceFault::part_left;
        }
    }
    // Without a base, nothing of the old surface is expected on the marker's own disc.
    const auto stands = [&](const _vert* v) {
        const Eigen::Vector3d p = cylinder.local(v);
        return !made.holds(v) &&
               (base ? is_of_body(cylinder, edge, *base, p) : in_own_disc(cylinder, p));
    };
    const bool standing = std::any_of(parts.begin(), parts.end(), [&](const CylinderPart& part) {
        return part.touches && std::any_of(part.vertices.begin(), part.vertices.end(), stands);
    });
    const auto mostly_high = [&](const std::vector<_vert*>& some) {
        const auto high = std::count_if(some.begin(), some.end(), [&](const _vert* v) {
            return base->over(cylinder.local(v)) > foot_height(cylinder, edge, *base);
        });
        return static_cast<double>(high) > most_high * static_cast<double>(some.size());
    };
    return standing || (base && (mostly_high(border) || mostly_high(patch))) ? PlaceFault::body_left
                                                                             : PlaceFault::none;
}

} // namespace KVN::toolkit
