// What is wrong with the faces of a finished patch.
#pragma once

#include "kelvane/fill/hole_filling.hpp"

#include <Eigen/Core>

#include <cstddef>
#include <vector>

namespace KVN::toolkit {

/// A patch while it is mended.
struct PatchShape {
    std::vector<Eigen::Vector3d> positions; ///< narrowed to what the mesh holds
    std::vector<char> on_border;            ///< 0 for inner points
    std::vector<Mesh_M::MyFace> faces;

    const Eigen::Vector3d& at(int i) const { return positions[static_cast<std::size_t>(i)]; }
    bool border(int i) const { return on_border[static_cast<std::size_t>(i)] != 0; }
    /// Twice the area long.
    Eigen::Vector3d area_vector(const Mesh_M::MyFace& f) const;
};

/// The faults of a patch: faces with an aspect ratio above 300 (sqrt(3)/2 * longest edge / shortest
/// altitude) or a normal that turns by more than 85 degrees from the mean of the faces around it.
struct PatchBlame {
    double badness = 0.0;
    std::vector<int> faces; ///< those with a fault

    /// Fewer faulty faces, or as many that are less bad.
    bool operator<(const PatchBlame& other) const {
        return faces.size() != other.faces.size() ? faces.size() < other.faces.size()
                                                  : badness < other.badness;
    }
};

PatchBlame judge_patch(const PatchShape& shape);

} // namespace KVN::toolkit
