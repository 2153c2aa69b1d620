#include "kelvane/toolkit/measure/marker_deviation.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"
#include "kelvane/toolkit/measure/surface_distance.hpp"
#include "kelvane/toolkit/scan/scan_mesh.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace KVN::toolkit {

namespace {

using Point = std::array<double, 3>;

/// Vertices in use and face centres of a scan.
std::vector<Point> sample_points(const Scan& scan) {
    std::vector<char> used(scan.vertex_count(), 0);
    std::vector<Point> points;
    for (std::size_t f = 0; f < scan.face_count(); ++f) {
        Point centre{};
        for (std::size_t c = 0; c < 3; ++c) {
            const auto v = static_cast<std::size_t>(scan.triangles[3 * f + c]);
            used[v] = 1;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                centre[axis] += double(scan.positions[3 * v + axis]) / 3.0;
            }
        }
        points.push_back(centre);
    }
    for (std::size_t v = 0; v < used.size(); ++v) {
        if (used[v] != 0) {
            points.push_back(
                {scan.positions[3 * v], scan.positions[3 * v + 1], scan.positions[3 * v + 2]});
        }
    }
    return points;
}

/// Ends of all boundary edges.
std::vector<Point> rim_points(const Scan& scan) {
    Mesh_M::Mesh mesh;
    build_from(scan, mesh);
    std::vector<Point> points;
    for (std::int32_t i = 0; i < mesh.edges.total(); ++i) {
        const Mesh_R::_edge& edge = mesh.edges.at(i);
        if (edge.faceCount == 1) {
            points.push_back({edge.start->pos.x, edge.start->pos.y, edge.start->pos.z});
            points.push_back({edge.end->pos.x, edge.end->pos.y, edge.end->pos.z});
        }
    }
    return points;
}

/// The part of space that a marker's cut takes in.
class Reach {
  public:
    Reach(const Marker& marker, double margin)
        : centre_{marker.x, marker.y, marker.z}, normal_{marker.nx, marker.ny, marker.nz},
          height_(marker.radius), radius_(marker.radius + margin) {
        const double length = std::hypot(normal_[0], normal_[1], normal_[2]);
        for (double& component : normal_) {
            component = length > 0.0 ? component / length : 0.0;
        }
    }

    bool holds(const Point& p) const {
        double squared = 0.0;
        double height = 0.0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double d = p[axis] - centre_[axis];
            squared += d * d;
            height += d * normal_[axis];
        }
        return squared <= radius_ * radius_ && std::abs(height) <= height_;
    }

  private:
    Point centre_;
    Point normal_;
    double height_;
    double radius_;
};

/// Takes the distances of all `points` within reach to `surface` into the figures.
void measure(const std::vector<Point>& points, const Reach& reach, const SurfaceDistance& surface,
             MarkerDeviation& figures, double& sum_of_squares) {
    for (const Point& p : points) {
        if (reach.holds(p)) {
            const double d = surface.distance(p[0], p[1], p[2]);
            figures.largest = std::max(figures.largest, d);
            sum_of_squares += d * d;
            ++figures.samples;
        }
    }
}

} // namespace

std::vector<MarkerDeviation> marker_deviations(const Scan& scan, const Scan& truth,
                                               const std::vector<Marker>& markers,
                                               std::optional<double> margin) {
    const double beyond = margin ? *margin : 2.0 * mean_edge_length(truth);
    if (!(std::isfinite(beyond) && beyond >= 0.0)) {
        throw InputError("the marker size must be a finite length of 0 or more");
    }
    const SurfaceDistance scan_surface(scan);
    const SurfaceDistance true_surface(truth);
    const std::vector<Point> scan_points = sample_points(scan);
    const std::vector<Point> true_points = sample_points(truth);
    const std::vector<Point> rim = rim_points(truth);

    std::vector<MarkerDeviation> result;
    for (const Marker& marker : markers) {
        const Reach reach(marker, beyond);
        MarkerDeviation figures;
        figures.on_rim =
            std::any_of(rim.begin(), rim.end(), [&](const Point& p) { return reach.holds(p); });
        double sum_of_squares = 0.0;
        measure(scan_points, reach, true_surface, figures, sum_of_squares);
        measure(true_points, reach, scan_surface, figures, sum_of_squares);
        figures.rms = figures.samples > 0 ? std::sqrt(sum_of_squares / figures.samples) : 0.0;
        result.push_back(figures);
    }
    return result;
}

DeviationSummary summarise(const std::vector<MarkerDeviation>& deviations) {
    DeviationSummary all;
    for (const MarkerDeviation& d : deviations) {
        if (d.samples > 0) {
            double& largest = d.on_rim ? all.largest_on_rim : all.largest_inside;
            largest = std::max(largest, d.largest);
            ++(d.on_rim ? all.on_rim : all.inside);
        }
    }
    return all;
}

} // namespace KVN::toolkit
