#include "kelvane/toolkit/bodies/body_removal.hpp"

#include "kelvane/kernel/record_index.hpp"
#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/kernel/record_words.hpp"
#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/toolkit/bodies/base_fit.hpp"

#include <algorithm>
#include <cmath>

namespace KVN::toolkit {

namespace {

// All found by trial on bodies of twelve kinds on curved surfaces; e is the mean edge, r the
// marker's radius, s the spread of the base. Wider limits take more of what is no body.
constexpr double most_margin_radii = 1.5; // beyond, the cylinder holds more surface than marker
constexpr double exit_facing = -0.2;      // at the foot, undercut by noise only
constexpr double good_aim = 0.99;         // cosine between marker and base: 8 degrees
constexpr int most_aims = 4;              // on curved surfaces, each foot lies nearer to the last
constexpr double torn_edges = 2;          // e beyond the cylinder, where holes are of the body
constexpr double sheet_facing = 0.3;      // the way of the marker
constexpr double edge_facing = 0.5;       // less below the base is the edge of a sheet
constexpr double most_bad_exits = 0.1;    // share

/// A marker's place while it is judged.
struct Surroundings {
    const MarkerCylinder& cylinder;
    double edge;
    std::vector<CylinderPart> parts;
    bool ring_outside; ///< the cut has left vertices outside of the cylinder
};

/// What is to go.
struct Plan {
    BodyRemoval removal;
    double edge = 0;
    std::vector<_vert*> vertices;
    std::optional<BaseFit> base;
};

bool has_small_margin(const MarkerCylinder& cylinder) {
    return cylinder.margin() <= most_margin_radii * cylinder.marker_radius();
}

bool is_raised(const Plan& plan) {
    return plan.base &&
           (plan.removal.taken.walls > 0 || plan.removal.finding == BodyFinding::not_bounded);
}

void take(Plan& plan, const CylinderPart& part, int TakenBody::*counter) {
    plan.vertices.insert(plan.vertices.end(), part.vertices.begin(), part.vertices.end());
    ++(plan.removal.taken.*counter);
}

bool is_own_island(const CylinderPart& part, const MarkerCylinder& cylinder) {
    return part.is_island() && (part.touches || lies_near_plane(part, cylinder));
}

bool is_body(const CylinderPart& part, const Surroundings& around, const BaseFit& base) {
    const MarkerCylinder& cylinder = around.cylinder;
    return part.touches &&
           std::any_of(part.vertices.begin(), part.vertices.end(), [&](const _vert* v) {
               return is_of_body(cylinder, around.edge, base, cylinder.local(v));
           });
}

/// Whether the part leaves the cylinder on the base all around, or over the edge of its sheet.
bool stands_on_base(const CylinderPart& part, const Surroundings& around, const BaseFit& base) {
    const MarkerCylinder& cylinder = around.cylinder;
    const double reach = foot_height(cylinder, around.edge, base);
    const double limit = lower_limit(cylinder, around.edge, base);
    const auto bad = std::count_if(part.exits.begin(), part.exits.end(), [&](const _vert* v) {
        const double height = base.over(cylinder.local(v));
        const double facing = cylinder.facing(v);
        const bool at_base = std::fabs(height) <= reach && facing >= exit_facing;
        const bool over_edge = height < limit && facing < edge_facing;
        return !at_base && !over_edge;
    });
    return static_cast<double>(bad) <= most_bad_exits * static_cast<double>(part.exits.size());
}

bool mostly_faces(const CylinderPart& part, const MarkerCylinder& cylinder) {
    const auto facing = std::count_if(part.exits.begin(), part.exits.end(), [&](const _vert* v) {
        return cylinder.facing(v) > sheet_facing;
    });
    return 2 * facing > static_cast<std::ptrdiff_t>(part.exits.size());
}

double mean_exit_height(const CylinderPart& part, const MarkerCylinder& cylinder) {
    double sum = 0;
    for (const _vert* v : part.exits) {
        sum += cylinder.local(v).z();
    }
    return sum / static_cast<double>(part.exits.size());
}

/// The sheet under a body that nothing joins to it: the highest of those that face its way.
const CylinderPart* sheet_below(const Surroundings& around) {
    const CylinderPart* best = nullptr;
    double best_height = 0;
    for (const CylinderPart& part : around.parts) {
        if (part.is_island() || !mostly_faces(part, around.cylinder)) {
            continue;
        }
        const double height = mean_exit_height(part, around.cylinder);
        if (height <= around.cylinder.marker_radius() &&
            (best == nullptr || height > best_height)) {
            best = &part;
            best_height = height;
        }
    }
    return best;
}

std::vector<CylinderPart> parts_above(const Surroundings& around, const BaseFit& base,
                                      const VertexSet& region) {
    const MarkerCylinder& cylinder = around.cylinder;
    std::vector<_vert*> vertices;
    const double limit = lower_limit(cylinder, around.edge, base);
    for (const CylinderPart& part : around.parts) {
        if (part.is_island()) {
            continue;
        }
        std::copy_if(part.vertices.begin(), part.vertices.end(), std::back_inserter(vertices),
                     [&](const _vert* v) { return base.over(cylinder.local(v)) >= limit; });
    }
    return connected_parts(vertices, region);
}

bool reaches_own_disc(const Surroundings& around) {
    return std::any_of(around.parts.begin(), around.parts.end(), [&](const CylinderPart& part) {
        return part.touches && !part.is_island() &&
               std::any_of(part.vertices.begin(), part.vertices.end(), [&](const _vert* v) {
                   return in_own_disc(around.cylinder, around.cylinder.local(v));
               });
    });
}

/// Plans the walls of a body that stands on the surface; false if one's foot is not found.
bool plan_walls(const Surroundings& around, const VertexSet& region, Plan& plan) {
    for (const CylinderPart& part : parts_above(around, *plan.base, region)) {
        if (is_body(part, around, *plan.base)) {
            if (!stands_on_base(part, around, *plan.base)) {
                return false;
            }
            take(plan, part, &TakenBody::walls);
        }
    }
    return true;
}

bool has_open_edge(const CylinderPart& part, const MarkerCylinder& cylinder) {
    return std::any_of(part.vertices.begin(), part.vertices.end(), [&](const _vert* v) {
        return off_axis(cylinder.local(v)) <= cylinder.marker_radius() &&
               Mesh_R::boundary_edge_count(v) > 0;
    });
}

/// Plans the place on the surface under a body that hangs free; false if there is none.
bool plan_under_free_body(const Surroundings& around, const CylinderPart& sheet, Plan& plan) {
    const MarkerCylinder& cylinder = around.cylinder;
    const BaseFit& base = *plan.base;
    double top = -base.centre_height(); // the marker itself, over the base
    for (const CylinderPart& part : around.parts) {
        if (part.is_island() && part.touches) {
            for (const _vert* v : part.vertices) {
                top = std::max(top, base.over(cylinder.local(v)));
            }
        }
    }
    const double standing =
        std::max(around.edge, 0.15 * cylinder.marker_radius()) + 2 * base.spread;
    if (top <= standing && !has_open_edge(sheet, cylinder)) {
        return false;
    }
    const VertexSet sheet_vertices(sheet.vertices.begin(), sheet.vertices.end());
    for (const CylinderPart& part : parts_above(around, base, sheet_vertices)) {
        if (part.touches) {
            if (!stands_on_base(part, around, base)) {
                return false;
            }
            take(plan, part, &TakenBody::walls);
        }
    }
    return true;
}

void plan_own_islands(const Surroundings& around, Plan& plan) {
    for (const CylinderPart& part : around.parts) {
        if (is_own_island(part, around.cylinder)) {
            take(plan, part, &TakenBody::islands);
        }
    }
}

void plan_specks(const Surroundings& around, Plan& plan) {
    for (const CylinderPart& part : around.parts) {
        if (is_speck(part, around.cylinder, *plan.base)) {
            take(plan, part, &TakenBody::specks);
        }
    }
}

/// Refuses all that was planned.
Plan not_bounded(Plan plan) {
    plan.vertices.clear();
    plan.removal.taken = {};
    plan.removal.finding = BodyFinding::not_bounded;
    return plan;
}

/// A body that the cut has left without any connection to the surface.
Plan plan_free(const Surroundings& around) {
    Plan plan;
    plan.edge = around.edge;
    const CylinderPart* sheet = sheet_below(around);
    if (sheet != nullptr) {
        plan.base = fit_base(around.cylinder, around.edge, sheet->exits);
    }
    if (!plan.base || !plan_under_free_body(around, *sheet, plan)) {
        return not_bounded(std::move(plan));
    }
    plan_own_islands(around, plan);
    plan_specks(around, plan);
    return plan;
}

/// A marker whose cut borders on surface around it.
Plan plan_standing(const Surroundings& around, const std::vector<_vert*>& ring,
                   const VertexSet& region) {
    Plan plan;
    plan.edge = around.edge;
    plan_own_islands(around, plan);
    const bool candidate =
        std::any_of(around.parts.begin(), around.parts.end(),
                    [](const CylinderPart& part) { return part.touches || part.is_island(); });
    if (!candidate || !has_small_margin(around.cylinder)) {
        return plan;
    }
    plan.base = fit_base(around.cylinder, around.edge, base_seeds(around.parts, ring));
    if (plan.base ? !plan_walls(around, region, plan) : reaches_own_disc(around)) {
        return not_bounded(std::move(plan));
    }
    if (plan.base) {
        plan_specks(around, plan);
    }
    return plan;
}

Plan plan_removal(const Mesh& mesh, const MarkerCylinder& cylinder, const VerticesNear& near,
                  const std::vector<_vert*>& ring) {
    const VertexSet region(ring.begin(), ring.end());
    const std::vector<_vert*> vertices = cylinder.vertices(mesh, near);
    const double edge = mean_edge_at(ring);
    const Surroundings around{cylinder, edge > 0 ? edge : mean_edge_at(vertices),
                              connected_parts(vertices, region),
                              std::any_of(ring.begin(), ring.end(), [&](const _vert* v) {
                                  return is_live(v) && !cylinder.holds(v);
                              })};
    const bool joined =
        std::any_of(around.parts.begin(), around.parts.end(),
                    [](const CylinderPart& part) { return part.touches && !part.is_island(); });
    if (joined || around.ring_outside) {
        return plan_standing(around, ring, region);
    }
    return has_small_margin(cylinder) && !vertices.empty() ? plan_free(around) : Plan();
}

/// How far from the axis the small holes reach that a body has torn into the surface beside its
/// foot: those that begin within `torn_edges` of the cylinder and end within the band of the base.
double torn_reach(const Plan& plan, const MarkerCylinder& cylinder,
                  const std::vector<_vert*>& ring) {
    VertexSet seen(ring.begin(), ring.end()); // the cut's own border is no hole
    double reach = 0;
    for (_vert* first : plan.base->points) {
        if (Mesh_R::boundary_edge_count(first) == 0 ||
            off_axis(cylinder.local(first)) > cylinder.radius() + torn_edges * plan.edge ||
            !seen.insert(first)) {
            continue;
        }
        std::vector<_vert*> hole{first};
        double farthest = 0;
        bool small = true;
        for (std::size_t i = 0; i < hole.size() && small; ++i) {
            const _vert* v = hole[i];
            small = cylinder.within(v, cylinder.radius() + band_edges * plan.edge);
            farthest = std::max(farthest, off_axis(cylinder.local(v)));
            for (int e = 0; e < v->edgeCount; ++e) {
                _vert* next = Mesh_R::other_end(v->edges[e], v);
                if (v->edges[e]->faceCount == 1 && seen.insert(next)) {
                    hole.push_back(next);
                }
            }
        }
        reach = small ? std::max(reach, farthest) : reach;
    }
    return reach;
}

/// Plans on: along the normal of the base that was found, where the listed one is far from it, and
/// out to where the surface is whole.
Plan plan_body(const Mesh& mesh, const VerticesNear& near, const std::vector<_vert*>& ring,
               const BodyAim& listed, double half_height) {
    std::vector<BodyAim> tried;
    const auto plan_along = [&](const BodyAim& aim) {
        const MarkerCylinder cylinder(aim.marker, aim.margin, half_height);
        Plan plan = plan_removal(mesh, cylinder, near, ring);
        plan.removal.aim = aim;
        tried.push_back({aim.marker, aim.margin, plan.edge});
        return plan;
    };
    const auto cylinder_of = [&](const Plan& plan) {
        return MarkerCylinder(plan.removal.aim.marker, plan.removal.aim.margin, half_height);
    };
    Plan plan = plan_along(listed);
    for (int round = 0; round < most_aims && is_raised(plan); ++round) {
        const Eigen::Vector3d normal = cylinder_of(plan).direction(plan.base->normal());
        const Marker& m = plan.removal.aim.marker;
        if (cylinder_of(plan).axis().dot(normal) >= good_aim) {
            break;
        }
        const Plan next =
            plan_along({{m.x, m.y, m.z, static_cast<float>(normal.x()),
                         static_cast<float>(normal.y()), static_cast<float>(normal.z()), m.radius},
                        listed.margin});
        if (!is_raised(next)) {
            break;
        }
        plan = next;
    }
    if (is_raised(plan) && plan.removal.finding != BodyFinding::not_bounded) {
        const double reach = torn_reach(plan, cylinder_of(plan), ring);
        if (reach > cylinder_of(plan).radius()) {
            BodyAim wider = plan.removal.aim;
            wider.margin += reach - cylinder_of(plan).radius();
            const Plan next = plan_along(wider);
            plan = next.removal.finding == BodyFinding::not_bounded ? plan : next;
        }
    }
    plan.removal.further.assign(tried.begin() + 1, tried.end());
    return plan;
}

/// The faces at the vertices, by their place in the store.
std::vector<_face*> faces_of(const Mesh& mesh, const std::vector<_vert*>& vertices,
                             const Mesh_R::RecordIndex<_face>& index) {
    std::vector<int> places;
    for (const _vert* v : vertices) {
        for (int i = 0; i < v->faceCount; ++i) {
            places.push_back(index.of(v->faces[i]));
        }
    }
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    std::vector<_face*> faces;
    for (const int place : places) {
        faces.push_back(&mesh.faces.at(place));
    }
    return faces;
}

/// The border of the wider cut: what is left of the ring, and of the corners of deleted faces, and
/// open edges of the base that the cut runs into.
void rewrite_region(const MarkerCylinder& cylinder, const Plan& plan,
                    const std::vector<_face*>& deleted, std::vector<_vert*>& ring) {
    std::vector<_vert*> wider;
    VertexSet seen;
    const auto add = [&](_vert* v) {
        if (is_live(v) && seen.insert(v)) {
            Mesh_R::set_mark(v, Mesh_R::on_ring);
            wider.push_back(v);
        }
    };
    std::for_each(ring.begin(), ring.end(), add);
    for (const _face* face : deleted) {
        std::for_each(std::begin(face->verts), std::end(face->verts), add);
    }
    if (plan.base) {
        for (_vert* v : plan.base->points) {
            if (cylinder.within(v, cylinder.radius() + plan.edge) &&
                std::fabs(plan.base->over(cylinder.local(v))) <=
                    1.5 * plan.edge + 3 * plan.base->spread &&
                Mesh_R::boundary_edge_count(v) > 0) {
                add(v);
            }
        }
    }
    ring = std::move(wider);
}

void clear_region(std::vector<_vert*>& ring) {
    for (_vert* v : ring) {
        Mesh_R::clear_mark(v, Mesh_R::on_ring);
    }
    ring.clear();
}

} // namespace

std::vector<BodyRemoval> remove_bodies(CutPlace& place, const VerticesNear& near,
                                       double body_height) {
    std::vector<BodyRemoval> removals;
    for (const Marker& marker : place.markers) {
        removals.push_back({BodyFinding::none, {}, {marker, place.margin}, {}});
    }
    const Mesh_R::RecordIndex<_face> index(place.mesh.faces);
    for (std::size_t i = 0; i < place.markers.size(); ++i) {
        RegionNote& note = place.notes.regions[i];
        if (note.finding != RegionFinding::cut) {
            continue;
        }
        std::vector<_vert*>& ring = place.regions[i];
        const double height =
            body_height > 0 ? body_height : default_body_radii * place.markers[i].radius;
        Plan plan = plan_body(place.mesh, near, ring, {place.markers[i], place.margin}, height);
        if (plan.removal.finding == BodyFinding::not_bounded) {
            clear_region(ring);
        } else if (!plan.vertices.empty()) {
            const std::vector<_face*> faces = faces_of(place.mesh, plan.vertices, index);
            for (_face* face : faces) {
                place.mesh.faces.dele_face(face);
            }
            const BodyAim& aim = plan.removal.aim;
            rewrite_region(MarkerCylinder(aim.marker, aim.margin, height), plan, faces, ring);
            note.faces.insert(note.faces.end(), faces.begin(), faces.end());
            plan.removal.finding = BodyFinding::taken;
            plan.removal.taken.faces = static_cast<int>(faces.size());
            plan.removal.taken.base_height = plan.base ? plan.base->centre_height() : 0.0;
        }
        removals[i] = plan.removal;
    }
    return removals;
}

} // namespace KVN::toolkit
