#include "kelvane/toolkit/windows/patch_origins.hpp"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KVN::toolkit {

namespace {

constexpr std::size_t most_corners = 96; // of a polygon; more change a property by less than 1/255

Eigen::Vector3d widened(const MemS::Point3v<float>& p) {
    return {p.x, p.y, p.z};
}

std::array<double, 3> centre_of(const _face& face) {
    const Eigen::Vector3d centre =
        (widened(face.verts[0]->pos) + widened(face.verts[1]->pos) + widened(face.verts[2]->pos)) /
        3.0;
    return {centre.x(), centre.y(), centre.z()};
}

} // namespace

PatchOrigins::PatchOrigins(const std::vector<_vert*>& border, int rim_vertices) {
    const std::size_t old = border.size() - static_cast<std::size_t>(rim_vertices);
    ends_[0] = border[old - 1];
    ends_[1] = border.front();
    double length = 0.0;
    for (std::size_t i = old; i < border.size(); ++i) {
        length += (widened(border[i]->pos) - widened(border[i - 1]->pos)).norm();
        along_.push_back(length);
    }
    length += (widened(ends_[1]->pos) - widened(border.back()->pos)).norm();
    for (double& along : along_) {
        along /= length;
    }
    const std::size_t count = std::min(border.size(), most_corners);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t place = i * border.size() / count;
        corners_.push_back(border[place]);
        rim_place_.push_back(place < old ? -1 : static_cast<int>(place - old));
    }
    Eigen::Vector3d area = Eigen::Vector3d::Zero(); // twice the polygon's, along its normal
    for (std::size_t i = 0; i < count; ++i) {
        area += widened(corners_[i]->pos).cross(widened(corners_[(i + 1) % count]->pos));
    }
    const Eigen::Vector3d normal =
        area.norm() > 0.0 ? Eigen::Vector3d(area.normalized()) : Eigen::Vector3d::UnitZ();
    const Eigen::Vector3d u = normal.unitOrthogonal();
    const Eigen::Vector3d v = normal.cross(u);
    std::copy(u.data(), u.data() + 3, axis_u_);
    std::copy(v.data(), v.data() + 3, axis_v_);
    plane_.resize(2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        project(corners_[i]->pos, &plane_[2 * i]);
    }
}

void PatchOrigins::project(const MemS::Point3v<float>& point, double* uv) const {
    uv[0] = axis_u_[0] * point.x + axis_u_[1] * point.y + axis_u_[2] * point.z;
    uv[1] = axis_v_[0] * point.x + axis_v_[1] * point.y + axis_v_[2] * point.z;
}

std::vector<PatchOrigins::Origin> PatchOrigins::of_vertex(const MemS::Point3v<float>& point) const {
    const std::size_t count = corners_.size();
    double at[2];
    project(point, at);
    std::vector<double> length(count);
    std::vector<double> half_tangent(count); // of the angle from corner i to the next
    for (std::size_t i = 0; i < count; ++i) {
        length[i] = std::hypot(plane_[2 * i] - at[0], plane_[2 * i + 1] - at[1]);
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t j = (i + 1) % count;
        const double ax = plane_[2 * i] - at[0], ay = plane_[2 * i + 1] - at[1];
        const double bx = plane_[2 * j] - at[0], by = plane_[2 * j + 1] - at[1];
        const double cross = ax * by - ay * bx;
        const double dot = ax * bx + ay * by;
        // tan(angle / 2) = (|a| |b| - a.b) / (a x b)
        half_tangent[i] = cross == 0.0 ? 0.0 : (length[i] * length[j] - dot) / cross;
    }
    std::vector<double> weights(count, 0.0);
    double sum = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double tangents = half_tangent[(i + count - 1) % count] + half_tangent[i];
        const double weight = length[i] > 0.0 ? tangents / length[i] : 0.0;
        if (weight > 0.0 && std::isfinite(weight)) {
            weights[i] = weight;
            sum += weight;
        }
    }
    if (sum == 0.0) {
        const auto nearest = std::min_element(length.begin(), length.end()) - length.begin();
        weights[static_cast<std::size_t>(nearest)] = sum = 1.0;
    }
    return old_only(weights, sum);
}

std::vector<PatchOrigins::Origin> PatchOrigins::of_rim_vertex(int k) const {
    const double along = along_[static_cast<std::size_t>(k)];
    return {{ends_[0], 1.0 - along}, {ends_[1], along}};
}

// The weights per corner, divided by their sum, those of new corners given to their origins.
std::vector<PatchOrigins::Origin> PatchOrigins::old_only(const std::vector<double>& weights,
                                                         double sum) const {
    std::vector<Origin> origins;
    double at_ends[2] = {0.0, 0.0};
    for (std::size_t i = 0; i < weights.size(); ++i) {
        const double weight = weights[i] / sum;
        if (weight <= 0.0) {
            continue;
        }
        if (rim_place_[i] >= 0) {
            const double along = along_[static_cast<std::size_t>(rim_place_[i])];
            at_ends[0] += (1.0 - along) * weight;
            at_ends[1] += along * weight;
        } else {
            origins.push_back({corners_[i], weight});
        }
    }
    for (int end = 0; end < 2; ++end) {
        const auto known = std::find_if(origins.begin(), origins.end(),
                                        [&](const Origin& o) { return o.vertex == ends_[end]; });
        if (known != origins.end()) {
            known->weight += at_ends[end];
        } else if (at_ends[end] > 0.0) {
            origins.push_back({ends_[end], at_ends[end]});
        }
    }
    return origins;
}

void PatchOrigins::add_face(const _face& face) {
    faces_.push_back({&face, centre_of(face)});
}

const _face* PatchOrigins::of_face(const _face& face) const {
    const std::array<double, 3> centre = centre_of(face);
    const _face* nearest = nullptr;
    double least = std::numeric_limits<double>::infinity();
    for (const Candidate& candidate : faces_) {
        double distance = 0.0; // squared
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double d = candidate.centre[axis] - centre[axis];
            distance += d * d;
        }
        if (distance < least) {
            least = distance;
            nearest = candidate.face;
        }
    }
    return nearest;
}

} // namespace KVN::toolkit
