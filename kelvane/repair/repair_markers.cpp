// Life cycle of RepairMarkers: construction, copies, and the one setter.
#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/repair/tree_memory.hpp"

#include <pcl/point_cloud.h>

#include <cmath>
#include <utility>

namespace KVN {

RepairMarkers::RepairMarkers(Mesh* mesh_, std::vector<Marker>& markers_, double markerSize_,
                             char sizeAdjustable_, float* blockSpheres_, int blockSphereCount_)
    : mesh(mesh_), markers(markers_), markerSize(markerSize_), sizeAdjustable(sizeAdjustable_),
      resolution(0.5f), kdTree(true), hasCloud(false), blockSpheres(blockSpheres_),
      blockSphereCount(blockSphereCount_), currentMarker(0) {
    if (mesh == nullptr || mesh->vertices.total() == 0 || mesh->faces.total() == 0) {
        return;
    }
    const pcl::PointCloud<pcl::PointXYZ>::Ptr cloud(new pcl::PointCloud<pcl::PointXYZ>);
    const int total = mesh->vertices.total();
    kdToVertex.reserve(total);
    cloud->points.reserve(total);
    bool any_finite = false;
    bool all_finite = true;
    for (int i = 0; i < total; ++i) {
        const _vert& v = mesh->vertices.at(i);
        if (v.status == Mesh_R::status_deleted) {
            continue;
        }
        cloud->points.emplace_back(v.pos.x, v.pos.y, v.pos.z);
        kdToVertex.push_back(i);
        const bool finite =
            std::isfinite(v.pos.x) && std::isfinite(v.pos.y) && std::isfinite(v.pos.z);
        any_finite = any_finite || finite;
        all_finite = all_finite && finite;
    }
    cloud->width = static_cast<std::uint32_t>(cloud->points.size());
    cloud->height = 1;
    cloud->is_dense = all_finite;
    hasCloud = !kdToVertex.empty();
    // The tree leaves out points that are not finite and cannot be made of none at all; without
    // one, a search has no hits.
    if (any_finite) {
        require_tree_memory(cloud->size(), tree_bytes_per_point);
        kdTree.setInputCloud(cloud);
    }
}

RepairMarkers::RepairMarkers(const RepairMarkers&) = default;
RepairMarkers::RepairMarkers(RepairMarkers&&) = default;

RepairMarkers& RepairMarkers::operator=(const RepairMarkers& other) {
    if (this != &other) {
        *this = RepairMarkers(other);
    }
    return *this;
}

RepairMarkers& RepairMarkers::operator=(RepairMarkers&& other) {
    if (this == &other) {
        return *this;
    }
    mesh = other.mesh;
    markers = std::exchange(other.markers, {});
    markerSize = other.markerSize;
    sizeAdjustable = other.sizeAdjustable;
    resolution = other.resolution;
    kdTree = other.kdTree;
    kdToVertex = std::exchange(other.kdToVertex, {});
    hasCloud = other.hasCloud;
    blockSpheres = other.blockSpheres;
    blockSphereCount = other.blockSphereCount;
    markRegions = std::exchange(other.markRegions, {});
    holeBoundaryCount = std::exchange(other.holeBoundaryCount, {});
    holePoints = std::exchange(other.holePoints, {});
    holeFaces = std::exchange(other.holeFaces, {});
    holeFaceNormals = std::exchange(other.holeFaceNormals, {});
    holeRingIndices = std::exchange(other.holeRingIndices, {});
    holeBorders = std::exchange(other.holeBorders, {});
    patches = std::exchange(other.patches, {});
    patchVerts = std::exchange(other.patchVerts, {});
    currentMarker = other.currentMarker;
    notes = std::exchange(other.notes, {});
    return *this;
}

RepairMarkers::~RepairMarkers() = default;

bool RepairMarkers::ready() const {
    // A moved-from object keeps its flag and mesh but has given its vertex list away.
    return mesh != nullptr && mesh->vertices.total() != 0 && mesh->faces.total() != 0 && hasCloud &&
           !kdToVertex.empty();
}

void RepairMarkers::setResolution(float r) {
    constexpr float coarse_resolution = 0.4f;
    constexpr double least_size = 4.0;
    constexpr double least_coarse_size = 5.0;
    constexpr double most_coarse_size = 7.0;

    resolution = r;
    if (sizeAdjustable == 0) {
        return;
    }
    if (r >= coarse_resolution && markerSize < least_coarse_size) {
        markerSize += r;
        if (markerSize < least_coarse_size) {
            markerSize = least_coarse_size;
        } else if (markerSize > most_coarse_size) {
            markerSize = most_coarse_size;
        }
    } else if (markerSize < least_size) {
        markerSize = least_size;
    }
}

void RepairMarkers::DeleMK(std::vector<_vert*>& region) {
    std::vector<_vert*> only = region; // the caller may hand in an entry of markRegions
    markRegions.clear();
    markRegions.push_back(std::move(only));
    notes.regions.assign(1, {});
    notes.regions.front().finding = RegionFinding::cut;
}

} // namespace KVN
