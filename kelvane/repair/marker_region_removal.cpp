// Cutting the surface out from under the markers.
#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/repair/tree_memory.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace KVN {

using namespace Mesh_R;

namespace {

bool finite(const Marker& m) {
    return std::isfinite(m.x) && std::isfinite(m.y) && std::isfinite(m.z);
}

} // namespace

// Store indices of the vertices that were alive at construction and lie within `radius` of a point,
// by growing distance. Empty where the search makes no sense: a place or radius that is not a
// number, a negative radius, a tree without points.
std::vector<int> RepairMarkers::vertices_within(float x, float y, float z, double radius) const {
    std::vector<int> found;
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z) || !(radius >= 0.0) ||
        kdTree.getInputCloud() == nullptr) {
        return found;
    }
    // The tree prunes with rounded bounds and may miss a point an ulp inside of the radius, which
    // one depending on all the others. A wider search settled by the plain test has the same hits
    // over any part of the mesh.
    constexpr double wider = 1.0001;
    pcl::Indices candidates;
    std::vector<float> unused;
    require_tree_memory(kdToVertex.size(), search_bytes_per_point);
    kdTree.radiusSearch(pcl::PointXYZ(x, y, z), wider * radius, candidates, unused, 0);
    const auto limit = static_cast<float>(radius * radius);
    std::vector<std::pair<float, int>> hits;
    for (const int candidate : candidates) {
        const pcl::PointXYZ& p = (*kdTree.getInputCloud())[candidate]; // as at construction
        const float dx = x - p.x, dy = y - p.y, dz = z - p.z;
        const float squared = dx * dx + dy * dy + dz * dz;
        if (squared < limit) {
            hits.emplace_back(squared, kdToVertex[candidate]);
        }
    }
    std::sort(hits.begin(), hits.end());
    found.reserve(hits.size());
    for (const auto& hit : hits) {
        found.push_back(hit.second);
    }
    return found;
}

// Of the vertices around a marker, those on its own disc of surface: near its plane and facing its
// way.
void RepairMarkers::select_marker_vertices(const Marker& marker, const std::vector<int>& hits,
                                           std::vector<int>& selected) const {
    constexpr double facing_limit = -0.7071067811865476; // cosine of 135 degrees
    constexpr double slab_top = 0.5;     // mesh units over and under the marker's plane, for
    constexpr double slab_bottom = -1.5; // vertices that face away

    const float nx = marker.nx, ny = marker.ny, nz = marker.nz;
    const float d = -(nx * marker.x) - ny * marker.y - nz * marker.z;
    for (const int index : hits) {
        const _vert& v = mesh->vertices.at(index);
        if (v.status == Mesh_R::status_deleted) {
            continue;
        }
        const float dist = (ny * v.pos.y + nx * v.pos.x + nz * v.pos.z + d) /
                           std::sqrt(ny * ny + nx * nx + nz * nz);
        // The height limit is the bare radius; the margin widens the search only.
        if (std::fabs(dist) > marker.radius) {
            continue;
        }
        const float facing = ny * v.normal.y + nx * v.normal.x + nz * v.normal.z;
        const double dot = facing;
        if (dot < facing_limit) {
            continue;
        }
        if (dot < 0.0 && dot > facing_limit) {
            if (sizeAdjustable != 0 && dist <= slab_top && dist > slab_bottom) {
                selected.push_back(index);
            }
        } else if (dot >= 0.0) {
            selected.push_back(index);
        }
    }
}

// Marks the faces of the selected vertices and gathers them and the vertices just outside of them.
void RepairMarkers::collect_ring(const std::vector<int>& selected, RegionNote& region) const {
    for (const int index : selected) {
        set_mark(&mesh->vertices.at(index), on_ring);
    }
    for (const int index : selected) {
        const _vert& v = mesh->vertices.at(index);
        for (int i = 0; i < v.faceCount; ++i) {
            _face* face = v.faces[i];
            if (has_mark(face, to_delete)) {
                continue;
            }
            set_mark(face, to_delete);
            region.faces.push_back(face);
            for (_vert* corner : face->verts) {
                if (!has_mark(corner, on_ring)) {
                    region.ring.push_back(corner);
                    set_mark(corner, on_ring);
                }
            }
        }
    }
}

// Deletes every face that carries the mark; those deleted before are left alone by the kernel.
void RepairMarkers::delete_marked_faces() {
    const int total = mesh->faces.total();
    for (int i = 0; i < total; ++i) {
        _face& face = mesh->faces.at(i);
        if (has_mark(&face, to_delete)) {
            mesh->faces.dele_face(&face);
        }
    }
}

void RepairMarkers::DeleteMarkRegion() {
    if (!ready()) {
        return;
    }
    markRegions.clear();
    notes.regions.clear();
    std::vector<int> selected;
    for (const Marker& marker : markers) {
        std::vector<int> hits;
        if (finite(marker)) {
            hits = vertices_within(marker.x, marker.y, marker.z, marker.radius + markerSize);
        }
        selected.clear();
        select_marker_vertices(marker, hits, selected);
        RegionNote region;
        region.nearest = selected.empty() ? nullptr : &mesh->vertices.at(selected.front());
        collect_ring(selected, region);
        markRegions.push_back(region.ring);
        // By the hits, not by the ring: a ring vertex outside the sphere keeps its mark, and the
        // search for the hole reads just that.
        bool any_alive = false;
        for (const int index : hits) {
            _vert& v = mesh->vertices.at(index);
            clear_mark(&v, on_ring);
            any_alive = any_alive || v.status != Mesh_R::status_deleted;
        }
        region.finding = !selected.empty() ? RegionFinding::cut
                         : any_alive       ? RegionFinding::none_accepted
                                           : RegionFinding::no_vertex_in_reach;
        notes.regions.push_back(std::move(region));
    }
    delete_marked_faces();
}

} // namespace KVN
