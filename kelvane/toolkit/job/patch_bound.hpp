// How far from its border a patch may reach.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

#include <Eigen/Geometry>

#include <vector>

namespace KVN::toolkit {

/// The box around a border, widened on all sides by its own diagonal. A sound patch bulges by a
/// fraction of that.
class PatchBound {
  public:
    explicit PatchBound(const std::vector<Mesh_R::_vert*>& border) {
        for (const Mesh_R::_vert* v : border) {
            box_.extend(Eigen::Vector3d(v->pos.x, v->pos.y, v->pos.z));
        }
    }

    /// False also for a place that is not finite.
    bool holds(const MemS::Point3v<float>& p) const {
        const Eigen::Vector3d place(p.x, p.y, p.z);
        return place.allFinite() && box_.exteriorDistance(place) <= box_.diagonal().norm();
    }

  private:
    Eigen::AlignedBox3d box_;
};

} // namespace KVN::toolkit
