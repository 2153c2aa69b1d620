#include "kelvane/toolkit/job/working_scale.hpp"

#include <algorithm>
#include <cmath>

namespace KVN::toolkit {

namespace {

// Median radii of stickers in millimetres are 0.4 to 20, in inches 0.02 to 1, in metres 0.0004 to
// 0.02. Below the least one, an edge comes near to the library's 0.001; above the largest one, near
// to what its double arithmetic loses of 0.001.
constexpr double least_ordinary = 0.125;
constexpr double largest_ordinary = 65536.0;
// Binary exponent: a float holds the square, and the sum of three.
constexpr int largest_exponent = 60;

void multiply(float* values, std::size_t count, double scale) {
    if (scale != 1.0) {
        std::transform(values, values + count, values,
                       [scale](float value) { return static_cast<float>(value * scale); });
    }
}

} // namespace

double working_scale(const std::vector<Marker>& markers) {
    if (markers.empty()) {
        return 1.0;
    }
    std::vector<float> radii;
    float largest = 0.0F;
    for (const Marker& m : markers) {
        radii.push_back(m.radius);
        for (const float value : {m.x, m.y, m.z, m.radius}) {
            largest = std::isfinite(value) ? std::max(largest, std::fabs(value)) : largest;
        }
    }
    const auto middle = radii.begin() + static_cast<std::ptrdiff_t>(radii.size() / 2);
    std::nth_element(radii.begin(), middle, radii.end());
    if (*middle >= least_ordinary && *middle <= largest_ordinary) {
        return 1.0;
    }
    return std::ldexp(1.0,
                      std::min(1 - std::ilogb(*middle), largest_exponent - std::ilogb(largest)));
}

std::vector<Marker> scaled(std::vector<Marker> markers, double scale) {
    for (Marker& m : markers) {
        for (float* value : {&m.x, &m.y, &m.z, &m.radius}) {
            multiply(value, 1, scale);
        }
    }
    return markers;
}

RepairOptions scaled(RepairOptions options, double scale) {
    for (std::optional<double>* length : {&options.marker_size, &options.body_height}) {
        if (*length) {
            **length *= scale;
        }
    }
    if (options.resolution) {
        multiply(&*options.resolution, 1, scale);
    }
    return options;
}

void scale_back(RepairReport& report, double scale) {
    report.marker_size /= scale;
    for (MarkerReport& marker : report.markers) {
        marker.body.base_height /= scale;
    }
}

void scale_back(RepairPage& page, double scale) {
    for (std::optional<PlaceFigures>& figures : page.figures) {
        if (figures) {
            figures->distance /= scale;
        }
    }
    for (PlaceView& place : page.views) {
        multiply(place.view.origin.data(), place.view.origin.size(), 1.0 / scale);
        for (float* length : {&place.view.radius, &place.view.step, &place.view.farthest}) {
            multiply(length, 1, 1.0 / scale);
        }
    }
}

void scale_back(Splice& splice, double scale) {
    multiply(splice.positions.data(), splice.positions.size(), 1.0 / scale);
}

void ScaledSurface::positions_into(std::uint64_t first, std::uint64_t count,
                                   float* positions) const {
    surface_.positions_into(first, count, positions);
    multiply(positions, static_cast<std::size_t>(3 * count), scale_);
}

ScaledMesh::ScaledMesh(Mesh_M::Mesh& mesh, double scale) : mesh_(mesh), scale_(scale) {
    if (scale == 1.0) {
        return;
    }
    before_.reserve(static_cast<std::size_t>(mesh.vertices.total()));
    for (std::int32_t i = 0; i < mesh.vertices.total(); ++i) {
        before_.push_back(mesh.vertices.at(i).pos);
    }
    for (std::int32_t i = 0; i < mesh.vertices.total(); ++i) {
        auto& p = mesh.vertices.at(i).pos;
        for (float* value : {&p.x, &p.y, &p.z}) {
            multiply(value, 1, scale);
        }
    }
}

void ScaledMesh::restore() {
    if (before_.empty()) {
        return;
    }
    for (std::int32_t i = 0; i < mesh_.vertices.total(); ++i) {
        auto& p = mesh_.vertices.at(i).pos;
        if (static_cast<std::size_t>(i) < before_.size()) {
            p = before_[static_cast<std::size_t>(i)];
        } else {
            for (float* value : {&p.x, &p.y, &p.z}) {
                multiply(value, 1, 1.0 / scale_);
            }
        }
    }
    before_.clear();
}

} // namespace KVN::toolkit
