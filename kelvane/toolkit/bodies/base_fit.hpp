// The surface on which a marker's body stands, as a quadric over the marker's plane.
#pragma once

#include "kelvane/toolkit/bodies/marker_cylinder.hpp"

#include <optional>

namespace KVN::toolkit {

constexpr double band_edges = 4; ///< width of the ring of surface that is fitted, in edges

/// Heights of the base in a cylinder's frame, and how well they are known.
struct BaseFit {
    /// Of 1, x, y, x²-y², xy, x²+y², with x and y over the cylinder's radius.
    Eigen::Matrix<double, 6, 1> coefficients;
    double unit = 1;            ///< the cylinder's radius
    double spread = 0;          ///< 1.5 median residuals: one deviation of what scatters normally
    std::vector<_vert*> points; ///< that it was fitted to, by their discovery from the seeds

    /// The height of a point in the frame over the base.
    double over(const Eigen::Vector3d& local) const;
    /// Unit, in the frame, below the marker's centre.
    Eigen::Vector3d normal() const;
    double centre_height() const { return coefficients[0]; }
};

/// The base around `cylinder`: from those of `seeds` that lie within four times `edge` around it
/// and face its way, grown over the mesh, fitted so that walls and dirt count little. None if there
/// are too few points for a quadric.
std::optional<BaseFit> fit_base(const MarkerCylinder& cylinder, double edge,
                                const std::vector<_vert*>& seeds);

/// Where a base is looked for: `ring`, the vertices around the marker's cut, and where the parts
/// that touch it leave the cylinder.
std::vector<_vert*> base_seeds(const std::vector<CylinderPart>& parts,
                               const std::vector<_vert*>& ring);

/// Whether a point lies on the marker's own disc, with a quarter of the margin around it, by which
/// a body may be wider than it is listed. Beyond it, steps of the scan itself are no body.
bool in_own_disc(const MarkerCylinder& cylinder, const Eigen::Vector3d& local);

// Heights over the base. `edge` is the mean edge length around the marker.

/// Whether a vertex of what touches the cut is a body's: on the marker's own disc, and higher than
/// a surface would be; or all that a cut far above the base has left within its reach.
bool is_of_body(const MarkerCylinder& cylinder, double edge, const BaseFit& base,
                const Eigen::Vector3d& local);
/// At its foot, a body's outline is no farther from the base.
double foot_height(const MarkerCylinder& cylinder, double edge, const BaseFit& base);
/// Lower is over the edge of the sheet (negative).
double lower_limit(const MarkerCylinder& cylinder, double edge, const BaseFit& base);

/// Whether a part is a loose piece over the place, or only little below the base.
bool is_speck(const CylinderPart& part, const MarkerCylinder& cylinder, const BaseFit& base);
/// Whether all of a part lies within one cylinder radius from the marker's plane.
bool lies_near_plane(const CylinderPart& part, const MarkerCylinder& cylinder);

} // namespace KVN::toolkit
