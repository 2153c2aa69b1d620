#include "kelvane/toolkit/job/patch_blame.hpp"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KVN::toolkit {

using Eigen::Vector3d;
using Mesh_M::MyFace;

namespace {

/// Beyond this a normal says little. The one long closing edge of a rim makes aspects of some
/// dozens, which must pass; from 1000 on a face counts as degenerate.
constexpr double worst_aspect = 300.0;
/// Cosine of the most by which a normal may turn from the mean around it, 85 degrees: a little less
/// than what counts as flipped, since that mean is not the surface itself.
constexpr double least_cosine = 0.0872;
/// Of one face in the sum of a patch, so that one without area does not hide the others.
constexpr double worst_badness = 1e9;

double aspect_of(const PatchShape& shape, const MyFace& f) {
    double longest = 0.0;
    for (int k = 0; k < 3; ++k) {
        const Vector3d side = shape.at(f.t_idx[(k + 1) % 3]) - shape.at(f.t_idx[k]);
        longest = std::max(longest, side.squaredNorm());
    }
    const double area = shape.area_vector(f).norm();
    return area > 0.0 ? std::sqrt(0.75) * longest / area : std::numeric_limits<double>::infinity();
}

} // namespace

Vector3d PatchShape::area_vector(const MyFace& f) const {
    const Vector3d& corner = at(f.t_idx[0]);
    return (at(f.t_idx[1]) - corner).cross(at(f.t_idx[2]) - corner);
}

PatchBlame judge_patch(const PatchShape& shape) {
    const std::vector<MyFace>& faces = shape.faces;
    std::vector<Vector3d> around(shape.positions.size(), Vector3d::Zero());
    for (const MyFace& f : faces) {
        for (const int i : f.t_idx) {
            around[static_cast<std::size_t>(i)] += shape.area_vector(f);
        }
    }
    PatchBlame blame;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        const double aspect = aspect_of(shape, faces[i]);
        const Vector3d own = shape.area_vector(faces[i]);
        Vector3d mean = -3.0 * own; // the sums at its corners hold the face itself three times
        for (const int corner : faces[i].t_idx) {
            mean += around[static_cast<std::size_t>(corner)];
        }
        const bool turned = own.dot(mean) < least_cosine * own.norm() * mean.norm();
        if (turned || !(aspect <= worst_aspect)) {
            blame.badness += std::min(aspect, worst_badness) + (turned ? worst_aspect : 0.0);
            blame.faces.push_back(static_cast<int>(i));
        }
    }
    return blame;
}

} // namespace KVN::toolkit
