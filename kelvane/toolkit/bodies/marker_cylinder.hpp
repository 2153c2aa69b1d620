// The cylinder of space around a marker's axis in which its body is looked for.
#pragma once

#include "kelvane/repair/run_places.hpp"
#include "kelvane/toolkit/bodies/vertex_set.hpp"

#include <Eigen/Core>

#include <functional>
#include <vector>

namespace KVN::toolkit {

/// Store indices of the vertices within a distance of a point; more and dead ones do no harm.
using VerticesNear = std::function<std::vector<int>(float x, float y, float z, double radius)>;

/// Lengths in the mesh's unit. A marker whose centre or normal is of no use gives a cylinder that
/// is not valid and holds nothing.
class MarkerCylinder {
  public:
    /// Of radius `marker.radius + margin` and `half_height` to both sides of the marker's plane.
    MarkerCylinder(const Marker& marker, double margin, double half_height);

    bool valid() const { return valid_; }
    double marker_radius() const { return marker_radius_; }
    double radius() const { return radius_; }
    double margin() const { return radius_ - marker_radius_; }

    Eigen::Vector3d axis() const { return axes_.row(2); }
    /// Of the marker's frame, in the mesh's.
    Eigen::Vector3d direction(const Eigen::Vector3d& local) const {
        return axes_.transpose() * local;
    }
    /// In the marker's frame: x, y across the axis, z along the normal, from the centre.
    Eigen::Vector3d local(const _vert* v) const;
    /// Cosine between the vertex's normal and the marker's.
    double facing(const _vert* v) const;
    /// In the part of the cylinder, or of one of another radius, between both ends.
    bool within(const _vert* v, double radius) const;
    bool holds(const _vert* v) const { return within(v, radius_); }

    /// The live vertices with a face that the cylinder holds, by store index. Asks `near` for balls
    /// along the axis that cover it.
    std::vector<_vert*> vertices(const Mesh& mesh, const VerticesNear& near) const;

  private:
    bool valid_ = false;
    double marker_radius_;
    double radius_;
    double half_height_;
    Eigen::Vector3d centre_;
    Eigen::Matrix3d axes_; ///< rows: x, y, z
};

inline double off_axis(const Eigen::Vector3d& local) {
    return local.head<2>().norm();
}

/// Vertices of a cylinder that hang together by edges within it.
struct CylinderPart {
    std::vector<_vert*> vertices;
    std::vector<_vert*> exits; ///< the neighbours that are not among the vertices looked at
    bool touches = false;      ///< holds a vertex of the marker's region

    bool is_island() const { return exits.empty(); }
};

/// The parts of `vertices`, by their first vertices.
std::vector<CylinderPart> connected_parts(const std::vector<_vert*>& vertices,
                                          const VertexSet& region);

/// The mean length of all edges at the live ones of `vertices`, or 0 if they have none.
double mean_edge_at(const std::vector<_vert*>& vertices);

inline bool is_live(const _vert* v) {
    return v->status != Mesh_R::status_deleted && v->faceCount > 0;
}

} // namespace KVN::toolkit
