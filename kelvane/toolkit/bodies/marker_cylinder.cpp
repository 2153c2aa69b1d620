#include "kelvane/toolkit/bodies/marker_cylinder.hpp"

#include "kelvane/kernel/record_words.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace KVN::toolkit {

namespace {

Eigen::Vector3d as_vector(const MemS::Point3v<float>& p) {
    return {p.x, p.y, p.z};
}

} // namespace

MarkerCylinder::MarkerCylinder(const Marker& marker, double margin, double half_height)
    : marker_radius_(marker.radius), radius_(marker.radius + margin), half_height_(half_height),
      centre_(marker.x, marker.y, marker.z), axes_(Eigen::Matrix3d::Identity()) {
    const Eigen::Vector3d normal(marker.nx, marker.ny, marker.nz);
    const double length = normal.norm();
    valid_ = centre_.allFinite() && std::isfinite(length) && length > 0 && std::isfinite(radius_);
    if (valid_) {
        const Eigen::Vector3d z = normal / length;
        const Eigen::Vector3d x = z.unitOrthogonal();
        axes_.row(0) = x;
        axes_.row(1) = z.cross(x);
        axes_.row(2) = z;
    }
}

Eigen::Vector3d MarkerCylinder::local(const _vert* v) const {
    return axes_ * (as_vector(v->pos) - centre_);
}

double MarkerCylinder::facing(const _vert* v) const {
    return axes_.row(2).dot(as_vector(v->normal));
}

bool MarkerCylinder::within(const _vert* v, double radius) const {
    const Eigen::Vector3d p = local(v);
    return valid_ && off_axis(p) <= radius && std::fabs(p.z()) <= half_height_;
}

std::vector<_vert*> MarkerCylinder::vertices(const Mesh& mesh, const VerticesNear& near) const {
    std::vector<int> found;
    if (!valid_) {
        return {};
    }
    // Balls along the axis, each for a slice about as high as the cylinder is wide; the rounding of
    // their centres to single precision is made good by a thousandth.
    constexpr double reserve = 1.001;
    constexpr double most_slices = 16; // to either side, however high the cylinder is
    const double step = std::max(2 * radius_, half_height_ / most_slices);
    const double ball = std::hypot(radius_, step / 2) * reserve;
    const auto ask = [&](double height) {
        const Eigen::Vector3f c = (centre_ + height * axes_.row(2).transpose()).cast<float>();
        const std::vector<int> more = near(c.x(), c.y(), c.z(), ball);
        found.insert(found.end(), more.begin(), more.end());
    };
    ask(0);
    for (double z = step; z - step / 2 <= half_height_; z += step) {
        ask(z);
        ask(-z);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    std::vector<_vert*> vertices;
    for (const int index : found) {
        _vert* v = &mesh.vertices.at(index);
        if (is_live(v) && holds(v)) {
            vertices.push_back(v);
        }
    }
    return vertices;
}

std::vector<CylinderPart> connected_parts(const std::vector<_vert*>& vertices,
                                          const VertexSet& region) {
    const VertexSet members(vertices.begin(), vertices.end());
    VertexSet seen;
    std::vector<CylinderPart> parts;
    for (_vert* first : vertices) {
        if (!seen.insert(first)) {
            continue;
        }
        CylinderPart part;
        part.vertices.push_back(first);
        for (std::size_t i = 0; i < part.vertices.size(); ++i) {
            const _vert* v = part.vertices[i];
            part.touches = part.touches || region.holds(v);
            for (int e = 0; e < v->edgeCount; ++e) {
                _vert* next = Mesh_R::other_end(v->edges[e], v);
                if (!members.holds(next)) {
                    part.exits.push_back(next);
                } else if (seen.insert(next)) {
                    part.vertices.push_back(next);
                }
            }
        }
        VertexSet counted;
        part.exits.erase(std::remove_if(part.exits.begin(), part.exits.end(),
                                        [&](_vert* v) { return !counted.insert(v); }),
                         part.exits.end());
        parts.push_back(std::move(part));
    }
    return parts;
}

double mean_edge_at(const std::vector<_vert*>& vertices) {
    double sum = 0;
    int count = 0;
    for (const _vert* v : vertices) {
        for (int e = 0; is_live(v) && e < v->edgeCount; ++e) {
            sum += (as_vector(v->edges[e]->start->pos) - as_vector(v->edges[e]->end->pos)).norm();
            ++count;
        }
    }
    return count > 0 ? sum / count : 0;
}

} // namespace KVN::toolkit
