#include "kelvane/fill/disc/disc_relaxation.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Mesh_M::fill {
namespace {

/// A triangle may shrink to this part of the ring's area, seen along the ring's area vector, but
/// not further; one that is smaller or folded over already may only grow.
constexpr double least_share = 0.02;

/// Triangles of less height, relative to their longest edge, are to be mended; those of far less
/// even at the price of a fold.
constexpr double flat_ratio = 0.3;
constexpr double degenerate_ratio = 1e-3;

/// The triangles around one inner point, seen from it. The object is reused, so that its storage
/// is.
class Ring {
  public:
    void gather(const DiscMesh& mesh, int point);
    /// Way to the centre of the triangles' centres. The weights, (area / size^2)^2, are equal where
    /// areas are as wished; the square pulls towards the largest triangle, which evens out faster
    /// than the area.
    Point to_weighted_centre() const;
    Point to_plain_centre() const;
    /// Height over longest edge of the flattest triangle if the point went this way.
    double flattest(const Point& step) const;
    /// The least triangle as it is and if the point went this way, along the area vector.
    double least_triangle() const { return least; }
    double least_triangle(const Point& step) const;

    Point area_vector = Point::Zero(); ///< twice the area; does not depend on the middle

  private:
    struct Side {
        Point spoke;          ///< to its first end
        Point along;          ///< from there to its second end
        Point normal;         ///< of the triangle; its length is twice the area
        double size;          ///< sum of the wished sizes at the three corners
        double upright = 0.0; ///< normal along the area vector
    };
    std::vector<Side> sides;
    double least = 0.0;
};

void Ring::gather(const DiscMesh& mesh, int point) {
    sides.clear();
    area_vector.setZero();
    const Point& position = mesh.points[point];
    int a = mesh.target(mesh.outgoing(point));
    Point spoke = mesh.points[a] - position;
    mesh.for_each_triangle(point, [&](int h) {
        const int b = mesh.apex(h);
        const Point next = mesh.points[b] - position;
        Side& side = sides.emplace_back();
        side.spoke = spoke;
        side.along = next - spoke;
        side.normal = spoke.cross(next);
        side.size = mesh.sizes[point] + mesh.sizes[a] + mesh.sizes[b];
        if (mesh.is_border(a) && mesh.is_border(b)) {
            side.size = std::max(side.size, 3.0 * side.along.norm());
        }
        area_vector += side.normal;
        spoke = next;
        a = b;
    });
    least = std::numeric_limits<double>::max();
    for (Side& side : sides) {
        side.upright = side.normal.dot(area_vector);
        least = std::min(least, side.upright);
    }
}

Point Ring::to_weighted_centre() const {
    Point centre = Point::Zero();
    double weights = 0.0;
    for (const Side& side : sides) {
        const double squared_size = side.size * side.size;
        const double weight = side.normal.squaredNorm() / (squared_size * squared_size);
        centre += weight * (2.0 * side.spoke + side.along);
        weights += weight;
    }
    return weights > 0.0 ? Point(centre / (3.0 * weights)) : Point::Zero();
}

Point Ring::to_plain_centre() const {
    Point sum = Point::Zero();
    for (const Side& side : sides) {
        sum += side.spoke;
    }
    return sum / static_cast<double>(sides.size());
}

double Ring::flattest(const Point& step) const {
    double least = std::numeric_limits<double>::max();
    for (const Side& side : sides) {
        const Point to_a = side.spoke - step, to_b = to_a + side.along;
        const double longest =
            std::max({to_a.squaredNorm(), to_b.squaredNorm(), side.along.squaredNorm()});
        least = std::min(least, longest > 0.0 ? to_a.cross(to_b).norm() / longest : 0.0);
    }
    return least;
}

double Ring::least_triangle(const Point& step) const {
    const Point shift = area_vector.cross(step);
    double moved = std::numeric_limits<double>::max();
    for (const Side& side : sides) {
        moved = std::min(moved, side.upright - shift.dot(side.along));
    }
    return moved;
}

/// Whether the triangle that begins with half-edge h is to be mended.
bool is_flat(const DiscMesh& mesh, int h) {
    const Point& corner = mesh.points[mesh.origin(h)];
    const Point to_b = mesh.points[mesh.target(h)] - corner;
    const Point to_c = mesh.points[mesh.apex(h)] - corner;
    const double longest =
        std::max({to_b.squaredNorm(), to_c.squaredNorm(), (to_c - to_b).squaredNorm()});
    return to_b.cross(to_c).squaredNorm() <= flat_ratio * flat_ratio * longest * longest;
}

/// The inner points at flat triangles, in ascending order.
std::vector<int> points_at_flat_triangles(const DiscMesh& mesh) {
    std::vector<int> points;
    for (int h = 0; h < mesh.half_edge_count(); h += 3) {
        if (mesh.is_used(h) && is_flat(mesh, h)) {
            for (const int point : {mesh.origin(h), mesh.target(h), mesh.apex(h)}) {
                if (!mesh.is_border(point)) {
                    points.push_back(point);
                }
            }
        }
    }
    std::sort(points.begin(), points.end());
    points.erase(std::unique(points.begin(), points.end()), points.end());
    return points;
}

} // namespace

void relax_points(DiscMesh& mesh, bool keep_shape) {
    Ring ring;
    for (int point = mesh.borderCount(); point < mesh.point_count(); ++point) {
        if (!mesh.is_alive(point)) {
            continue;
        }
        ring.gather(mesh, point);
        Point step = ring.to_weighted_centre();
        const double squared = ring.area_vector.squaredNorm();
        if (keep_shape && squared > 0.0) {
            step -= step.dot(ring.area_vector) / squared * ring.area_vector;
        }
        const double least = std::min(ring.least_triangle(), least_share * squared);
        for (int attempt = 0; attempt < 3; ++attempt, step *= 0.5) {
            if (ring.least_triangle(step) >= least) {
                mesh.points[point] += step;
                break;
            }
        }
    }
}

bool mend_flat_triangles(DiscMesh& mesh) {
    Ring ring;
    bool moved = false;
    for (const int point : points_at_flat_triangles(mesh)) {
        ring.gather(mesh, point);
        double best = ring.flattest(Point::Zero());
        const double least = best < degenerate_ratio ? -std::numeric_limits<double>::max()
                                                     : std::min(0.0, ring.least_triangle());
        const Point plain = ring.to_plain_centre(), weighted = ring.to_weighted_centre();
        const Point position = mesh.points[point];
        for (const Point& step : {weighted, plain, Point(0.5 * (weighted + plain)),
                                  Point(0.5 * plain), Point(1.5 * plain)}) {
            const double quality = ring.flattest(step);
            if (quality > best && ring.least_triangle(step) >= least) {
                best = quality;
                mesh.points[point] = position + step;
                moved = true;
            }
        }
    }
    return moved;
}

} // namespace Mesh_M::fill
