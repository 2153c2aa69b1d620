#include "kelvane/toolkit/page/place_measuring.hpp"

#include "kelvane/toolkit/measure/surface_distance.hpp"

#include <algorithm>
#include <cmath>

namespace KVN::toolkit {

namespace {

constexpr double radii_shown = 3.0; // of the marker, around its axis
// A cut that is wide for its marker is shown with as much of its surroundings.
constexpr double cuts_shown = 1.5; // radii of the cut

Scan one_side(const FaceList& list, Side side) {
    Scan scan;
    for (const std::array<float, 3>& p : list.points) {
        scan.positions.insert(scan.positions.end(), p.begin(), p.end());
    }
    for (const PartFace& face : list.faces) {
        if (is_on(face.part, side)) {
            scan.triangles.insert(scan.triangles.end(), face.corners.begin(), face.corners.end());
        }
    }
    return scan;
}

std::vector<double> distances_between(const FaceList& list) {
    std::vector<double> distances(list.points.size(), 0.0);
    const auto measure = [&](Part part, Side other) {
        const SurfaceDistance surface(one_side(list, other));
        for (std::size_t i = 0; i < distances.size(); ++i) {
            if (list.parts[i] == part) {
                const auto& p = list.points[i];
                distances[i] = surface.distance(p[0], p[1], p[2]);
            }
        }
    };
    measure(Part::gone, Side::after);
    measure(Part::added, Side::before);
    return distances;
}

} // namespace

ViewCrop::ViewCrop(const Marker& marker, double margin, double base_height) {
    const std::array<double, 3> centre = {marker.x, marker.y, marker.z};
    axis_ = {marker.nx, marker.ny, marker.nz};
    const double length = std::hypot(axis_[0], axis_[1], axis_[2]);
    across_ = std::max(radii_shown * marker.radius, cuts_shown * (marker.radius + margin));
    along_ = across_ + std::fabs(base_height) / 2;
    valid_ = length > 0.0 &&
             std::isfinite(length + across_ + along_ + centre[0] + centre[1] + centre[2]);
    for (std::size_t k = 0; k < 3; ++k) {
        axis_[k] /= length;
        middle_[k] = centre[k] + axis_[k] * base_height / 2;
    }
}

bool ViewCrop::holds(const std::array<float, 3>& point) const {
    double square = 0.0;
    double height = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        const double d = point[k] - middle_[k];
        square += d * d;
        height += d * axis_[k];
    }
    return valid_ && std::fabs(height) <= along_ && square - height * height <= across_ * across_;
}

std::array<double, 2> ViewCrop::x_range() const {
    const double farthest = std::hypot(across_, along_);
    return {middle_[0] - farthest, middle_[0] + farthest};
}

MeasuredPlace measure_place(FaceList list) {
    MeasuredPlace place{std::move(list), {}, {}, {}};
    place.distances = distances_between(place.list);
    for (const Side side : {Side::before, Side::after}) {
        const auto s = static_cast<std::size_t>(side);
        place.edges[s] = bent_edges(place.list, side);
        place.bends[s].assign(place.list.points.size(), 0.0);
        for (const BentEdge& edge : place.edges[s]) {
            for (const std::uint32_t end : edge.ends) {
                place.bends[s][end] = std::max(place.bends[s][end], edge.degrees);
            }
        }
    }
    return place;
}

std::optional<PlaceFigures> figures_of(const MeasuredPlace& place, std::int64_t first, int count) {
    const auto is_own = [&](const PartFace& face) {
        return face.added >= first && face.added < first + count;
    };
    if (first < 0 || std::none_of(place.list.faces.begin(), place.list.faces.end(), is_own)) {
        return std::nullopt;
    }
    PlaceFigures figures;
    for (const PartFace& face : place.list.faces) {
        for (std::size_t k = 0; is_own(face) && k < 3; ++k) {
            figures.distance = std::max(figures.distance, place.distances[face.corners[k]]);
        }
    }
    for (const BentEdge& edge : place.edges[static_cast<std::size_t>(Side::after)]) {
        if (is_own(place.list.faces[edge.first_face]) !=
            is_own(place.list.faces[edge.second_face])) {
            figures.seam_bend = std::max(figures.seam_bend, edge.degrees);
        }
    }
    return figures;
}

} // namespace KVN::toolkit
