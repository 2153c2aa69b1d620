// Surfaces of constant principal curvatures as height fields.
#pragma once

#include <Eigen/Core>

#include <vector>

namespace Mesh_M::fill {

/// What a surface of constant principal curvatures rises above its osculating paraboloid: zero for
/// a plane, and exact for spheres and cylinders that touch the plane at `centre`.
struct ArcExcess {
    Eigen::Vector2d centre = Eigen::Vector2d::Zero();
    Eigen::Matrix2d curvature = Eigen::Matrix2d::Zero();

    double operator()(const Eigen::Vector2d& place) const;

    /// How the whole height, paraboloid and excess, grows with the curvatures xx, xy and yy.
    Eigen::Vector3d gradient(const Eigen::Vector2d& place) const;
};

/// A circle around all places of interest.
struct Disc {
    Eigen::Vector2d centre = Eigen::Vector2d::Zero();
    double radius = 1.0;
};

/// The disc around the middle of the bounding box that holds all places; there is at least one.
Disc enclose(const std::vector<Eigen::Vector2d>& places);

struct ArcFit {
    ArcExcess arc;
    Eigen::Vector2d slope = Eigen::Vector2d::Zero(); ///< of the plane beneath the arcs
    bool valid =
        false; ///< the samples fix a quadric and turn little enough for arcs over this plane
};

/// The plane plus arcs around the disc's centre that are nearest to weighted samples.
ArcFit fit_arcs(const std::vector<Eigen::Vector2d>& places, const Eigen::VectorXd& heights,
                const Eigen::VectorXd& weights, const Disc& disc);

} // namespace Mesh_M::fill
